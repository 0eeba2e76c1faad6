#!/usr/bin/env bash
# Builds the library and the kel tool, then runs the demonstration,
# "kel demo". Installs only what that needs (scripts/deps.sh demo); the
# tool is left in build/demo/tools/kel/kel.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/deps.sh demo
cmake --preset demo >/dev/null
cmake --build --preset demo -j "$(nproc)" >/dev/null

# The demonstration writes its configuration values into a hive of its own.
export KEL_REGISTRY_DIR
KEL_REGISTRY_DIR=$(mktemp -d)
trap 'rm -rf "$KEL_REGISTRY_DIR"' EXIT
./build/demo/tools/kel/kel demo
