#!/usr/bin/env bash
# The tests that take minutes rather than seconds, left out of the test
# command (they skip themselves there, naming this script):
#   - archives with a file of 4 GiB and more, written by the library and
#     checked by Info-ZIP, 7-Zip, bsdtar and Python, and written by Python
#     and 7-Zip and extracted by the library (a sparse source file; each
#     extracted copy takes 4 GiB of disk until it is checked and removed);
#   - the whole extraction of an archive of 70,000 entries.
# They need about 9 GiB of free disk in the temporary folder and take a few
# minutes each. Usage: bash scripts/long-tests.sh
set -euo pipefail
cd "$(dirname "$0")/.."

mkdir -p build
log=build/long-tests-build.log
if ! { cmake --preset default && cmake --build --preset default -j 2 --target zip_interop_test; } \
    >"$log" 2>&1; then
    cat "$log"
    echo "=== long tests: build failed" >&2
    exit 1
fi
KEL_LONG_TESTS=1 ctest --preset default -R '^zip_interop_test$' --output-on-failure --timeout 3600
