#!/usr/bin/env bash
# Builds the libFuzzer targets (clang) and runs each one for a bounded time,
# starting from its seeds in fuzz/corpus/<target>/. A crash, a leak, a
# sanitizer report or a time-out fails the run with a nonzero exit, after
# the targets still running have ended.
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
# One target per core at a time: each still gets its whole time on a core
# of its own, and the smoke run takes a fraction of the wall-clock time.
# fuzz_one <target>: runs it; its summary line goes to build/fuzz/<target>.result.
fuzz_one() {
    local target=$1 corpus seeds output runs
    corpus=$(mktemp -d)
    seeds="fuzz/corpus/$target"
    [[ -d $seeds ]] && cp -r "$seeds"/. "$corpus"/
    output="build/fuzz/$target.log"
    # -timeout: one input running longer than 10 s counts as a hang.
    if ! (cd "$corpus" && "$OLDPWD/build/fuzz/fuzz/$target" -max_total_time="$seconds" \
        -timeout=10 -max_len=4096 -print_final_stats=1 "$corpus") >"$output" 2>&1; then
        rm -rf "$corpus"
        return 1
    fi
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$output")
    echo "=== fuzz: $target: ${runs:-?} inputs in $seconds s, no failure" >"build/fuzz/$target.result"
    rm -rf "$corpus"
}

mapfile -t targets < <(grep . "$list")
declare -A running=()  # process id -> target
failed=""
for target in "${targets[@]}" ""; do
    # Wait for a free core (and, after the last target, for all of them).
    while ((${#running[@]} > 0)) && { [[ -z $target ]] || ((${#running[@]} >= $(nproc))); }; do
        wait -n -p done_pid || failed="$failed ${running[$done_pid]}"
        unset "running[$done_pid]"
    done
    [[ -z $target ]] && break
    rm -f "build/fuzz/$target.result"
    fuzz_one "$target" &
    running[$!]=$target
done
for target in "${targets[@]}"; do
    [[ -f build/fuzz/$target.result ]] && cat "build/fuzz/$target.result"
done
for target in $failed; do
    tail -n 60 "build/fuzz/$target.log"
    echo "=== fuzz: $target failed (whole output in build/fuzz/$target.log)" >&2
done
[[ -z $failed ]]
