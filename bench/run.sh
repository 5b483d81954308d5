#!/usr/bin/env bash
# Builds and runs the benchmarks, then prints one table: operation, size, time, throughput, the
# floor and the ratio to it, the linearity from the middle to the largest size, the peak memory
# of loading the largest page against the bare DOM parse, tirrel check of the largest generated
# project on all cores against one thread, and every target with PASS or MISS.
#
#   bench/run.sh                  everything (about ten minutes on two busy cores)
#   bench/run.sh quick            the two smaller sizes only, 3 runs each (a few minutes)
#   bench/run.sh -- <args>        extra Google Benchmark arguments for every group
#
# Each benchmark runs at each size in a process of its own (the project look-ups of one size
# share one), so that no measurement works in a heap that the data of another left behind.
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
check_pages=10000
check_runs=5
if [ "${1:-}" = quick ]; then
    sizes=(1000 10000)
    project_sizes=(100 1000)
    items=10000
    check_pages=1000
    check_runs=3
    export TIRREL_BENCH_RUNS=${TIRREL_BENCH_RUNS:-3}
    shift
fi
[ "${1:-}" = -- ] && shift
extra=("$@")

cmake -S "$here" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTIRREL_BUILD_BENCH=ON >/dev/null
cmake --build "$build" -j "$jobs" --target tirrel_bench tirrel_memprobe tirrel-cli

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

run_one() {   # <output name> <filter>
    echo "== $1" >&2
    "$build/bench/tirrel_bench" --benchmark_filter="$2" \
        --benchmark_out="$out/bench-$1.json" --benchmark_out_format=json ${extra[@]+"${extra[@]}"} >&2
}
wanted() {   # <size> <list of sizes>
    local n=$1; shift
    for s in "$@"; do [ "$s" = "$n" ] && return 0; done
    return 1
}
# Every benchmark and size in a process of its own; the project look-ups of one size share one
# (building a project of 10,000 pages takes longer than all its look-ups).
"$build/bench/tirrel_bench" --benchmark_list_tests=true | cut -d/ -f1,2 | sort -u -t/ -k2,2n -k1,1 |
while IFS=/ read -r name size; do
    if [[ $name == project_* ]]; then
        if wanted "$size" "${project_sizes[@]}" && [ ! -e "$out/bench-project-$size.json" ]; then
            run_one "project-$size" "^project_[a-z_]+/$size/"
        fi
    elif wanted "$size" "${sizes[@]}"; then
        run_one "$name-$size" "^$name/$size/"
    fi
done

# Memory: each measurement in a process of its own.
"$build/bench/tirrel_memprobe" dom "$items" >"$out/memory-dom.json"
"$build/bench/tirrel_memprobe" load "$items" >"$out/memory-load.json"
"$build/bench/tirrel_memprobe" load_dom "$items" >"$out/memory-load-dom.json"

# tirrel check of the generated project, on one thread and on all cores.
echo "== check ($check_pages pages)" >&2
"$build/bench/tirrel_bench" --write-project "$work/project" "$check_pages"
python3 "$here/bench/checkjobs.py" "$build/tools/tirrel" "$work/project" "$check_runs" \
    "$out/check.json" >&2

python3 "$here/bench/report.py" --memory "$out/memory-dom.json" "$out/memory-load.json" \
    "$out/memory-load-dom.json" --check "$out/check.json" "$out"/bench-*.json \
    | tee "$out/table.md"
