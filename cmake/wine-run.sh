#!/usr/bin/env bash
# wine-run.sh <wine> <program> [<argument>...]: runs one Windows program of
# the cross build under Wine for CTest. The toolchain's emulator line sets
# the prefix, the debug channels and the locale before it.
#
# Wine ends a program it could not start with the low byte of the NT status
# as its exit status and, with its debug channels off, without a word: 53
# for STATUS_DLL_NOT_FOUND (0xc0000135). On a loaded CI machine this once
# happened to a test program whose only imports are Wine's own DLLs, and it
# did not happen again in hundreds of runs. So:
#   - a program that ends with a failure says its exit status, and whether
#     it ever reached its main function;
#   - a program that Wine could not start (status 53 before the program's
#     main function ran) is started once more, and says so. A program that
#     started is never run again: its failure is the test's.
# The test programs' main function creates the file that KEL_TEST_STARTED
# names before anything else; that is how this script tells the two apart.
set -uo pipefail

[[ $# -ge 2 ]] || { echo "usage: wine-run.sh <wine> <program> [<argument>...]" >&2; exit 2; }
wine=$1
shift

marker=$(mktemp "${TMPDIR:-/tmp}/kel-wine-run.XXXXXX") || exit 1
trap 'rm -f "$marker"' EXIT
# Wine's drive Z: is the root of the file system.
export KEL_TEST_STARTED="Z:${marker//\//\\}"

run() {
    rm -f "$marker"
    "$wine" "$@"
}

run "$@"
status=$?
if [[ $status -eq 53 && ! -e $marker ]]; then
    echo "wine-run.sh: Wine could not start $1 (exit status 53, an import not loaded); starting it once more" >&2
    run "$@"
    status=$?
fi
if [[ $status -ne 0 ]]; then
    if [[ -e $marker ]]; then
        echo "wine-run.sh: $1 ended with exit status $status" >&2
    else
        echo "wine-run.sh: $1 ended with exit status $status before its main function ran" >&2
    fi
fi
exit "$status"
