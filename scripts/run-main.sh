#!/usr/bin/env bash
# The main job of `make run`, given the folder of the built programs: a demo dataset under
# out/, what it holds, and SVG pictures of a format, a block and of every border.
set -euo pipefail
bin="$1"
mkdir -p out
"$bin/vkd" new --force --sample out/demo.vkd
"$bin/vkd" info out/demo.vkd
"$bin/vkd" list out/demo.vkd formats
"$bin/vkd" list out/demo.vkd polydefs
"$bin/vkd" list out/demo.vkd groups
"$bin/vkd" list out/demo.vkd products
"$bin/vkd" list out/demo.vkd blocks
"$bin/vkd" lock-status out/demo.vkd
"$bin/vkd" preview out/demo.vkd format 1 -o out/format1.svg
"$bin/vkd" preview out/demo.vkd block "Valve station" -o out/block.svg
"$bin/vkd" gallery -o out/gallery.svg
