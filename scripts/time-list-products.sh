#!/usr/bin/env bash
# A timed run, given the folder of the built programs: builds a dataset of 10,000 product
# definitions (2,500 in each poly-object set, six property values and an integrated text
# each) from a description made with jq, and times `vkd list FILE products`, as a table and
# as JSON, three times each. The aim: well under a second.
set -euo pipefail
vkd="$1/vkd"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

jq -n '
  ["duct", "pipe", "electric", "data"] as $sets | {
  propertyDefinitions: [
    {id: 1, name: "Width", type: "int32", unit: "[mm]"},
    {id: 2, name: "Height", type: "int32", unit: "[mm]"},
    {id: 3, name: "Airflow", type: "double", unit: "[l/s]", decimals: 1},
    {id: 4, name: "Material", type: "text"},
    {id: 5, name: "Weight", type: "double", unit: "[kg]", decimals: 2},
    {id: 6, name: "Maker", type: "text"}],
  dimensionTextFormats: [{id: 1, description: "Size", format: "{Width}x{Height}"}],
  polyObjectDefinitions: [range(10000) as $i | {
    set: $sets[$i % 4], id: ((($i / 4) | floor) + 1), description: "Product \($i + 1)",
    properties: {Width: (100 + $i % 900), Height: (50 + $i % 400), Airflow: ($i / 7),
                 Material: "Steel \($i % 13)", Weight: ($i / 100), Maker: "Maker \($i % 31)"},
    texts: [{format: 1, offset: [0, 5]}]}]}' > "$work/products.json"
"$vkd" new --from "$work/products.json" "$work/products.vkd" > /dev/null

TIMEFORMAT='%R s'
for format in text json; do
  for run in 1 2 3; do
    echo -n "vkd list products of 10,000 products, --format $format, run $run: "
    { time "$vkd" list "$work/products.vkd" products --format "$format" > "$work/out"; } 2>&1
  done
done
echo "JSON rows: $(jq length "$work/out")"
