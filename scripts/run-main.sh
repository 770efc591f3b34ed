#!/usr/bin/env bash
# The main job of `make run`, given the folder of the built programs: the sample dataset
# out/sample.vkd built from data/sample-dataset.json, read back, checked and summarised, and
# pictures of it: the preview of every dimension text format, every product with its
# integrated texts filled with its values, every symbol, and the gallery of borders and
# reference lines; each as SVG and as PNG beside it.
set -euo pipefail
bin="$1"
vkd="$bin/vkd"
mkdir -p out/formats out/products out/symbols

"$vkd" new --force --sample out/sample.vkd
"$vkd" info out/sample.vkd
"$vkd" check out/sample.vkd
"$vkd" list out/sample.vkd products
"$vkd" lock-status out/sample.vkd
"$vkd" describe out/sample.vkd -o out/sample-described.json

for id in $("$vkd" list out/sample.vkd formats --format json | jq -r '.[].id'); do
  "$vkd" preview out/sample.vkd format "$id" -o "out/formats/format-$id.svg"
done
for key in $("$vkd" list out/sample.vkd products --format json | jq -r '.[] | "\(.set):\(.id)"'); do
  "$vkd" preview out/sample.vkd product "$key" -o "out/products/${key/:/-}.svg"
done
for symbol in $("$vkd" list out/sample.vkd symbols --format json | jq -r '.[].symbol'); do
  "$vkd" preview out/sample.vkd symbol "$symbol" -o "out/symbols/$symbol.svg"
done
"$vkd" gallery -o out/gallery.svg

for svg in out/*.svg out/formats/*.svg out/products/*.svg out/symbols/*.svg; do
  rsvg-convert "$svg" -o "${svg%.svg}.png"
done
echo "Pictures: $(ls out/*.png out/*/*.png | wc -l) PNG files beside their SVG files under out/"
