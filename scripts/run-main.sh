#!/usr/bin/env bash
# The main job of `make run`, given the folder of the built programs.
set -euo pipefail
bin="$1"
"$bin/vxkd_demo"
