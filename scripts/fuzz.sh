#!/usr/bin/env bash
# Builds the libFuzzer targets (clang) and runs each one for a bounded time,
# starting from its seeds in fuzz/corpus/<target>/. A crash, a leak, a
# sanitizer report or a time-out stops the run with a nonzero exit.
#
#   scripts/fuzz.sh            15 seconds per target (the test command's smoke run)
#   scripts/fuzz.sh 600        a longer search: 10 minutes per target
#
# A single target by hand: build/fuzz/fuzz/<target> with libFuzzer's options.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-15}
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
    output="build/fuzz/$target.log"
    # -timeout: one input running longer than 10 s counts as a hang.
    if ! (cd "$corpus" && "$OLDPWD/build/fuzz/fuzz/$target" -max_total_time="$seconds" \
        -timeout=10 -max_len=4096 -print_final_stats=1 "$corpus") >"$output" 2>&1; then
        tail -n 60 "$output"
        echo "=== fuzz: $target failed (whole output in $output)" >&2
        exit 1
    fi
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$output")
    echo "=== fuzz: $target: ${runs:-?} inputs in $seconds s, no failure"
    rm -rf "$corpus"
done <"$list"
