#!/usr/bin/env python3
"""Times tirrel check over a project folder on one thread and on every core, in turn.

    checkjobs.py TIRREL DIR RUNS OUT.json

Each run is a whole process (`tirrel check --json DIR --jobs 1`, then `tirrel check --json DIR`,
alternating which goes first), timed by the wall clock. Writes the median seconds of both, the
median of the per-pair ratios (all cores / one thread) and whether every run printed the same
report.
"""

import json
import os
import statistics
import subprocess
import sys
import time


def timed(args):
    start = time.perf_counter()
    done = subprocess.run(args, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    return time.perf_counter() - start, done.stdout


def main(argv):
    tirrel, folder, runs, out = argv[1], argv[2], int(argv[3]), argv[4]
    serial_args = [tirrel, "check", "--json", folder, "--jobs", "1"]
    parallel_args = [tirrel, "check", "--json", folder]
    timed(parallel_args)   # warm-up: the files into the page cache
    serial, parallel, ratios, reports = [], [], [], set()
    for i in range(runs):
        pair = {}
        for name in (("serial", "parallel") if i % 2 == 0 else ("parallel", "serial")):
            seconds, report = timed(serial_args if name == "serial" else parallel_args)
            pair[name] = seconds
            reports.add(report)
        serial.append(pair["serial"])
        parallel.append(pair["parallel"])
        ratios.append(pair["parallel"] / pair["serial"])
    result = {"pages": sum(len(f) for _, _, f in os.walk(folder)),
              "cores": os.cpu_count(),
              "serial": statistics.median(serial),
              "parallel": statistics.median(parallel),
              "ratio": statistics.median(ratios),
              "runs": runs,
              "identical": len(reports) == 1}
    with open(out, "w") as f:
        json.dump(result, f)
    print(json.dumps(result))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
