#!/usr/bin/env bash
# A timed run, given the folder of the built programs: builds a dataset of 10,000 product
# definitions in a catalogue of 4 top groups with 25 groups each, 100 products a group (six
# property values, a part ID format and an integrated text each) from a description made
# with jq, and times `vkd list FILE products`, as a table and as JSON, three times each. The
# aim: well under a second.
set -euo pipefail
vkd="$1/vkd"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

jq -n '
  def product($g; $i): ($g * 100 + $i) as $n | {
    id: ($i + 1), description: "Product \($n + 1)", partIdFormat: 1,
    properties: {Width: (100 + $n % 900), Height: (50 + $n % 400), Airflow: ($n / 7),
                 Material: "Steel \($n % 13)", Weight: ($n / 100), Maker: "Maker \($n % 31)"},
    texts: [{format: 1, offset: [0, 5]}]};
  {
  propertyDefinitions: [
    {id: 1, name: "Width", type: "int32", unit: "[mm]"},
    {id: 2, name: "Height", type: "int32", unit: "[mm]"},
    {id: 3, name: "Airflow", type: "double", unit: "[l/s]", decimals: 1},
    {id: 4, name: "Material", type: "text"},
    {id: 5, name: "Weight", type: "double", unit: "[kg]", decimals: 2},
    {id: 6, name: "Maker", type: "text"}],
  partIdFormats: [{id: 1, description: "Size", format: "{Width}x{Height}"}],
  dimensionTextFormats: [{id: 1, description: "Size", format: "{Width}x{Height}"}],
  catalogue: {groups: [range(4) as $t | {description: "Top \($t + 1)", groups: [
    range(25) as $s | ($t * 25 + $s) as $g |
      {description: "Group \($g + 1)", products: [range(100) as $i | product($g; $i)]}]}]}}' \
  > "$work/products.json"
"$vkd" new --from "$work/products.json" "$work/products.vkd" > /dev/null

TIMEFORMAT='%R s'
for format in text json; do
  for run in 1 2 3; do
    echo -n "vkd list products of 10,000 products, --format $format, run $run: "
    { time "$vkd" list "$work/products.vkd" products --format "$format" > "$work/out"; } 2>&1
  done
done
echo "JSON rows: $(jq length "$work/out")"
