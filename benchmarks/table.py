#!/usr/bin/python3
"""Runs the benchmark programs of a folder and prints one table of medians.

usage: benchmarks/table.py FOLDER [FILTER]

FOLDER holds the built benchmark programs; FILTER is a regular expression over benchmark names. Scenes that draw need a
display; where none is set, a virtual one is started for them.
"""

import json
import os
import shutil
import subprocess
import sys
import tempfile

REPETITIONS = 3
# Counters whose value a reader wants as it stands; every other counter is printed with its name.
TIME_UNITS = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}


def with_unit(value, unit=""):
    """A number with three significant digits and a decimal prefix: 0.0000124 s is '12.4 us'."""
    if value == 0:
        return f"0 {unit}".strip()
    for factor, prefix in ((1e9, "G"), (1e6, "M"), (1e3, "k"), (1, ""), (1e-3, "m"), (1e-6, "u"), (1e-9, "n")):
        if abs(value) >= factor or factor == 1e-9:
            if prefix == "k" and unit == "s" or prefix in "MG" and unit == "s":
                continue
            return f"{value / factor:.3g} {prefix}{unit}".strip()
    return f"{value:.3g} {unit}".strip()


def run(program, pattern):
    """The median rows of one program: (name, seconds, counters)."""
    # What the scenes themselves print goes its own way.
    with tempfile.NamedTemporaryFile(suffix=".json") as table:
        command = [
            program, f"--benchmark_out={table.name}", "--benchmark_out_format=json", f"--benchmark_filter={pattern}",
            f"--benchmark_repetitions={REPETITIONS}", "--benchmark_report_aggregates_only=true",
        ]
        done = subprocess.run(command, stdout=subprocess.DEVNULL)
        text = table.read()
    if done.returncode != 0:
        print(f"{os.path.basename(program)}: ended with status {done.returncode}", file=sys.stderr)
        return []
    if not text:
        return []  # nothing that fits the filter
    known = {
        "name", "run_name", "run_type", "repetitions", "repetition_index", "threads", "iterations", "real_time", "cpu_time",
        "time_unit", "aggregate_name", "aggregate_unit", "family_index", "per_family_instance_index", "label",
        "error_occurred", "error_message",
    }
    rows = []
    for row in json.loads(text)["benchmarks"]:
        if row.get("error_occurred"):
            print(f"{row['name']}: {row['error_message']}", file=sys.stderr)
        elif row.get("aggregate_name") == "median" or row.get("repetitions") == 1:
            seconds = row["real_time"] * TIME_UNITS[row["time_unit"]]
            counters = {key: value for key, value in row.items() if key not in known}
            rows.append((row["run_name"], seconds, counters))
    return rows


def processor():
    with open("/proc/cpuinfo") as info:
        for line in info:
            if line.startswith("model name"):
                return line.split(":", 1)[1].strip()
    return "unknown processor"


def main():
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    folder = sys.argv[1]
    pattern = sys.argv[2] if len(sys.argv) == 3 else "."
    if "DISPLAY" not in os.environ and shutil.which("xvfb-run"):
        os.execvp("xvfb-run", ["xvfb-run", "-a", "-s", "-screen 0 1024x768x24", sys.executable, *sys.argv])

    print(f"{processor()}, {os.cpu_count()} processors; medians of {REPETITIONS} runs\n")
    print(f"| {'scene':60} | {'time':>9} | figures |")
    print(f"|{'-' * 62}|{'-' * 10}:|---------|")
    for name in sorted(os.listdir(folder)):
        program = os.path.join(folder, name)
        if not (os.path.isfile(program) and os.access(program, os.X_OK)):
            continue
        for scene, seconds, counters in run(program, pattern):
            figures = ", ".join(f"{key} {with_unit(value)}" for key, value in counters.items())
            print(f"| {scene:60} | {with_unit(seconds, 's'):>9} | {figures} |", flush=True)


if __name__ == "__main__":
    main()
