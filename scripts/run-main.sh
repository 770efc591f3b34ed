#!/usr/bin/env bash
# The main job of `make run`, given the folder of the built programs: the sample dataset
# out/sample.vkd built from data/sample-dataset.json, read back, checked and summarised, and
# pictures of it: the preview of every dimension text format, every product with its
# integrated texts filled with its values, every block and symbol, and the gallery of
# borders and reference lines; each as SVG and as PNG beside it.
set -euo pipefail
bin="$1"
vkd="$bin/vkd"
mkdir -p out/formats out/products out/blocks out/symbols

"$vkd" new --force --sample out/sample.vkd
"$vkd" info out/sample.vkd
"$vkd" check out/sample.vkd
"$vkd" list out/sample.vkd groups
"$vkd" list out/sample.vkd products
"$vkd" list out/sample.vkd blocks
"$vkd" list out/sample.vkd reports
"$vkd" lock-status out/sample.vkd
"$vkd" describe out/sample.vkd -o out/sample-described.json

# A file name of a key: "Heating and plumbing/Valves:1" gives Heating_and_plumbing-Valves-1.
name() { echo "$1" | sed 's/ /_/g; s/[/:]/-/g'; }

while read -r id; do
  "$vkd" preview out/sample.vkd format "$id" -o "out/formats/format-$id.svg"
done < <("$vkd" list out/sample.vkd formats --format json | jq -r '.[].id')
while read -r key; do
  "$vkd" preview out/sample.vkd product "$key" -o "out/products/$(name "$key").svg"
done < <({ "$vkd" list out/sample.vkd polydefs --format json | jq -r '.[] | "\(.set):\(.id)"'
           "$vkd" list out/sample.vkd products --format json | jq -r '.[] | "\(.group):\(.id)"'; })
while read -r block; do
  "$vkd" preview out/sample.vkd block "$block" -o "out/blocks/$(name "$block").svg"
done < <("$vkd" list out/sample.vkd blocks --format json | jq -r '.[] | "\(.group)/\(.block)"')
while read -r symbol; do
  "$vkd" preview out/sample.vkd symbol "$symbol" -o "out/symbols/$symbol.svg"
done < <("$vkd" list out/sample.vkd symbols --format json | jq -r '.[].symbol')
"$vkd" gallery -o out/gallery.svg

for svg in out/*.svg out/*/*.svg; do
  rsvg-convert "$svg" -o "${svg%.svg}.png"
done
echo "Pictures: $(ls out/*.png out/*/*.png | wc -l) PNG files beside their SVG files under out/"
