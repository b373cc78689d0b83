"""Prints the medians of benchmark results, and this library's time against each contender's.

Usage: report.py [--partial] LIMITS RESULTS

RESULTS is a folder of JSON files as Google Benchmark writes them, with aggregates. A benchmark is
named Group/Verrick or Group/CONTENDER; what follows a further slash belongs to the group. LIMITS
holds lines of "Group contender limit": the largest ratio that Verrick's median may have to the
contender's. Fails if a ratio is over its limit, or if a pair of LIMITS was not measured; --partial
is for runs that leave some out on purpose.
"""

import json
import pathlib
import re
import sys

OURS = "Verrick"
NANOSECONDS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}
MODIFIER = re.compile(r"(real_time|process_time|manual_time)$|(iterations|repeats|min_time):")


def read_limits(path):
    limits = {}
    if path.exists():
        for line in path.read_text().splitlines():
            fields = line.split("#")[0].split()
            if fields:
                group, contender, limit = fields
                limits[group, contender] = float(limit)
    return limits


def read_medians(folder):
    """Gives {group: {contender: nanoseconds}}."""
    groups = {}
    for path in sorted(folder.glob("*.json")):
        if path.stat().st_size == 0:
            continue  # the program has no benchmark that was asked for
        for run in json.loads(path.read_text())["benchmarks"]:
            if run.get("aggregate_name") != "median":
                continue
            group, contender, wall = split_name(run["run_name"])
            time = run["real_time" if wall else "cpu_time"] * NANOSECONDS[run["time_unit"]]
            groups.setdefault(group, {})[contender] = time
    return groups


def split_name(run_name):
    """Gives group, contender, and whether wall-clock time is what was asked for."""
    parts = run_name.split("/")
    contender = parts[1] if len(parts) > 1 else OURS
    arguments = [part for part in parts[2:] if not MODIFIER.match(part)]
    return "/".join([parts[0], *arguments]), contender, bool({"real_time", "manual_time"} & set(parts))


def show_time(nanoseconds):
    for unit, size in reversed(NANOSECONDS.items()):
        if nanoseconds >= size:
            return f"{nanoseconds / size:.2f} {unit}"
    return f"{nanoseconds:.2f} ns"


def main():
    partial = "--partial" in sys.argv[1:]
    limits_path, results_path = map(pathlib.Path, sys.argv[-2:])
    limits = read_limits(limits_path)
    groups = read_medians(results_path)
    over = 0
    row = "{:<34} {:<22} {:>12} {:>8} {:>8}  {}"
    print(row.format("group", "contender", "median", "ratio", "limit", "").rstrip())
    for group, times in sorted(groups.items()):
        ours = times.get(OURS)
        for contender, time in sorted(times.items(), key=lambda pair: (pair[0] != OURS, pair[0])):
            ratio = ours / time if ours is not None and contender != OURS and time > 0 else None
            limit = limits.get((group, contender))
            verdict = ""
            if ratio is not None and limit is not None:
                verdict = "ok" if ratio <= limit else "over"
                over += verdict == "over"
            print(row.format(group, contender, show_time(time),
                             "" if ratio is None else f"{ratio:.2f}",
                             "" if limit is None else f"{limit:g}", verdict).rstrip())
    missing = [] if partial else [(group, contender) for group, contender in limits
                                  if not {OURS, contender} <= groups.get(group, {}).keys()]
    for group, contender in missing:
        print(f"not measured: {group} against {contender}")
    return 1 if over or missing else 0


sys.exit(main())
