#!/usr/bin/env bash
# Lists the tests that skipped themselves in the last CTest run of a build,
# each with the reason it printed, so that no skip goes unseen.
# Usage: scripts/list-skipped.sh <build directory>
set -euo pipefail

log="${1:?usage: list-skipped.sh <build directory>}/Testing/Temporary/LastTest.log"
[[ -f $log ]] || exit 0
awk '
    /^[0-9]+\/[0-9]+ Testing: / { program = $3; next }
    / Skipped$/ { collecting = 1; reason = ""; next }
    collecting && /^\[  SKIPPED \] / {
        lines[++count] = sprintf("    %s %s: %s", program, $4, reason)
        collecting = 0
        next
    }
    collecting { reason = reason == "" ? $0 : reason " " $0 }
    END {
        if (count == 0) exit
        printf "=== %d skipped, each with its reason:\n", count
        for (i = 1; i <= count; ++i) print lines[i]
    }
' "$log"
