#!/usr/bin/env bash
# Builds the benchmarks in the release preset, runs every benchmark program
# (build/release/bench/kel_bench_*) and prints one Markdown table of kel
# against its reference: the median time of each side and their ratio
# (kel / reference, lower is better).
#
#   scripts/bench.sh [--repetitions N] [--min-time SECONDS] [--filter REGEX]
#
# Each benchmark runs N times (default 5) for at least SECONDS each (default
# 0.1), and the table shows the medians: a busy machine spreads single runs
# widely. The archive benchmarks of kel_bench_files run once: each already
# times three runs on a 200 MiB tree, which take minutes. --filter keeps the benchmarks whose names match (Google
# Benchmark's --benchmark_filter), for example --filter 'HandleMap|Regex'.
# How benchmarks pair with their references: bench/CMakeLists.txt. The raw
# results stay in build/release/bench/results/<program>.json.
set -euo pipefail
cd "$(dirname "$0")/.."

repetitions=5
min_time=0.1
filter=.
while [[ $# -gt 0 ]]; do
    case $1 in
    --repetitions)
        repetitions=${2:?--repetitions needs a number}
        shift 2
        ;;
    --min-time)
        min_time=${2:?--min-time needs a number of seconds}
        shift 2
        ;;
    --filter)
        filter=${2:?--filter needs a regular expression}
        shift 2
        ;;
    *)
        echo "usage: bench.sh [--repetitions N] [--min-time SECONDS] [--filter REGEX]" >&2
        exit 2
        ;;
    esac
done

top=$PWD
build=build/release
results="$PWD/$build/bench/results"
log="$PWD/build/release-bench-build.log"
mkdir -p build
echo "=== building the benchmarks (release preset)" >&2
if ! { cmake --preset release && cmake --build --preset release -j "$(nproc)" --target kel_benchmarks; } \
    >"$log" 2>&1; then
    cat "$log" >&2
    echo "=== build failed" >&2
    exit 1
fi

rm -rf "$results"
mkdir -p "$results"
# The programs write their scratch files (hives, archives) into a folder of
# their own, removed at the end.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Programs whose benchmarks fix their own iterations and take minutes.
declare -A once=([kel_bench_files]=1)

load_before=$(cut -d ' ' -f 1-3 /proc/loadavg 2>/dev/null || echo "?")
start=$SECONDS
for program in "$build"/bench/kel_bench_*; do
    [[ -x $program && -f $program ]] || continue
    name=$(basename "$program")
    printf '=== %-30s' "$name" >&2
    started=$SECONDS
    if ! (cd "$work" && TMPDIR="$work" "$top/$program" \
        --benchmark_filter="$filter" \
        --benchmark_repetitions="${once[$name]:-$repetitions}" \
        --benchmark_report_aggregates_only=true \
        --benchmark_min_time="$min_time" \
        --benchmark_out="$results/$name.json" \
        --benchmark_out_format=json >"$results/$name.log" 2>&1); then
        echo " failed:" >&2
        cat "$results/$name.log" >&2
        exit 1
    fi
    echo " $((SECONDS - started)) s" >&2
done
load_after=$(cut -d ' ' -f 1-3 /proc/loadavg 2>/dev/null || echo "?")
echo "=== all programs: $((SECONDS - start)) s" >&2

python3 - "$results" "$repetitions" "$min_time" "$(nproc)" "$load_before" "$load_after" <<'PY'
import glob
import json
import os
import re
import sys

results, repetitions, min_time, cores, load_before, load_after = sys.argv[1:7]
NS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}


def shown(ns):
    for unit, size in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if ns >= size:
            return f"{ns / size:.3g} {unit}"
    return f"{ns:.3g} ns"


rows = []
for path in sorted(glob.glob(os.path.join(results, "*.json"))):
    program = os.path.basename(path)[len("kel_bench_"):-len(".json")]
    # A program none of whose benchmarks matched --filter leaves the file empty.
    if os.path.getsize(path) == 0:
        continue
    with open(path) as f:
        data = json.load(f)
    medians = {}
    order = []
    for b in data.get("benchmarks", []):
        if b.get("run_type") == "aggregate" and b.get("aggregate_name") != "median":
            continue
        name = b.get("run_name", b["name"])
        if name not in medians:
            order.append(name)
        medians[name] = b
    pairs = {}
    for name in order:
        parts = name.split("/")
        sides = [i for i, p in enumerate(parts) if p in ("kel", "reference", "kel_and_reference")]
        if not sides:
            continue
        side = parts[sides[0]]
        key = "/".join(parts[: sides[0]] + parts[sides[0] + 1:])
        pairs.setdefault(key, {})[side] = medians[name]
    for key, sides in pairs.items():
        wall = "/real_time" in key or "/manual_time" in key
        shown_key = re.sub(r"/(real_time|manual_time|iterations:\d+)", "", key)
        if wall:
            shown_key += " (wall)"

        def time_of(b):
            if b.get("error_occurred"):
                return None
            t = b["real_time"] if wall else b["cpu_time"]
            return t * NS[b.get("time_unit", "ns")]

        reference_name = ""
        if "kel_and_reference" in sides:
            b = sides["kel_and_reference"]
            kel = b.get("kel_us")
            ref = b.get("reference_us")
            kel = kel * 1e3 if kel is not None and not b.get("error_occurred") else None
            ref = ref * 1e3 if ref is not None and not b.get("error_occurred") else None
            reference_name = b.get("label", "") + ", timed in turn"
        else:
            kel = time_of(sides["kel"]) if "kel" in sides else None
            ref = time_of(sides["reference"]) if "reference" in sides else None
            if "reference" in sides:
                reference_name = sides["reference"].get("label", "")
        ratio = f"{kel / ref:.2f}" if kel and ref else "—"
        rows.append((program, shown_key, reference_name or "—",
                     shown(kel) if kel is not None else "—",
                     shown(ref) if ref is not None else "—", ratio))

print("| Program | Benchmark | Reference | kel | reference | kel / reference |")
print("|---|---|---|---|---|---|")
for row in rows:
    print("| " + " | ".join(row) + " |")
print()
print(f"Medians of {repetitions} repetitions of at least {min_time} s each (the files "
      f"program: one repetition, each archive row the mean of its three runs); CPU time per "
      f"operation, wall-clock time where marked (wall). {cores} cores, load average "
      f"{load_before} before the run and {load_after} after it.")
PY
