#!/usr/bin/env bash
# Installs a build into a temporary prefix and builds the examples against
# it as users of the package would: examples/consumer and examples/host,
# each with CMake's find_package and with pkg-config, and runs them.
# Usage: scripts/check-package.sh <build directory>
set -euo pipefail
cd "$(dirname "$0")/.."

build=${1:?usage: check-package.sh <build directory>}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix="$work/prefix"
# The host example writes a configuration value: into a hive of its own.
export KEL_REGISTRY_DIR="$work/registry"

echo "=== package: install into a temporary prefix"
cmake --install "$build" --prefix "$prefix" >/dev/null

pcdir=$(dirname "$(find "$prefix" -name kel.pc | head -n 1)")
flags=$(PKG_CONFIG_PATH="$pcdir" pkg-config --cflags --libs kel)
libdir=$(PKG_CONFIG_PATH="$pcdir" pkg-config --variable=libdir kel)

for example in consumer host; do
    echo "=== package: examples/$example with find_package(kel CONFIG REQUIRED)"
    cmake -S "examples/$example" -B "$work/$example" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
    cmake --build "$work/$example" >/dev/null
    (cd "$work" && "$work/$example/$example")

    echo "=== package: examples/$example with pkg-config"
    # The prefix is outside the system's library path: the program finds
    # the library through LD_LIBRARY_PATH.
    # shellcheck disable=SC2086
    g++ -std=c++17 "examples/$example/main.cpp" $flags -o "$work/$example-pc"
    (cd "$work" && LD_LIBRARY_PATH="$libdir" "$work/$example-pc")
done
