#!/usr/bin/env bash
# Builds the libFuzzer harnesses and runs each of them for a given time, two at a time (one per
# core), then prints executions, corpus size and findings per harness.
#
#   fuzz/run.sh                      every harness for 900 seconds
#   fuzz/run.sh 60                   every harness for 60 seconds
#   fuzz/run.sh 300 page csv         only these harnesses (page, definitions, csv, library,
#                                    xmltree)
#
# BUILD_DIR (default: build-fuzz) is the clang build directory, JOBS the parallel build jobs.
# Corpora grow in $BUILD_DIR/fuzz-corpus/<harness>/ and are seeded from tests/data/ on every
# run; crashes and failed properties land in $BUILD_DIR/fuzz-findings/<harness>/, the fuzzers'
# output in $BUILD_DIR/fuzz-logs/. Replay one finding with: $BUILD_DIR/fuzz/fuzz_<harness> FILE
# The script fails when any harness found something.
set -euo pipefail

here=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$here/build-fuzz}
jobs=${JOBS:-2}
seconds=${1:-900}
shift || true
harnesses=("$@")
[ ${#harnesses[@]} -eq 0 ] && harnesses=(page definitions csv library xmltree)

CC=clang CXX=clang++ cmake -S "$here" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DTIRREL_BUILD_FUZZ=ON -DBUILD_TESTING=OFF -DTIRREL_BUILD_EXAMPLES=OFF \
    -DTIRREL_BUILD_TOOLS=OFF >/dev/null
cmake --build "$build" -j "$jobs" --target "${harnesses[@]/#/fuzz_}"

seeds() {
    case $1 in
        page)        ls "$here"/tests/data/pages/*.xml "$here"/examples/pages/*.xml ;;
        definitions) ls "$here"/tests/data/defs/*.xml ;;
        csv)         ls "$here"/tests/data/csv/*.csv ;;
        library)     ls "$here"/tests/data/library/*.xml ;;
        xmltree)     find "$here"/tests/data "$here"/examples -name '*.xml' ;;
    esac
}

# A dictionary of the seeds' element and attribute names, and the XML constructs around them.
dictionary() {
    local name=$1 out=$2
    {
        printf '"%s"\n' '<?xml version="1.0" encoding="UTF-8"?>' '<![CDATA[' ']]>' '<!--' '-->' \
            '<!DOCTYPE' '<!ENTITY' '&amp;' '&#' '/>' '</' '="' ';' '{' '}' ':' '"'
        if [ "$name" = xmltree ]; then
            printf '"%s"\n' '<?' '?>' '&#x' '&lt;' '&gt;' '&quot;' '&apos;' ' encoding="' \
                ' standalone="yes"' 'version="1.0"' 'UTF-16' 'windows-1252' '<!DOCTYPE a>' \
                '\xef\xbb\xbf' '\x00' '\x0d\x0a' '\xc2\xa0' '\xe3\x80\x80' '&#32;' '&#160;'
        fi
        if [ "$name" != csv ]; then
            seeds "$name" | xargs cat \
                | grep -aoE '</?[A-Za-z_][A-Za-z0-9_]*|[A-Za-z_][A-Za-z0-9_]*="' \
                | sed 's/"/\\"/g' | sort -u | sed 's/.*/"&"/'
        else
            printf '"%s"\n' LOGIC WORD DWORD FLOAT LONG ULONG
        fi
    } >"$out"
}

mkdir -p "$build/fuzz-logs" "$build/fuzz-dicts"
# Scratch files go to memory where there is such a folder: the harnesses save on every input.
[ -d /dev/shm ] && export TMPDIR=/dev/shm
export ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1

run_one() {
    local name=$1
    local corpus="$build/fuzz-corpus/$name" findings="$build/fuzz-findings/$name"
    mkdir -p "$corpus" "$findings"
    seeds "$name" | xargs -I{} cp {} "$corpus/"
    dictionary "$name" "$build/fuzz-dicts/$name.dict"
    "$build/fuzz/fuzz_$name" -max_total_time="$seconds" -timeout=30 -rss_limit_mb=4096 \
        -print_final_stats=1 -dict="$build/fuzz-dicts/$name.dict" \
        -artifact_prefix="$findings/" "$corpus" >"$build/fuzz-logs/$name.log" 2>&1 || true
}

echo "fuzzing ${harnesses[*]} for ${seconds}s each, two at a time"
for name in "${harnesses[@]}"; do
    while [ "$(jobs -rp | wc -l)" -ge 2 ]; do
        wait -n || true
    done
    run_one "$name" &
done
wait

found=0
printf '\n| harness | executions | exec/s | corpus | findings |\n|---|---|---|---|---|\n'
for name in "${harnesses[@]}"; do
    log="$build/fuzz-logs/$name.log"
    execs=$(grep -oE 'stat::number_of_executed_units: +[0-9]+' "$log" | grep -oE '[0-9]+$' || echo '?')
    rate=$(grep -oE 'stat::average_exec_per_sec: +[0-9]+' "$log" | grep -oE '[0-9]+$' || echo '?')
    corpus=$(find "$build/fuzz-corpus/$name" -type f | wc -l)
    findings=$(find "$build/fuzz-findings/$name" -type f | wc -l)
    found=$((found + findings))
    printf '| %s | %s | %s | %s | %s |\n' "$name" "${execs:-?}" "${rate:-?}" "$corpus" "$findings"
done
[ "$found" -eq 0 ]
