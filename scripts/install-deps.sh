#!/usr/bin/env bash
# Installs the Debian packages the build needs, and only those that are missing:
# on a machine that has them all it changes nothing.
set -euo pipefail

# nlohmann-json3-dev: vkd's JSON; jq: the scripts of `make run` and the tests that read vkd's
# JSON. pkg-config, dpkg-dev and file: the installation check and the Debian package of
# `make test`; cpp-httplib: the web server of `vkd edit`; chromium: the browser its tests
# drive; libpq-dev and postgresql: the server backend of datasets and the server its tests
# start.
packages=(g++ make cmake libsqlite3-dev sqlite3 libgtest-dev libgmock-dev libbenchmark-dev
  libfreetype-dev fonts-liberation2 librsvg2-bin nlohmann-json3-dev jq pkg-config dpkg-dev file
  libcpp-httplib-dev chromium libpq-dev postgresql)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing missing packages: ${missing[*]}"
sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
