#!/usr/bin/env bash
# The main job: show what the library reads from a shipped page file and save it back.
set -euo pipefail
build=${1:?build directory}
here=$(cd "$(dirname "$0")" && pwd)
"$build/examples/page-info/page-info" "$here/pages/boiler-room.xml"
