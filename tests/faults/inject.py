#!/usr/bin/env python3
"""Fault injection: does the test suite notice when the library or the tool goes wrong?

Each fault in the list (faults.txt beside this script) names one file, a pattern that occurs in
it exactly once, and its replacement: one realistic mistake. For each fault the script applies
it to a scratch copy of the working tree, rebuilds incrementally, runs the whole suite (the
normal build, as `./dev.sh test` runs it first) and prints whether a test failed ("killed") or
the suite still passed ("survived"). The last line is "killed K of N".

    tests/faults/inject.py                 every fault
    tests/faults/inject.py gauge-default   the faults whose id contains this text
    tests/faults/inject.py --check         only check that every pattern matches exactly once

FAULTS_DIR (default: build-faults/ in the checkout) holds the scratch copy and its build; JOBS
the parallel jobs. A fault that does not build counts as an error, not as killed. A survivor
either gets a test or a "note:" in the list saying why no test can see it; noted survivors are
shown as "survived (noted)".
"""

import os
import re
import shutil
import subprocess
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
TOP = os.path.abspath(os.path.join(HERE, "..", ".."))


def parse_faults(path):
    """Blocks separated by blank lines: '# id: description', then 'file:', 'find:', 'replace:'
    and optional 'note:' lines. In find/replace, \\n stands for a line break."""
    faults = []
    block = {}
    for raw in open(path, encoding="utf-8").read().split("\n") + [""]:
        line = raw.rstrip()
        if not line.strip():
            if block:
                faults.append(block)
                block = {}
            continue
        m = re.match(r"#\s*([\w.-]+):\s*(.*)$", line)
        if m and "id" not in block:
            block["id"], block["what"] = m.group(1), m.group(2)
            continue
        if line.lstrip().startswith("#"):
            continue
        key, _, value = line.partition(":")
        key = key.strip()
        if key not in ("file", "find", "replace", "note"):
            sys.exit(f"{path}: unknown line: {line}")
        value = value[1:] if value.startswith(" ") else value
        if key in ("find", "replace"):
            value = value.replace("\\n", "\n")
        block[key] = value
    for f in faults:
        for key in ("id", "file", "find", "replace"):
            if key not in f:
                sys.exit(f"{path}: fault {f.get('id', '?')} lacks '{key}'")
    ids = [f["id"] for f in faults]
    dupes = {i for i in ids if ids.count(i) > 1}
    if dupes:
        sys.exit(f"{path}: ids used twice: {', '.join(sorted(dupes))}")
    return faults


def check_patterns(root, faults):
    bad = []
    for f in faults:
        path = os.path.join(root, f["file"])
        if not os.path.isfile(path):
            bad.append(f"{f['id']}: no file {f['file']}")
            continue
        n = open(path, encoding="utf-8").read().count(f["find"])
        if n != 1:
            bad.append(f"{f['id']}: pattern found {n} times in {f['file']}")
    return bad


def sync_tree(tree):
    """The scratch copy: every file git tracks or would track, as it is in the working tree.
    Files that did not change keep their times, so the scratch build stays incremental."""
    listed = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
                            cwd=TOP, check=True, stdout=subprocess.PIPE).stdout.decode()
    keep = set()
    for name in filter(None, listed.split("\0")):
        source = os.path.join(TOP, name)
        if not os.path.isfile(source):
            continue
        keep.add(name)
        target = os.path.join(tree, name)
        if os.path.isfile(target) and open(source, "rb").read() == open(target, "rb").read():
            continue
        os.makedirs(os.path.dirname(target), exist_ok=True)
        shutil.copy2(source, target)
    for folder, _, files in os.walk(tree):
        for f in files:
            name = os.path.relpath(os.path.join(folder, f), tree)
            if name not in keep:
                os.remove(os.path.join(folder, f))


def run(cmd, cwd, log, timeout=None):
    with open(log, "w") as out:
        try:
            return subprocess.run(cmd, cwd=cwd, stdout=out, stderr=subprocess.STDOUT,
                                  timeout=timeout).returncode
        except subprocess.TimeoutExpired:
            return -1


def main():
    args = sys.argv[1:]
    check_only = "--check" in args
    wanted = [a for a in args if not a.startswith("--")]
    faults = parse_faults(os.path.join(HERE, "faults.txt"))
    if wanted:
        faults = [f for f in faults if any(w in f["id"] for w in wanted)]

    bad = check_patterns(TOP, faults)
    if bad:
        print("\n".join(bad))
        sys.exit(2)
    if check_only:
        print(f"{len(faults)} faults, every pattern matches once")
        return

    work = os.environ.get("FAULTS_DIR", os.path.join(TOP, "build-faults"))
    tree = os.path.join(work, "tree")
    build = os.path.join(work, "build")
    jobs = os.environ.get("JOBS", str(os.cpu_count() or 2))
    os.makedirs(work, exist_ok=True)
    sync_tree(tree)
    env = dict(os.environ, QT_QPA_PLATFORM="offscreen")
    configure = ["cmake", "-S", tree, "-B", build, "-G", "Ninja",
                 "-DCMAKE_BUILD_TYPE=RelWithDebInfo", "-DTIRREL_BUILD_BENCH=ON"]
    log = os.path.join(work, "log")
    os.makedirs(log, exist_ok=True)
    if run(configure, tree, os.path.join(log, "configure.txt")) != 0 or \
            run(["cmake", "--build", build, "-j", jobs], tree, os.path.join(log, "build.txt")) != 0:
        sys.exit(f"the unchanged tree does not build: see {log}")
    if run(["ctest", "-j", jobs, "--timeout", "300"], build, os.path.join(log, "baseline.txt")) != 0:
        sys.exit(f"the unchanged tree fails its tests: see {log}/baseline.txt")

    killed = 0
    errors = 0
    for f in faults:
        path = os.path.join(tree, f["file"])
        original = open(path, encoding="utf-8").read()
        started = time.time()
        try:
            with open(path, "w", encoding="utf-8") as out:
                out.write(original.replace(f["find"], f["replace"], 1))
            flog = os.path.join(log, f["id"] + ".txt")
            if run(["cmake", "--build", build, "-j", jobs], tree, flog) != 0:
                verdict = "BUILD ERROR"
                errors += 1
            else:
                rc = run(["ctest", "-j", jobs, "--timeout", "300", "--output-on-failure"],
                         build, flog, timeout=1800)
                if rc != 0:
                    killed += 1
                    failed = re.findall(r"\d+ - (\S+) \(", open(flog).read())
                    verdict = "killed" + (f" by {', '.join(failed)}" if failed else "")
                else:
                    verdict = "survived (noted)" if f.get("note") else "SURVIVED"
        finally:
            with open(path, "w", encoding="utf-8") as out:
                out.write(original)
        print(f"{f['id']:<40} {verdict}  [{time.time() - started:.0f} s]", flush=True)
    # Leave the scratch build matching the tree again.
    run(["cmake", "--build", build, "-j", jobs], tree, os.path.join(log, "restore.txt"))
    if errors:
        print(f"{errors} fault(s) did not build: fix their patterns")
    print(f"killed {killed} of {len(faults)}")


if __name__ == "__main__":
    main()
