#!/usr/bin/env bash
# Builds and runs the benchmarks, then prints one table: operation, size, time, throughput, the
# floor and the ratio to it, the linearity from the middle to the largest size, the peak memory
# of loading the largest page against the bare DOM parse, and every target with PASS or MISS.
#
#   bench/run.sh                  everything (a few minutes)
#   bench/run.sh quick            the two smaller sizes only (no linearity figure for 100,000)
#   bench/run.sh -- <args>        extra Google Benchmark arguments, e.g. --benchmark_filter=page_
#
# BUILD_DIR (default: build) is the build directory, configured with TIRREL_BUILD_BENCH=ON;
# JOBS the parallel build jobs. The JSON results stay in $BUILD_DIR/bench-results/.
set -euo pipefail

here=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$here/build}
jobs=${JOBS:-2}

args=()
items=100000
if [ "${1:-}" = quick ]; then
    args+=("--benchmark_filter=/(1000|10000|100)/")
    items=10000
    shift
fi
[ "${1:-}" = -- ] && shift
args+=("$@")

cmake -S "$here" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTIRREL_BUILD_BENCH=ON >/dev/null
cmake --build "$build" -j "$jobs" --target tirrel_bench tirrel_memprobe

out="$build/bench-results"
mkdir -p "$out"

# A home folder and working folder of its own: the object library and settings singletons read
# and write there.
work=$(mktemp -d "${TMPDIR:-/tmp}/tirrel-bench-run.XXXXXX")
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/home" "$work/cwd"
export HOME="$work/home"
export QT_QPA_PLATFORM=offscreen
export XDG_RUNTIME_DIR="$work/run"
mkdir -p -m 700 "$XDG_RUNTIME_DIR"
cd "$work/cwd"

"$build/bench/tirrel_bench" --benchmark_min_time=0.3 \
    --benchmark_out="$out/bench.json" --benchmark_out_format=json "${args[@]}" >&2

# Memory: each measurement in a process of its own.
"$build/bench/tirrel_memprobe" dom "$items" >"$out/memory-dom.json"
"$build/bench/tirrel_memprobe" load "$items" >"$out/memory-load.json"

python3 "$here/bench/report.py" "$out/bench.json" "$out/memory-dom.json" "$out/memory-load.json" \
    | tee "$out/table.md"
