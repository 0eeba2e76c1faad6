#!/usr/bin/env bash
# Builds the library and runs its demonstration, "kel demo".
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/deps.sh
cmake --preset default >/dev/null
cmake --build --preset default --target kel_tool -j "$(nproc)" >/dev/null

# The demonstration writes its configuration values into a hive of its own.
export KEL_REGISTRY_DIR
KEL_REGISTRY_DIR=$(mktemp -d)
trap 'rm -rf "$KEL_REGISTRY_DIR"' EXIT
./build/default/tools/kel/kel demo
