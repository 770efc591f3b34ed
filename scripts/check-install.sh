#!/usr/bin/env bash
# Installs a release build as an integrator would and shows that the installation stands on
# its own:
#   1. `cmake --install` into a temporary prefix; no installed file names the source or the
#      build tree, and the installed library exports only its API;
#   2. a consumer program, copied out of the source tree, built once with find_package(vxkd)
#      and once with pkg-config, reads a dataset made by the installed vkd and prints its
#      property definitions, in German as the user's registry asks, so that the language
#      texts must come from the installed data folder;
#   3. the Debian package that `make package` made installs into a temporary root, where
#      vkd --version runs and vkd makes a dataset with the packaged dictionary;
#   4. a project that adds vxkd as a subdirectory configures without GoogleTest and Google
#      Benchmark, and gets vxkd::vxkd but no tests.
#
#   scripts/check-install.sh BUILD_FOLDER    (KEEP=1 keeps the temporary folder)
set -euo pipefail
source_dir=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "$1" && pwd)
work=$(mktemp -d)
trap '[ -n "${KEEP:-}" ] || rm -rf "$work"' EXIT
prefix="$work/prefix"

step() { echo "== $*"; }
fail() {
  echo "check-install: $*" >&2
  exit 1
}

step "cmake --install"
cmake --install "$build" --prefix "$prefix" >/dev/null
if grep -rlF -e "$source_dir" -e "$build" "$prefix"; then
  fail "the installed files above name the source or the build tree"
fi
library=$(find "$prefix" -name 'libvxkd.so.*.*' -type f)
[ -n "$library" ] || fail "no libvxkd.so.N.M installed"
bash "$source_dir/scripts/check-exports.sh" "$library"

# The consumer away from the source tree; a registry of its own that chooses German.
cp "$source_dir/tests/install/consumer.cpp" "$source_dir/tests/install/CMakeLists.txt" "$work/"
unset VXKD_PROGRAM_DIR
export VXKD_HKCU="$work/hkcu.reg" VXKD_HKLM="$work/hklm.reg"
printf '[HKEY_CURRENT_USER\\SOFTWARE\\Tessund\\Vantrix]\n"InterfaceLng"=dword:000005dd\n' \
  >"$VXKD_HKCU"

step "vkd from the installation"
"$prefix/bin/vkd" --version
"$prefix/bin/vkd" new --sample "$work/demo.vkd" >/dev/null

# The first five of the sample's property definitions (data/sample-dataset.json), with the
# type names in German.
expected=$(printf '%s\n' \
  "data folder	$prefix/share/vxkd" \
  "1	Width	Zahl	[mm]	Duct width" \
  "2	Height	Zahl	[mm]	Duct height" \
  "3	Diameter	Zahl	[mm]	Nominal diameter" \
  "4	Airflow	Zahl	[l/s]	Air volume flow" \
  "5	Velocity	Zahl	[m/s]	Air velocity")

run_consumer() {  # run_consumer PROGRAM HOW
  local output
  output=$("$1" "$work/demo.vkd") || fail "the consumer built with $2 failed"
  output=$(head -6 <<<"$output")
  [ "$output" == "$expected" ] ||
    fail "the consumer built with $2 printed"$'\n'"$output"$'\n'"instead of"$'\n'"$expected"
  # (not grep -q: ldd would die of the closed pipe and fail the pipeline)
  ldd "$1" | grep -F "$prefix/" >/dev/null || fail "the consumer built with $2 does not load the installed library"
  echo "$output"
}

step "consumer built with find_package(vxkd)"
cmake -S "$work" -B "$work/with-cmake" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_BUILD_TYPE=Release \
  >/dev/null
cmake --build "$work/with-cmake" >/dev/null
run_consumer "$work/with-cmake/consumer" "CMake"

step "consumer built with pkg-config"
PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name vxkd.pc)")
export PKG_CONFIG_PATH
libdir=$(pkg-config --variable=libdir vxkd)
# shellcheck disable=SC2046  # the flags are words
g++ -std=c++20 -o "$work/consumer" "$work/consumer.cpp" $(pkg-config --cflags --libs vxkd) \
  -Wl,-rpath,"$libdir"
run_consumer "$work/consumer" "pkg-config"

step "Debian package"
package=$(find "$build/package" -maxdepth 1 -name 'vxkd_*.deb' | head -1)
[ -n "$package" ] || fail "no Debian package in $build/package: make package first"
dpkg-deb --field "$package" Package Version Architecture Depends
root="$work/root"
mkdir -p "$root/var/lib/dpkg/info" "$root/var/lib/dpkg/updates"
touch "$root/var/lib/dpkg/status"
# An empty root has none of the packages the library depends on: they are the host's.
dpkg --root="$root" --force-not-root --force-depends --force-script-chrootless \
  --log=/dev/null -i "$package" >"$work/dpkg.log" 2>&1 || { cat "$work/dpkg.log"; fail "dpkg -i failed"; }
dpkg --root="$root" -L vxkd | grep -E '/(bin/vkd|libvxkd\.so\.[0-9]+|VxKd\.qlg)$'
"$root/usr/bin/vkd" --version
"$root/usr/bin/vkd" new "$work/from-package.vkd"  # needs the dictionary in /usr/share/vxkd

step "vxkd as a subdirectory of another project"
mkdir -p "$work/parent"
cat >"$work/parent/CMakeLists.txt" <<CMAKE
cmake_minimum_required(VERSION 3.20)
project(parent LANGUAGES CXX)
add_subdirectory("$source_dir" vxkd)
add_executable(consumer "$work/consumer.cpp")
target_link_libraries(consumer PRIVATE vxkd::vxkd)
CMAKE
# (CMake warns that the two switches went unused: nothing looked for either package.)
cmake -S "$work/parent" -B "$work/parent/build" -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON \
  -DCMAKE_DISABLE_FIND_PACKAGE_benchmark=ON >"$work/parent.log" 2>&1 ||
  { cat "$work/parent.log"; fail "vxkd as a subdirectory"; }
if cmake --build "$work/parent/build" --target help | grep -E '_tests|_bench'; then
  fail "a project that adds vxkd builds its tests or benchmarks"
fi
echo "configured without GoogleTest and Google Benchmark, no tests"

echo "check-install: the installation stands on its own"
