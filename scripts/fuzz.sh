#!/usr/bin/env bash
# Builds the libFuzzer targets (clang) and runs each one for a bounded
# number of inputs. Usage: scripts/fuzz.sh [runs per target, default 100000]
# A longer search: scripts/fuzz.sh 10000000, or run a target from
# build/fuzz/fuzz/ by hand with libFuzzer's options.
set -euo pipefail
cd "$(dirname "$0")/.."

runs=${1:-100000}
if ! command -v clang++ >/dev/null; then
    echo "fuzz.sh: clang++ not found (scripts/deps.sh installs it)" >&2
    exit 1
fi
mkdir -p build
log=build/fuzz-build.log
if ! { cmake --preset fuzz && cmake --build --preset fuzz -j "$(nproc)"; } >"$log" 2>&1; then
    cat "$log"
    echo "=== fuzz: build failed" >&2
    exit 1
fi
list=build/fuzz/fuzzers.txt
grep -q . "$list" || { echo "=== fuzz: no targets yet"; exit 0; }
while read -r target; do
    [[ -z "$target" ]] && continue
    corpus=$(mktemp -d)
    seeds="fuzz/corpus/$target"
    [[ -d $seeds ]] && cp -r "$seeds"/. "$corpus"/
    echo "=== fuzz: $target ($runs runs)"
    (cd "$corpus" && "$OLDPWD/build/fuzz/fuzz/$target" -runs="$runs" -max_len=4096 \
        -print_final_stats=0 "$corpus" 2>&1 | tail -n 2)
    rm -rf "$corpus"
done <"$list"
