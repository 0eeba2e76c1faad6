#!/usr/bin/env bash
# Builds and runs the whole test suite: the default build, the sanitizer
# build (AddressSanitizer + UndefinedBehaviorSanitizer), the threaded tests
# under ThreadSanitizer, the Windows build
# (MinGW-w64) with its tests run under Wine, then a check of the installed
# package and a bounded run of every fuzz target. Stops at the first
# failure with a nonzero exit.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/deps.sh

jobs=$(nproc)
# run_preset <preset> [command that runs the tests' command]
run_preset() {
    local preset=$1 start=$SECONDS
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
    echo "=== $preset: passed in $((SECONDS - start)) s"
}

run_preset default
run_preset asan
# The threaded tests again, under ThreadSanitizer.
run_preset tsan
# Windows: a wine server runs for the whole of the mingw tests.
run_preset mingw bash scripts/windows-wine.sh run build/mingw
bash scripts/check-package.sh build/default
bash scripts/fuzz.sh 100000
echo "=== all tests passed"
