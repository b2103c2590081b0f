#!/usr/bin/env python3
"""Turns the results of the benchmark programs into tables, plots and the list of targets.

    report.py RESULTS OUT     RESULTS: a folder of JSON files; OUT: receives benchmarks.md and benchmarks/*.svg
"""
import json
import os
import platform
import re
import statistics
import subprocess
import sys

import counts
import targets
from counts import table

COUNTS_PAGE = os.path.join(os.path.dirname(__file__), "..", "docs", "benchmarks-counts.md")

# What a result has beside the figures of its contest.
PLAIN = {"name", "family_index", "per_family_instance_index", "run_name", "run_type", "repetitions", "repetition_index",
         "threads", "iterations", "real_time", "cpu_time", "time_unit", "error_occurred", "error_message", "label"}
UNITS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}


class Result:
    """The repetitions of a contestant in a workload."""

    def __init__(self, order):
        self.order = order
        self.figures = {}

    def add(self, entry):
        figures = {key: value for key, value in entry.items() if key not in PLAIN}
        figures.setdefault("ns", entry["real_time"] * UNITS[entry["time_unit"]])
        for key, value in figures.items():
            self.figures.setdefault(key, []).append(value)

    def median(self, figure="ns"):
        values = self.figures.get(figure)
        return statistics.median(values) if values else None

    def spread(self):
        """Half of the repetitions lie within this share of the median."""
        values = self.figures["ns"]
        if len(values) < 3:
            return None
        quarters = statistics.quantiles(values, n=4, method="inclusive")
        return (quarters[2] - quarters[0]) / statistics.median(values) if statistics.median(values) else None


class Measured:
    """All results: area -> workload -> contestant -> Result."""

    def __init__(self, folder):
        self.areas = {}
        self.errors = []
        self.context = {}
        for name in sorted(os.listdir(folder)):
            if name.endswith(".json"):
                self.read(name[:-len(".json")].split("-")[0], os.path.join(folder, name))

    def read(self, area, path):
        with open(path, encoding="utf-8") as file:
            document = json.load(file)
        self.context.update(document["context"])
        for entry in sorted(document["benchmarks"], key=lambda e: e["family_index"]):
            workload, who = entry["run_name"].split("/")[:2]
            if entry.get("error_occurred"):
                self.errors.append(f"{area}: {workload}: {who}: {entry['error_message']}")
            elif entry["run_type"] == "iteration":
                contest = self.areas.setdefault(area, {}).setdefault(workload, {})
                contest.setdefault(who, Result(entry["family_index"])).add(entry)

    def get(self, area, workload, who, figure="ns"):
        """The median of a figure; None if it was not measured."""
        result = self.areas.get(area, {}).get(workload, {}).get(who)
        return result.median(figure) if result else None

    def rivals(self, area, workload, names):
        """Those of the named contestants that were measured, with their medians."""
        found = {name: self.get(area, workload, name) for name in names}
        return {name: value for name, value in found.items() if value is not None}


def is_ours(who):
    return who.startswith("ZQ")


def time_text(ns):
    for unit, size in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if ns >= size:
            return f"{ns / size:.3g} {unit}"
    return f"{ns:.3g} ns"


def figure_text(name, value):
    if value is None:
        return ""
    if name.endswith(" ns"):
        return time_text(value)
    if "%" in name:
        return f"{value:.2f} %"
    if abs(value) < 0.0005:
        return "0"
    return f"{value:.3g}" if abs(value) < 1000 else f"{value:.0f}"


def area_table(workloads):
    """One table for an area; ours is the first contestant of this library in each workload."""
    names = []
    for contest in workloads.values():
        for result in contest.values():
            names += [f for f in result.figures if f not in ("ns", "size") and f not in names]
    rows = []
    for workload, contest in workloads.items():
        ours = next((r.median() for who, r in contest.items() if is_ours(who)), None)
        for index, (who, result) in enumerate(contest.items()):
            spread = result.spread()
            rows.append([workload if index == 0 else "", f"**{who}**" if is_ours(who) else who, time_text(result.median()),
                         "" if spread is None else f"{spread:.0%}", f"{result.median() / ours:.2f}" if ours else ""]
                        + [figure_text(n, result.median(n)) for n in names])
    return table(["workload", "contestant", "median", "spread", "× ours"] + [n.replace(" ns", "") for n in names], rows)


def series_of(workloads):
    """Of the area `growth`: (workload, contestant without its size) -> [(size, ns)]."""
    series = {}
    for workload, contest in workloads.items():
        for who, result in contest.items():
            series.setdefault((workload, who.rsplit(" ", 1)[0]), []).append((result.median("size"), result.median()))
    return {key: sorted(points) for key, points in series.items()}


def growth_table(workloads):
    rows = []
    for (workload, who), points in series_of(workloads).items():
        for index, (size, ns) in enumerate(points):
            before = points[index - 1] if index else None
            rows.append([workload if index == 0 else "", (f"**{who}**" if is_ours(who) else who) if index == 0 else "",
                         f"{size:.0f}", time_text(ns), f"{ns / before[1]:.2f}" if before and before[1] else ""])
    return table(["workload", "contestant", "size", "an operation", "× the size before"], rows)


def gnuplot(script, path):
    try:
        subprocess.run(["gnuplot"], input=script, text=True, check=True)
    except FileNotFoundError:
        print(f"report.py: no gnuplot, so no {path}", file=sys.stderr)


def blocks(series):
    return "\n".join(f"${name} << EOD\n" + "\n".join(f"{x} {y}" for x, y in points) + "\nEOD"
                     for name, points in series.items())


def plot_area(area, workloads, path):
    """A row for each workload, a mark for each contestant: how many times our time it takes."""
    marks = {}
    names = []
    for workload, contest in workloads.items():
        ours = next((r.median() for who, r in contest.items() if is_ours(who)), None)
        if not ours:
            continue
        names.append(workload)
        for who, result in contest.items():
            if result.median():
                marks.setdefault(who, []).append((result.median() / ours, len(names)))
    series = {f"s{i}": points for i, points in enumerate(marks.values())}
    tics = ", ".join(f'"{name}" {i + 1}' for i, name in enumerate(names))
    plots = ", ".join(f'${key} using 1:2 with points pt {i % 14 + 1} ps 1.2 title "{who}"'
                      for i, (key, who) in enumerate(zip(series, marks)))
    gnuplot(f"""set terminal svg size 1100,{140 + 34 * len(names)} font "sans,12" noenhanced background "white"
set output "{path}"
set title "{area}: time against ours (left of 1: faster than ours)"
set logscale x
set grid
set yrange [{len(names) + 0.7}:0.3]
set ytics ({tics})
set key outside right top
set arrow from 1,graph 0 to 1,graph 1 nohead lw 2 lc "gray"
{blocks(series)}
plot {plots}
""", path)


def plot_growth(workloads, path):
    """A line for each contestant: its cost against that at its smallest size."""
    lines = {key: [(size, ns / points[0][1]) for size, ns in points]
             for key, points in series_of(workloads).items() if points[0][1]}
    series = {f"s{i}": points for i, points in enumerate(lines.values())}
    plots = ", ".join(f'${key} using 1:2 with linespoints pt {i % 14 + 1} title "{workload}: {who}"'
                      for i, (key, (workload, who)) in enumerate(zip(series, lines)))
    gnuplot(f"""set terminal svg size 1200,{600 + 14 * len(lines)} font "sans,12" noenhanced background "white"
set output "{path}"
set title "growth: an operation against the same at the smallest size"
set logscale xy
set format x "%.0s%c"
set grid
set xlabel "size"
set ylabel "times the cost at the smallest size"
set key below left maxcols 2
{blocks(series)}
plot {plots}
""", path)


def processor():
    try:
        with open("/proc/cpuinfo", encoding="utf-8") as file:
            return next((line.split(":", 1)[1].strip() for line in file if line.startswith("model name")), platform.machine())
    except OSError:
        return platform.machine()


def machine(context):
    return table(["", ""], [
        ["processor", f"{processor()}, {platform.machine()}, {context['num_cpus']} cores"],
        ["kernel", platform.release()],
        ["compiler", context.get("compiler", "")],
        ["date", context["date"][:10]],
        ["load before the last area", " ".join(f"{value:.2f}" for value in context.get("load_avg", []))],
        ["rivals that were not installed",
         " ".join(context.get(key, "") for key in ("absent", "absent at run time")).strip() or "none"]])


def target_table(measured):
    rows = []
    for target in targets.all_targets(measured):
        if target.area not in measured.areas:
            continue
        value = "not measured" if target.value is None else target.text.format(target.value)
        rows.append([target.area, target.what, target.limit_text(), value, target.verdict()])
    return table(["area", "target", "limit", "measured", ""], rows)


def count_text(counted, workload, who, figure):
    """A figure of the page of counts at its two sizes."""
    return "{} and {}".format(*counted[workload, who, figure]) if (workload, who, figure) in counted else "(not counted)"


def growth_text(measured, workload, who, size):
    """How much an operation costs at ten times the size, over what it costs at that size."""
    small, large = (measured.get("growth", workload, f"{who} {n}") for n in (int(size), 10 * int(size)))
    return f"{large / small:.2f}" if small and large else "(not measured)"


def ratio_text(measured, area, workload, who, other):
    """What a contestant takes over what another one takes."""
    ratio = targets.ratio(measured, area, workload, who, other)
    return f"{ratio:.2f}" if ratio is not None else "(not measured)"


def main(folder, out):
    measured = Measured(folder)
    pictures = os.path.join(out, "benchmarks")
    os.makedirs(pictures, exist_ok=True)
    parts = []
    for area in ("locks", "pools", "memory", "datetimes", "files", "processes", "timers", "growth"):
        workloads = measured.areas.get(area)
        if not workloads:
            continue
        path = os.path.join(pictures, f"{area}.svg")
        plot_growth(workloads, path) if area == "growth" else plot_area(area, workloads, path)
        body = growth_table(workloads) if area == "growth" else area_table(workloads)
        parts.append(f"## {area}\n\n![{area}](benchmarks/{area}.svg)\n\n{body}\n")
    with open(os.path.join(os.path.dirname(__file__), "report.md"), encoding="utf-8") as file:
        text = file.read()
    for name, value in (("MACHINE", machine(measured.context)), ("TARGETS", target_table(measured)),
                        ("AREAS", "\n".join(parts))):
        text = text.replace(f"@{name}@", value)
    counted = counts.read(COUNTS_PAGE) if os.path.exists(COUNTS_PAGE) else {}
    text = re.sub(r"@COUNT\|(.*?)\|(.*?)\|(.*?)@", lambda found: count_text(counted, *found.groups()), text)
    text = re.sub(r"@GROWTH\|(.*?)\|(.*?)\|(.*?)@", lambda found: growth_text(measured, *found.groups()), text)
    text = re.sub(r"@RATIO\|(.*?)\|(.*?)\|(.*?)\|(.*?)@", lambda found: ratio_text(measured, *found.groups()), text)
    with open(os.path.join(out, "benchmarks.md"), "w", encoding="utf-8") as file:
        file.write(text)
    for error in measured.errors:
        print(f"report.py: {error}", file=sys.stderr)
    return 1 if measured.errors else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], sys.argv[2]))
