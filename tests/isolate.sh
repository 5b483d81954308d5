#!/bin/sh
# Runs one test program with a fresh temporary HOME and working directory, removed afterwards.
dir=$(mktemp -d "${TMPDIR:-/tmp}/tirrel-test.XXXXXX") || exit 1
mkdir -p "$dir/home" "$dir/work"
export HOME="$dir/home"
export XDG_RUNTIME_DIR="$dir/run"
mkdir -p -m 700 "$XDG_RUNTIME_DIR"
cd "$dir/work" || exit 1
"$@"
rc=$?
rm -rf "$dir"
exit $rc
