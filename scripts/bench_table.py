#!/usr/bin/env python3
"""Prints what benchmarks measured beside the goals of bench/goals.toml, as tables in Markdown.

usage: bench_table.py [--into PAGE] RESULT.json...

RESULT.json is Google Benchmark's, named after its program; it holds every repetition. With
--into, the part of PAGE between "<!-- bench -->" and "<!-- /bench -->" is replaced too.
"""

import json
import math
import pathlib
import platform
import statistics
import subprocess
import sys
import tomllib

ROOT = pathlib.Path(__file__).resolve().parent.parent
NANOSECONDS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}
MARKS = ("<!-- bench -->\n", "<!-- /bench -->\n")


class Measured:
    """The repetitions of one value."""

    def __init__(self, values):
        self.median = statistics.median(values)
        quartiles = statistics.quantiles(values, n=4, method="inclusive") if len(values) > 1 else [self.median] * 3
        self.low, self.high = quartiles[0], quartiles[2]


class Results:
    """The runs of every benchmark of one program."""

    def __init__(self, path):
        data = json.loads(path.read_text())
        self.context = data["context"]
        self.runs = {}
        for run in data["benchmarks"]:
            if run["run_type"] == "iteration" and not run.get("error_occurred"):
                self.runs.setdefault(run["run_name"], []).append(run)

    def get(self, name):
        """NAME is the time of a benchmark: processor time, unless the benchmark measures
        another. NAME@COUNTER is a counter; "_us" at its end is its unit. NAME@1/COUNTER is
        the time that one of COUNTER a second takes."""
        name, _, field = name.partition("@")
        if name not in self.runs:
            raise KeyError(f"no benchmark {name} among {', '.join(sorted(self.runs))}")
        return Measured([time_or_counter(run, field) for run in self.runs[name]])


def time_or_counter(run, field):
    if field.startswith("1/"):
        return 1e9 / run[field[2:]]
    if field:
        return run[field] * (1e3 if field.endswith("_us") else 1.0)
    own = "real_time" if run["run_name"].find("/real_time") >= 0 or run["run_name"].endswith("/manual_time") else "cpu_time"
    return run[own] * NANOSECONDS[run["time_unit"]]


def figure(value):
    """Three digits, or all of a larger whole number."""
    if value == 0 or value >= 1000:
        return f"{value:.0f}"
    return f"{value:.{max(0, 2 - math.floor(math.log10(value)))}f}"


def quantity(value, unit):
    if unit != "ns":
        return f"{figure(value)} {unit}".rstrip()
    for name, size in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if value >= size:
            return f"{figure(value / size)} {name}"
    return f"{figure(value)} ns"


def with_spread(measured, unit):
    around = max(measured.high - measured.median, measured.median - measured.low)
    percent = 100 * around / measured.median if measured.median else 0
    return f"{quantity(measured.median, unit)} ±{percent:.0f} %"


def variants(row):
    """One row for each entry of `of`, whose value replaces "{}" in every text of the row."""
    def fill(value, text):
        if isinstance(value, str):
            return value.replace("{}", text)
        return {k: fill(v, text) for k, v in value.items()} if isinstance(value, dict) else value

    if "of" not in row:
        yield row
    for label, text in row.get("of", {}).items():
        filled = {key: fill(value, text) for key, value in row.items() if key not in ("of", "work")}
        yield {**filled, "work": row["work"].replace("{}", label)}


def judged(row, ratios, limit, ours):
    """The goals in words, and those that are not met, with what was reached."""
    goals, missed = [], []
    for name, wanted in row.get("times_as_fast", {}).items():
        reached = ratios[next(iter(ratios)) if name == "best" else name]
        goals.append(f"≥ {wanted} × {'the best' if name == 'best' else name}")
        if reached < wanted:
            missed.append(figure(reached))
    for name, wanted in row.get("at_most", {}).items():
        reached = ours / limit if name == "limit" else ours
        goals.append(f"≤ {wanted} × limit" if name == "limit" else f"≤ {wanted} {name}")
        if reached > wanted:
            missed.append(figure(reached))
    return ", ".join(goals), ("" if not goals else "no: " + ", ".join(missed) if missed else "yes")


def goal_row(row, results):
    unit = row.get("unit", "ns")
    ours = results.get(row["ours"])
    peers = {name: results.get(key).median for name, key in row.get("peers", {}).items()}
    ratios = {name: value / ours.median
              for name, value in sorted(peers.items(), key=lambda peer: peer[1])}
    limit = {name: results.get(key).median for name, key in row.get("limit", {}).items()}
    limit_value = next(iter(limit.values()), None)
    goals, met = judged(row, ratios, limit_value, ours.median)
    return [row["work"], with_spread(ours, unit),
            ", ".join(f"{name} {figure(ratio)}" for name, ratio in ratios.items()),
            ", ".join(f"{name} {figure(ours.median / value)}" for name, value in limit.items()),
            goals, met]


def growth_row(row, results):
    points = [(int(size), results.get(row["ours"].replace("{}", size)).median) for size in row["at"]]
    exponent = math.log(points[-1][1] / points[0][1]) / math.log(points[-1][0] / points[0][0])
    unit = row.get("unit", "ns")
    return [row["work"], ", ".join(f"{size}: {quantity(value, unit)}" for size, value in points),
            f"{exponent:.2f}"]


def memory_row(row, results):
    values = {name: results.get(key).median for name, key in row["beside"].items()}
    return [row["work"], figure(results.get(row["ours"]).median),
            ", ".join(f"{name} {figure(value)}" for name, value in values.items())]


TABLES = (
    ("goals", goal_row, "Medians of {repetitions} runs ± the farther quartile. Peers: how many "
     "times as fast as each we are, the best first. Limit: our cost over it.",
     ["work", "ours", "peers", "limit", "goal", "met"]),
    ("growth", growth_row, "Growth: the cost at each size, and the power of the size that it "
     "grows with.", ["work", "at each size", "power"]),
    ("memory", memory_row, "Memory, in bytes.", ["what", "ours", "beside"]),
)


def table(head, rows):
    cells = [head, ["-"] * len(head), *rows]
    widths = [max(len(row[i]) for row in cells) for i in range(len(head))]
    cells[1] = ["-" * width for width in widths]
    return "".join("| " + " | ".join(cell.ljust(width) for cell, width in zip(row, widths)) + " |\n"
                   for row in cells)


def first_line_with(path, start):
    lines = pathlib.Path(path).read_text().splitlines()
    return next((line.split(":" if ":" in line else "=", 1)[1].strip().strip('"')
                 for line in lines if line.startswith(start)), "unknown")


def machine(context):
    compiler = subprocess.run(["c++", "--version"], check=True, text=True, stdout=subprocess.PIPE)
    return (f"{first_line_with('/proc/cpuinfo', 'model name')}, {context['num_cpus']} cores; "
            f"{first_line_with('/etc/os-release', 'PRETTY_NAME')}, Linux {platform.release()}; "
            f"{compiler.stdout.splitlines()[0]}; {context['date'][:10]}.\n")


def report(paths):
    results = {path.stem: Results(path) for path in paths}
    wanted = tomllib.loads((ROOT / "bench/goals.toml").read_text())
    first = next(iter(results.values()))
    parts = [machine(first.context)]
    repetitions = max(len(runs) for result in results.values() for runs in result.runs.values())
    for kind, make, words, head in TABLES:
        rows = [make(variant, results[program])
                for program, program_rows in wanted[kind].items() if program in results
                for row in program_rows for variant in variants(row)]
        if rows:
            parts.append(words.format(repetitions=repetitions) + "\n\n" + table(head, rows))
    return "\n".join(parts)


def put_into(page, text):
    before, _, rest = page.read_text().partition(MARKS[0])
    _, mark, after = rest.partition(MARKS[1])
    if not mark:
        sys.exit(f"{page}: no place for the tables")
    page.write_text(before + MARKS[0] + text + mark + after)


def main(arguments):
    page = None
    if arguments[:1] == ["--into"]:
        page, arguments = pathlib.Path(arguments[1]), arguments[2:]
    if not arguments:
        sys.exit(__doc__)
    text = report([pathlib.Path(argument) for argument in arguments])
    print(text, end="")
    if page:
        put_into(page, text)


if __name__ == "__main__":
    main(sys.argv[1:])
