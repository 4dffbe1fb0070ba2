#!/usr/bin/env python3
"""Prints the benchmark results of scripts/bench.sh as tables.

Usage: scripts/bench_table.py RESULTS_DIR

Reads every Google Benchmark JSON file in RESULTS_DIR (the median of the
repetitions of each case) and cli.json when present (scripts/bench_cli.py).
Library cases are named Lib/<operation> and their raw twins Raw/<operation>;
each pair is one row, with library/raw, the ratio that counts. Cases with an
"instances" counter also show the time per instance; "spread" is the larger
coefficient of variation of the two sides' repetitions. Memory cases (with a
"heap_bytes" counter) get a table of their own, and so do cases that are not
part of a pair. A case that failed its check shows ERROR in the time table.
"""
import glob
import json
import os
import sys

TO_NS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}


def load_cases(results_dir):
    """Returns (cases by run name, contexts): each case the median entry of
    its repetitions, with "cv" the coefficient of variation of its real time,
    or its only run, or its error."""
    cases = {}
    spreads = {}
    contexts = []
    # In the order the executables ran.
    for path in sorted(glob.glob(os.path.join(results_dir, "*.json")), key=os.path.getmtime):
        # An executable whose cases the filter left out writes nothing.
        if os.path.basename(path) == "cli.json" or os.path.getsize(path) == 0:
            continue
        with open(path) as f:
            data = json.load(f)
        contexts.append(data.get("context", {}))
        for entry in data.get("benchmarks", []):
            name = entry["run_name"]
            if entry.get("error_occurred"):
                cases[name] = {"error": entry.get("error_message", "error")}
            elif name in cases and "error" in cases[name]:
                continue
            elif entry.get("run_type") == "aggregate":
                if entry.get("aggregate_name") == "median":
                    cases[name] = entry
                elif entry.get("aggregate_name") == "cv":
                    spreads[name] = entry["real_time"]
            elif name not in cases:
                cases[name] = entry
    for name, cv in spreads.items():
        if "error" not in cases.get(name, {"error": ""}):
            cases[name]["cv"] = cv
    return cases, contexts


def operation(run_name):
    """The operation of a case, without the Lib/Raw side and the suffixes
    Google Benchmark adds."""
    parts = run_name.split("/")
    side, rest = parts[0], [p for p in parts[1:]
                            if p not in ("real_time", "manual_time")
                            and not p.startswith("iterations:")]
    return side, "/".join(rest)


def nanoseconds(case):
    return case["real_time"] * TO_NS[case["time_unit"]]


def show_time(ns):
    for unit, scale in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if ns >= scale:
            return f"{ns / scale:.3g} {unit}"
    return f"{ns:.3g} ns"


def show_bytes(count):
    for unit, scale in (("GiB", 2**30), ("MiB", 2**20), ("KiB", 2**10)):
        if count >= scale:
            return f"{count / scale:.3g} {unit}"
    return f"{count:.0f} B"


def spread(*cases):
    """The larger coefficient of variation of the cases' repetitions."""
    cvs = [case["cv"] for case in cases if "cv" in case]
    return f"{max(cvs) * 100:.0f}%" if cvs else ""


def ratio(a, b):
    return f"{a / b:.2f}" if b else "-"


def print_table(title, header, rows):
    if not rows:
        return
    widths = [max(len(str(r[i])) for r in [header] + rows) for i in range(len(header))]
    print(f"\n{title}\n")
    print("| " + " | ".join(h.ljust(w) for h, w in zip(header, widths)) + " |")
    print("|" + "|".join("-" * (w + 2) for w in widths) + "|")
    for row in rows:
        cells = [str(c).ljust(w) if i == 0 else str(c).rjust(w)
                 for i, (c, w) in enumerate(zip(row, widths))]
        print("| " + " | ".join(cells) + " |")


def pairs_of(cases):
    pairs = {}
    others = []
    for name, case in cases.items():
        side, op = operation(name)
        if side in ("Lib", "Raw"):
            pairs.setdefault(op, {})[side] = case
        else:
            others.append((name, case))
    return pairs, others


def time_rows(pairs):
    rows = []
    for op, sides in pairs.items():
        lib, raw = sides.get("Lib"), sides.get("Raw")
        if lib is None or raw is None or "heap_bytes" in lib and "heap_bytes" in raw:
            continue
        errors = [c["error"] for c in (raw, lib) if "error" in c]
        if errors:
            rows.append([op, "ERROR", "ERROR", "; ".join(errors), "", "", ""])
            continue
        raw_ns, lib_ns = nanoseconds(raw), nanoseconds(lib)
        count = lib.get("instances")
        per = [show_time(raw_ns / count), show_time(lib_ns / count)] if count else ["", ""]
        rows.append([op, show_time(raw_ns), show_time(lib_ns), ratio(lib_ns, raw_ns)] + per +
                    [spread(raw, lib)])
    return rows


def memory_rows(pairs):
    rows = []
    for op, sides in pairs.items():
        lib, raw = sides.get("Lib"), sides.get("Raw")
        if lib is None or raw is None or "heap_bytes" not in lib or "heap_bytes" not in raw:
            continue
        rows.append([op, show_bytes(lib["text_bytes"]),
                     show_bytes(raw["heap_bytes"]), show_bytes(lib["heap_bytes"]),
                     ratio(lib["heap_bytes"], raw["heap_bytes"]),
                     f"{lib['heap_to_text']:.1f}",
                     show_bytes(raw["rss_bytes"]), show_bytes(lib["rss_bytes"]),
                     ratio(lib["rss_bytes"], raw["rss_bytes"])])
    return rows


def cli_rows(results_dir, cases):
    path = os.path.join(results_dir, "cli.json")
    if not os.path.exists(path):
        return []
    with open(path) as f:
        commands = json.load(f)["commands"]
    rows = []
    for command in commands:
        wall_ns = command["wall_seconds"] * 1e9
        lib = cases.get(f"Lib/{command['library_case']}/real_time", {})
        raw = cases.get(f"Raw/{command['library_case']}/real_time", {})
        lib_ns = nanoseconds(lib) if "real_time" in lib else 0
        raw_ns = nanoseconds(raw) if "real_time" in raw else 0
        rows.append([command["command"], show_time(wall_ns),
                     show_bytes(command["peak_rss_bytes"]),
                     f"{command['library_case']}: {show_time(lib_ns) if lib_ns else '-'}",
                     show_time(raw_ns) if raw_ns else "-",
                     ratio(wall_ns, lib_ns), ratio(wall_ns, raw_ns)])
    return rows


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: bench_table.py RESULTS_DIR")
    cases, contexts = load_cases(sys.argv[1])
    if not cases:
        sys.exit(f"no benchmark results in {sys.argv[1]}")
    pairs, others = pairs_of(cases)
    loads = [c["load_avg"][0] for c in contexts if c.get("load_avg")]
    if loads:
        print(f"Load average (1 min) at the start of each executable: "
              f"{', '.join(f'{load:.2f}' for load in loads)}")
    print_table("Time per call (median), library beside its raw twin",
                ["operation", "raw", "library", "library/raw", "raw/instance",
                 "library/instance", "spread"], time_rows(pairs))
    print_table("Memory held by the result, per instance",
                ["operation", "JSON text", "raw heap", "library heap", "library/raw",
                 "library heap/text", "raw RSS", "library RSS", "library/raw RSS"],
                memory_rows(pairs))
    print_table("The command-line program (median wall time and peak RSS of the process)",
                ["command", "wall", "peak RSS", "library call in-process", "raw twin",
                 "wall/library", "wall/raw"], cli_rows(sys.argv[1], cases))
    print_table("Cases without a twin",
                ["case", "time"],
                [[name, c.get("error") or show_time(nanoseconds(c))] for name, c in others])


if __name__ == "__main__":
    main()
