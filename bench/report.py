#!/usr/bin/env python3
"""Prints the benchmark table from Google Benchmark's JSON output and the memory probes.

    report.py [--memory <memprobe dom json> <memprobe load json> <memprobe load_dom json>]
              [--check <checkjobs json>] <benchmark json>...

Every figure is a ratio within the one run, so the table holds on a busy machine: loads against
the DOM floor (QDomDocument::setContent on the same bytes), saves against the writer floor (a
bare QXmlStreamWriter replaying the same calls with ready-made texts), each operation and its
floor measured back to back and the median of the per-run ratios taken; the median time at the
largest size against the middle one (10 times fewer items); the peak heap of a page load
against the bare DOM parse of the same bytes, each in its own process; tirrel check of a
generated project on all cores against one thread, whole processes in turn. Times are medians.
The loads are shown as the library makes them (through its own XML tree) and through the DOM
alone ("_dom", which keeps the targets the DOM path had).
"""

import json
import sys

LOAD_TARGET = 0.35     # load / DOM floor
DOM_LOAD_TARGET = 1.3  # load through the DOM alone / DOM floor
SAVE_TARGET = 1.5      # save / writer floor
LINEAR_TARGET = 12.0   # largest size / middle size (10x)
MEMORY_TARGET = 0.25   # peak heap of the page load / peak heap of the DOM parse
DOM_MEMORY_TARGET = 1.2  # the same through the DOM alone
TREE_TARGET = 0.1      # the library's XML tree parse / DOM floor
CHECK_TARGET = 0.6     # tirrel check on all cores / on one thread
# What "nothing retained" allows for: heap still held after deleting the page and its records.
RETAINED_LIMIT = 64 * 1024

# operation name -> (label, unit of its size, floor kind, target on the floor ratio)
OPERATIONS = {
    "page_load": ("page load", "items", "DOM", LOAD_TARGET),
    "page_load_dom": ("page load, DOM only", "items", "DOM", DOM_LOAD_TARGET),
    "page_save": ("page save", "items", "writer", SAVE_TARGET),
    "page_clone": ("page clone", "items", None, None),
    "page_erase": ("page erase", "items", None, None),
    "page_clone_reuse": ("page clone, reusing freed memory", "items", None, None),
    "page_erase_reuse": ("page erase, reusing freed memory", "items", None, None),
    "definition_load": ("definition load", "tags", "DOM", LOAD_TARGET),
    "definition_load_dom": ("definition load, DOM only", "tags", "DOM", DOM_LOAD_TARGET),
    "definition_save": ("definition save (records)", "tags", "writer", SAVE_TARGET),
    "definition_model_save": ("definition save (models)", "tags", "writer", SAVE_TARGET),
    "csv_import": ("CSV import", "lines", None, None),
    "watcher_reload": ("watcher reload", "tags", "DOM", LOAD_TARGET),
    "watcher_reload_dom": ("watcher reload, DOM only", "tags", "DOM", DOM_LOAD_TARGET),
    "project_contains_file_name": ("containsFileName", "pages", None, None),
    "project_get_filedata_with_name": ("getFiledataWithName", "pages", None, None),
    "project_get_filedata_with_page_id": ("getFiledataWithPageId", "pages", None, None),
    "project_get_file_name_with_page_id": ("getFileNameWithPageId", "pages", None, None),
    "project_get_all_blocks": ("getAllBlocks", "pages", None, None),
    "project_get_block": ("getBlock", "pages", None, None),
    "project_get_file_name_containing_block": ("getFileNameContainingBlock", "pages", None, None),
    "project_get_project_components": ("getProjectComponents", "pages", None, None),
    "project_request_unique_id": ("requestUniqueId", "pages", None, None),
    "xml_tree_parse": ("XML tree parse (page)", "items", "DOM", TREE_TARGET),
    "xml_tree_parse_definitions": ("XML tree parse (definitions)", "tags", "DOM", TREE_TARGET),
    "library_load": ("object library load", "objects", "DOM", LOAD_TARGET),
    "library_load_dom": ("object library load, DOM only", "objects", "DOM", DOM_LOAD_TARGET),
    "library_add_object": ("addUserObject (chooseaUID)", "objects", None, None),
}

# Shown without a target: the same operation measured right after an equally large page was
# deleted, where the C library's allocator walks free lists spread far beyond the caches.
INFORMATIONAL = {"page_clone_reuse", "page_erase_reuse"}

UNIT_SECONDS = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}


def fmt_time(seconds):
    if seconds is None:
        return "-"
    for unit, scale in (("s", 1.0), ("ms", 1e-3), ("µs", 1e-6)):
        if seconds >= scale:
            return f"{seconds / scale:.3g} {unit}"
    return f"{seconds / 1e-9:.3g} ns"


def fmt_rate(value, unit):
    suffix, scaled = "", value
    for prefix, scale in (("G", 1e9), ("M", 1e6), ("k", 1e3)):
        if value >= scale:
            suffix, scaled = prefix, value / scale
            break
    if unit == "B":
        return f"{scaled:.3g} {suffix}B/s"
    return f"{scaled:.3g}{' ' + suffix if suffix else ''} {unit}/s"


def fmt_size(n):
    return f"{n:,}"


def fmt_bytes(n):
    return f"{n / 1e6:.1f} MB"


def verdict(ok):
    return "PASS" if ok else "MISS"


def load_runs(paths):
    context, runs = {}, {}
    for path in paths:
        with open(path) as f:
            data = json.load(f)
        context = context or data.get("context", {})
        for b in data.get("benchmarks", []):
            if b.get("run_type") == "aggregate":
                continue
            parts = b["name"].split("/")
            op, size = parts[0], int(parts[1])
            entry = {"error": b.get("error_message")}
            if not entry["error"]:
                mean = b["real_time"] * UNIT_SECONDS[b["time_unit"]]
                # The median run where the benchmark reports it (the iteration time is a mean).
                entry["time"] = b.get("median") or mean
                scale = mean / entry["time"] if entry["time"] else 1.0
                if b.get("bytes_per_second"):
                    entry["bytes_per_second"] = b["bytes_per_second"] * scale
                if b.get("items_per_second"):
                    entry["items_per_second"] = b["items_per_second"] * scale
                entry["floor"] = b.get("floor")
                entry["ratio"] = b.get("ratio")
                entry["runs"] = b.get("runs") or b.get("iterations")
                entry["identical"] = b.get("identical")
            runs.setdefault(op, {})[size] = entry
    return context, runs


def table(header, rows):
    widths = [max(len(str(x)) for x in col) for col in zip(header, *rows)]
    line = lambda cells: "| " + " | ".join(str(c).ljust(w) for c, w in zip(cells, widths)) + " |"
    out = [line(header), "|" + "|".join("-" * (w + 2) for w in widths) + "|"]
    out += [line(r) for r in rows]
    return "\n".join(out)


def main(argv):
    args = argv[1:]
    memory = check = None
    if args[:1] == ["--memory"]:
        memory, args = args[1:4], args[4:]
    if args[:1] == ["--check"]:
        check, args = args[1], args[2:]
    context, runs = load_runs(args)
    results = []   # (description, ok)
    main_rows = []
    linear_rows = []
    for op, (label, unit, floor_kind, target) in OPERATIONS.items():
        sizes = runs.get(op)
        if not sizes:
            continue
        for size in sorted(sizes):
            r = sizes[size]
            if r["error"]:
                main_rows.append([label, fmt_size(size), "error: " + r["error"], "", "", "", ""])
                results.append((f"{label} {size}", False))
                continue
            if r.get("bytes_per_second"):
                rate = fmt_rate(r["bytes_per_second"], "B")
            else:
                rate = fmt_rate(r.get("items_per_second") or 0, unit)
            floor = ratio = target_text = ""
            if floor_kind and r.get("floor"):
                floor = f"{fmt_time(r['floor'])} ({floor_kind})"
                q = r["ratio"] if r.get("ratio") else r["time"] / r["floor"]
                ratio = f"{q:.2f}"
                ok = q <= target
                target_text = f"≤ {target} {verdict(ok)}"
                results.append((f"{label} {fmt_size(size)}: {q:.2f} of the {floor_kind} floor", ok))
            if r.get("identical") is not None and r["identical"] < 1:
                target_text += " (output differs from the generated file)"
            main_rows.append([label, fmt_size(size), fmt_time(r["time"]), rate, floor, ratio,
                              target_text])
        ordered = sorted(s for s in sizes if not sizes[s]["error"])
        if len(ordered) >= 2:
            small, large = ordered[-2], ordered[-1]
            q = sizes[large]["time"] / sizes[small]["time"]
            limit = LINEAR_TARGET * (large / small) / 10
            ok = q <= limit
            target_text = "(no target: allocator state)" if op in INFORMATIONAL else f"≤ {limit:g} {verdict(ok)}"
            linear_rows.append([label, f"{fmt_size(small)} → {fmt_size(large)}",
                                fmt_time(sizes[small]["time"]), fmt_time(sizes[large]["time"]),
                                f"{q:.1f}", target_text])
            if op not in INFORMATIONAL:
                results.append((f"{label} linearity {fmt_size(small)} → {fmt_size(large)}: {q:.1f}", ok))

    print(f"Run: {context.get('date', '?')}, {context.get('num_cpus', '?')} CPUs, "
          f"load average {', '.join(f'{x:.2f}' for x in context.get('load_avg', []))}")
    print()
    print(table(["operation", "size", "time", "throughput", "floor", "ratio", "target"], main_rows))
    print()
    print(table(["operation", "sizes", "time", "time", "ratio", "target (linear)"], linear_rows))

    if memory:
        def probe(path):
            with open(path) as f:
                return json.loads(f.read().strip().splitlines()[-1])
        dom, load, load_dom = (probe(path) for path in memory)
        rows = [["DOM parse (floor)", fmt_bytes(dom["peak_heap"]),
                 fmt_bytes(dom["rss_peak_growth"]), fmt_bytes(dom["retained"]), ""]]
        for label, r, target in (("page load", load, MEMORY_TARGET),
                                 ("page load, DOM only", load_dom, DOM_MEMORY_TARGET)):
            q = r["peak_heap"] / dom["peak_heap"]
            ok = q <= target
            kept_ok = r["retained"] <= RETAINED_LIMIT
            rows.append([label, fmt_bytes(r["peak_heap"]), fmt_bytes(r["rss_peak_growth"]),
                         f"{r['heap_with_page'] / 1e6:.1f} MB with the page, "
                         f"{r['retained']} bytes after deleting it",
                         f"peak {q:.2f} ≤ {target} {verdict(ok)}; retained {verdict(kept_ok)}"])
            results.append((f"peak heap of the {label}: {q:.2f} of the DOM parse", ok))
            results.append((f"heap retained after deleting the page ({label}): "
                            f"{r['retained']} bytes", kept_ok))
        print()
        print(table(["memory, page of " + fmt_bytes(dom["bytes"]), "peak heap", "peak RSS growth",
                     "held after", "target"], rows))

    if check:
        with open(check) as f:
            c = json.load(f)
        ok = c["ratio"] <= CHECK_TARGET and c["identical"]
        print()
        print(table(["tirrel check", "pages", "one thread", f"{c['cores']} cores", "ratio",
                     "target"],
                    [["generated project", fmt_size(c["pages"]), fmt_time(c["serial"]),
                      fmt_time(c["parallel"]), f"{c['ratio']:.2f}",
                      f"≤ {CHECK_TARGET} {verdict(ok)}"
                      + ("" if c["identical"] else " (the reports differ)")]]))
        results.append((f"tirrel check on all cores: {c['ratio']:.2f} of one thread", ok))

    missed = [d for d, ok in results if not ok]
    print()
    print(f"{len(results) - len(missed)} of {len(results)} targets met.")
    for d in missed:
        print(f"  MISS {d}")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
