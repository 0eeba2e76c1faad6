#!/usr/bin/env bash
# Builds and runs the whole test suite: the default build, the sanitizer
# build (AddressSanitizer + UndefinedBehaviorSanitizer), the threaded tests
# under ThreadSanitizer, the Windows build
# (MinGW-w64) with its tests run under Wine, then a check of the installed
# package and a bounded run of every fuzz target. Stops at the first
# failure with a nonzero exit.
set -euo pipefail
cd "$(dirname "$0")/.."

jobs=$(nproc)
# The time of each stage, printed at the end, also when a stage fails.
stages=()
total=$SECONDS
current=""
report() {
    local status=$?
    if ((status == 0)); then
        echo "=== all tests passed"
    else
        echo "=== failed (exit code $status)"
        [[ -n $current ]] && stages+=("$(printf '%-16s %5d s  failed' "$current" $((SECONDS - current_start)))")
    fi
    printf '%s\n' "${stages[@]}"
    printf '%-16s %5d s\n' total $((SECONDS - total))
}
trap report EXIT
# stage <name> <command>...: runs the command as one timed stage.
stage() {
    local name=$1 start=$SECONDS
    shift
    current=$name current_start=$start
    "$@"
    current=""
    stages+=("$(printf '%-16s %5d s' "$name" $((SECONDS - start)))")
}

# run_preset <preset> [command that runs the tests' command]
run_preset() {
    local preset=$1
    shift
    echo "=== $preset: configure and build"
    # The build's output goes to a log, shown whole when the build fails.
    local log="build/$preset-build.log"
    mkdir -p build
    if ! { cmake --preset "$preset" && cmake --build --preset "$preset" -j "$jobs"; } >"$log" 2>&1; then
        cat "$log"
        echo "=== $preset: build failed" >&2
        exit 1
    fi
    echo "=== $preset: tests"
    "$@" ctest --preset "$preset" -j "$jobs"
    bash scripts/list-skipped.sh "build/$preset"
}

stage packages bash scripts/deps.sh test
stage default run_preset default
# The HTML reference; any Doxygen warning (an undocumented declaration) fails it.
stage docs cmake --build --preset default --target docs
stage asan run_preset asan
# The threaded tests again, under ThreadSanitizer.
stage tsan run_preset tsan
# Windows: a wine server runs for the whole of the mingw tests.
stage mingw run_preset mingw bash scripts/windows-wine.sh run build/mingw
stage package bash scripts/check-package.sh build/default
stage fuzz bash scripts/fuzz.sh
