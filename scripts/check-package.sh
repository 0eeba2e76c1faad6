#!/usr/bin/env bash
# Installs a build into a temporary prefix and builds the example consumer
# against it twice: with CMake's find_package and with pkg-config.
# Usage: scripts/check-package.sh <build directory>
set -euo pipefail
cd "$(dirname "$0")/.."

build=${1:?usage: check-package.sh <build directory>}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix="$work/prefix"

echo "=== package: install into a temporary prefix"
cmake --install "$build" --prefix "$prefix" >/dev/null

echo "=== package: find_package(kel CONFIG REQUIRED)"
cmake -S examples/consumer -B "$work/consumer" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/consumer" >/dev/null
"$work/consumer/consumer"

echo "=== package: pkg-config"
pcdir=$(dirname "$(find "$prefix" -name kel.pc | head -n 1)")
flags=$(PKG_CONFIG_PATH="$pcdir" pkg-config --cflags --libs kel)
libdir=$(PKG_CONFIG_PATH="$pcdir" pkg-config --variable=libdir kel)
# shellcheck disable=SC2086
g++ -std=c++17 examples/consumer/main.cpp $flags -o "$work/consumer-pc"
LD_LIBRARY_PATH="$libdir" "$work/consumer-pc"
