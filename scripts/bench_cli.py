#!/usr/bin/env python3
"""Measures corvcfg on the store of 100 000 instances that bench_reads keeps.

Usage: scripts/bench_cli.py CORVCFG STORE_DIR OUT_JSON [RUNS]

STORE_DIR is the CORV_BENCH_DIR of a bench_reads run: large.db holds the key
bench.net.ports100000 with 100 000 instances, schemas.db its schemas. Each
command runs RUNS times (default 3); the median wall time and the median
peak resident memory of the process are written to OUT_JSON with the name
of the in-process benchmark case of the library call the command makes.
The peak is the child's own, from wait4(), so no separate time program is
needed. Each command's output is checked to hold every instance.
"""
import json
import os
import statistics
import subprocess
import sys
import time

KEY = "bench.net.ports100000"
COUNT = 100000


def run(argv, stdout_path):
    """Runs argv with stdout to a file; returns (wall seconds, peak RSS bytes)."""
    with open(stdout_path, "wb") as out:
        start = time.perf_counter()
        child = subprocess.Popen(argv, stdout=out)
        _, status, usage = os.wait4(child.pid, 0)
        wall = time.perf_counter() - start
    child.returncode = os.waitstatus_to_exitcode(status)
    if child.returncode != 0:
        sys.exit(f"{' '.join(argv)} exited with {child.returncode}")
    # ru_maxrss is in KiB on Linux.
    return wall, usage.ru_maxrss * 1024


def instances_in(path, nested):
    with open(path) as f:
        value = json.load(f)
    if nested:
        value = value["bench"]["net"]["ports100000"]
    return len(value)


def main():
    if len(sys.argv) not in (4, 5):
        sys.exit("usage: bench_cli.py CORVCFG STORE_DIR OUT_JSON [RUNS]")
    corvcfg, store_dir, out_json = sys.argv[1:4]
    runs = int(sys.argv[4]) if len(sys.argv) == 5 else 3
    base = [corvcfg, "--db", os.path.join(store_dir, "large.db"),
            "--schema-db", os.path.join(store_dir, "schemas.db")]
    output = os.path.join(store_dir, "corvcfg-output.json")
    exported = os.path.join(store_dir, "corvcfg-export.json")
    # Each command: what it is shown as, its arguments, the file holding its
    # JSON, whether that file nests component, group, key, and the
    # benchmark case of the library call it makes.
    commands = [
        (f"corvcfg get {KEY}", ["get", KEY], output, False, f"GetInstancesText/{COUNT}"),
        ("corvcfg export bench", ["export", "bench", "--output", exported], exported, True,
         f"Export/{COUNT}"),
    ]
    # Every command runs before any output is parsed: a child's peak RSS
    # counts the moments between fork and exec, when it is still a copy of
    # this process, which parsing a large output would have grown.
    messages = os.path.join(store_dir, "corvcfg-messages.txt")
    measured = {}
    for shown, arguments, result_file, _, _ in commands:
        stdout_path = result_file if result_file == output else messages
        measured[shown] = [run(base + arguments, stdout_path) for _ in range(runs)]
    results = []
    for shown, _, result_file, nested, library_case in commands:
        found = instances_in(result_file, nested)
        if found != COUNT:
            sys.exit(f"{shown} printed {found} instances, not {COUNT}")
        results.append({
            "command": shown,
            "library_case": library_case,
            "wall_seconds": statistics.median(m[0] for m in measured[shown]),
            "peak_rss_bytes": statistics.median(m[1] for m in measured[shown]),
        })
    for path in (output, exported, messages):
        if os.path.exists(path):
            os.remove(path)
    with open(out_json, "w") as f:
        json.dump({"commands": results}, f, indent=2)


if __name__ == "__main__":
    main()
