#!/usr/bin/env bash
# Builds and runs the consumer twice against an installed nubase under PREFIX: once through the
# CMake package, once through pkg-config.
#   examples/consumer/build.sh PREFIX
set -euo pipefail
prefix=$(realpath "$1")
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

pcdir=$(dirname "$(find "$prefix" -name nubase.pc -print -quit)")
export PKG_CONFIG_PATH="$pcdir"
libdir=$(pkg-config --variable=libdir nubase)

cmake -S "$here" -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/cmake" >/dev/null
echo "find_package: $(LD_LIBRARY_PATH="$libdir" "$work/cmake/consumer")"

# shellcheck disable=SC2046
c++ -o "$work/consumer-pc" "$here/main.cpp" $(pkg-config --cflags --libs nubase)
echo "pkg-config:   $(LD_LIBRARY_PATH="$libdir" "$work/consumer-pc")"
