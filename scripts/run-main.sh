#!/usr/bin/env bash
# The main job of `make run`, given the folder of the built programs: a demo dataset under
# out/ and what it holds.
set -euo pipefail
bin="$1"
mkdir -p out
"$bin/vkd" new --force --sample out/demo.vkd
"$bin/vkd" info out/demo.vkd
"$bin/vkd" list out/demo.vkd formats
"$bin/vkd" lock-status out/demo.vkd
