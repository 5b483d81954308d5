#!/usr/bin/env bash
# Builds and runs the benchmarks, then prints one table: operation, size, time, throughput, the
# floor and the ratio to it, the linearity from the middle to the largest size, the peak memory
# of loading the largest page against the bare DOM parse, and every target with PASS or MISS.
#
#   bench/run.sh                  everything (about ten minutes on two busy cores)
#   bench/run.sh quick            the two smaller sizes only, 3 runs each (a few minutes)
#   bench/run.sh -- <args>        extra Google Benchmark arguments for every group
#
# Each group of benchmarks (pages, definitions, project, object library) runs once per size in a
# process of its own, so that no measurement works in a heap that the larger data of another
# left behind.
#
# BUILD_DIR (default: build) is the build directory, configured with TIRREL_BUILD_BENCH=ON;
# JOBS the parallel build jobs; TIRREL_BENCH_RUNS=<n> caps the runs per benchmark. The JSON
# results and the table stay in $BUILD_DIR/bench-results/.
set -euo pipefail

here=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$here/build}
jobs=${JOBS:-2}

sizes=(1000 10000 100000)
project_sizes=(100 1000 10000)
items=100000
if [ "${1:-}" = quick ]; then
    sizes=(1000 10000)
    project_sizes=(100 1000)
    items=10000
    export TIRREL_BENCH_RUNS=${TIRREL_BENCH_RUNS:-3}
    shift
fi
[ "${1:-}" = -- ] && shift
extra=("$@")

cmake -S "$here" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTIRREL_BUILD_BENCH=ON >/dev/null
cmake --build "$build" -j "$jobs" --target tirrel_bench tirrel_memprobe

out="$build/bench-results"
rm -rf "$out"
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

run_group() {   # <name> <filter>
    echo "== $1" >&2
    "$build/bench/tirrel_bench" --benchmark_filter="$2" \
        --benchmark_out="$out/bench-$1.json" --benchmark_out_format=json ${extra[@]+"${extra[@]}"} >&2
}
for n in "${sizes[@]}"; do
    run_group "page-$n" "^page_[a-z]+/$n/"
    run_group "definitions-$n" "^(definition|csv|watcher)_[a-z_]+/$n/"
    run_group "library-$n" "^library_[a-z_]+/$n/"
done
for n in "${project_sizes[@]}"; do
    run_group "project-$n" "^project_[a-z_]+/$n/"
done

# Memory: each measurement in a process of its own.
"$build/bench/tirrel_memprobe" dom "$items" >"$out/memory-dom.json"
"$build/bench/tirrel_memprobe" load "$items" >"$out/memory-load.json"

python3 "$here/bench/report.py" --memory "$out/memory-dom.json" "$out/memory-load.json" \
    "$out"/bench-*.json | tee "$out/table.md"
