#!/usr/bin/env python3
"""Counts what an operation takes at two sizes, under valgrind, and writes a page of it.

    counts.py PROGRAM WORK PAGE     PROGRAM: bench_growth; WORK: a folder for what it leaves; PAGE: is written
"""
import json
import os
import platform
import re
import subprocess
import sys

# What is modelled: a first level of 48 kB, and one of 2 MB behind it, beyond which a miss is counted as such.
CACHES = ["--I1=32768,8,64", "--D1=49152,12,64", "--LL=2097152,16,64"]
FIGURES = ("instructions", "data references", "first-level misses", "second-level misses", "system calls")
FREE = "free single blocks in random order, by blocks"
FREE_RUNS = "free runs of 1 to 8 in random order, by runs"
# The contests that have a target of growth, but for the burst of tasks, whose steps are those of two threads.
CONTESTS = (
    ("single block, random, by live blocks", 10000, ("ZQMemoryPool", "ZQMemoryPool, ordered", "floor: free list")),
    ("runs of 1 to 8, by live runs", 2000, ("ZQMemoryPool, ordered", "glibc malloc")),
    (FREE, 10000, ("ZQMemoryPool, ordered", "floor: list in order")),
    (FREE_RUNS, 10000, ("ZQMemoryPool, ordered", "glibc malloc")),
    ("walk, an entry", 10000, ("ZQFetchDir", "floor: readdir, fstatat")),
    ("remove a tree, a file", 2000, ("ZQForcedRemoveDir",)),
    ("stop and start a timer, by started ones", 1000, ("ZQTimer",)),
)
FILES = ("walk, an entry", "remove a tree, a file")  # system calls of others are those of the clock and of growing
SHOWN = 0.03  # functions with a smaller share of the instructions and of the misses are summed up


def short(name):
    """A function without its return type, its templates' arguments and its parameters."""
    name = name.replace("(anonymous namespace)::", "")
    while (shorter := re.sub(r"<[^<>]*>", "", name)) != name:
        name = shorter
    parts = name.split("(")[0].split("@")[0].split()
    return parts[-1] if parts else name


class Profile:
    """The events of the measured stretch, in all and by the function in which they came, without what that calls."""

    def __init__(self, path):
        self.functions = {}
        names = {}
        function, called, events = None, False, []
        with open(path, encoding="utf-8") as file:
            for line in file:
                if line.startswith("events:"):
                    events = line.split()[1:]
                elif line.startswith(("fn=", "cfn=")):
                    key, _, name = line.split("=", 1)[1].strip().partition(" ")
                    if name:
                        names[key] = short(name)
                    function = names[key] if line.startswith("fn=") else function
                elif line.startswith("calls="):
                    called = True  # what follows is the cost of the call
                elif re.match(r"[0-9+*-]", line):
                    if not called:
                        own = self.functions.setdefault(function, dict.fromkeys(events, 0))
                        for event, value in zip(events, line.split()[1:]):
                            own[event] += int(value)
                    called = False
                elif line.startswith("totals:"):
                    self.totals = dict(zip(events, map(int, line.split()[1:])))

    def total(self, *events):
        return sum(self.totals.get(event, 0) for event in events)

    def figures(self, operations):
        return [self.total(*events) / operations
                for events in (("Ir",), ("Dr", "Dw"), ("D1mr", "D1mw"), ("DLmr", "DLmw"), ("sysCount",))]

    def by_function(self, operations):
        """Instructions and misses of the second level."""
        return {name: (own["Ir"] / operations, (own["DLmr"] + own["DLmw"]) / operations)
                for name, own in self.functions.items()}


def run(program, work, workload, who, size):
    """The profile of one contestant at one size, how many operations it did, and what made the program."""
    path = os.path.join(work, "callgrind.out")
    for name in os.listdir(work):
        if name.startswith("callgrind.out"):
            os.remove(os.path.join(work, name))
    results = os.path.join(work, "results.json")
    log = os.path.join(work, "log")
    with open(log, "w", encoding="utf-8") as file:
        done = subprocess.run(["valgrind", "--tool=callgrind", "--cache-sim=yes", "--collect-atstart=no",
                               "--collect-systime=yes", *CACHES, f"--callgrind-out-file={path}", program,
                               f"--benchmark_filter=^{workload}/{who} {size}/", f"--benchmark_out={results}"],
                              stdout=file, stderr=file, check=False)
    if done.returncode != 0:
        sys.exit(f"counts.py: {workload}: {who} {size}: failed, see {log}")
    with open(results, encoding="utf-8") as file:
        document = json.load(file)
    entry, = document["benchmarks"]
    if entry.get("error_occurred"):
        sys.exit(f"counts.py: {workload}: {who} {size}: {entry['error_message']}")
    profile = Profile(path + ".1") if os.path.exists(path + ".1") else None
    if profile is None or profile.total("Ir") == 0:
        sys.exit(f"counts.py: {workload}: {who} {size}: nothing was counted; was valgrind there when it was built?")
    return profile, entry["operations"], document["context"]["compiler"]


def number(value):
    return "0" if value < 0.0005 else f"{value:.3g}" if value < 1000 else f"{value:.0f}"


def times(small, large):
    return "" if small < 0.005 else f"{large / small:.2f}"


def table(head, rows):
    lines = ["| " + " | ".join(head) + " |", "|" + "---|" * len(head)]
    return "\n".join(lines + ["| " + " | ".join(row) + " |" for row in rows])


def function_rows(workload, who, both):
    parts = [profile.by_function(operations) for profile, operations in both]
    names = sorted({*parts[0], *parts[1]}, key=lambda name: parts[1].get(name, (0, 0)), reverse=True)
    whole = [[sum(pair[i] for pair in part.values()) for i in (0, 1)] for part in parts]
    rows = []
    rest = [0, 0, 0, 0]
    for name in names:
        own = [part.get(name, (0, 0)) for part in parts]
        values = [own[0][0], own[1][0], own[0][1], own[1][1]]
        if any(own[k][i] > SHOWN * whole[k][i] and own[k][i] > 0.05 for k in (0, 1) for i in (0, 1)):
            rows.append((f"`{name}`", values))
        else:
            rest = [sum(pair) for pair in zip(rest, values)]
    return [[workload if index == 0 else "", who if index == 0 else "", name, number(small), number(large),
             times(small, large), number(few), number(many)]
            for index, (name, (small, large, few, many)) in enumerate([*rows, ("the rest", rest)])]


def read(page):
    """(workload, contestant, figure or function) -> what the page has of it at the small and at the large size. That of a
    function is its instructions."""
    found = {}
    with open(page, encoding="utf-8") as file:
        rows = [[cell.strip("*` ") for cell in line.strip()[1:-1].split("|")] for line in file if line.startswith("| ")]
    workload, who, small = "", "", []
    for row in rows:
        workload, who = (row[0], row[1]) if row[0] else (workload, who)
        if row[0] and row[2].isdigit():
            small = row
        elif row[2].isdigit():
            for figure, pair in zip(FIGURES, zip(small[3:], row[3:])):
                found[workload, who, figure] = pair
        elif row[2] != "×":
            found[workload, who, row[2]] = row[3], row[4]
    return found


def main(program, work, page):
    os.makedirs(work, exist_ok=True)
    rows, functions = [], []
    compiler = ""
    for workload, size, contestants in CONTESTS:
        for who in contestants:
            print(f"== {workload}: {who}")
            sizes = (size, 10 * size)
            both = []
            for n in sizes:
                profile, operations, compiler = run(program, work, workload, who, n)
                both.append((profile, operations))
            name = f"**{who}**" if who.startswith("ZQ") else who
            shown = len(FIGURES) if workload in FILES else len(FIGURES) - 1
            small, large = (profile.figures(operations)[:shown] for profile, operations in both)
            blank = [""] * (len(FIGURES) - shown)
            rows += [[workload, name, str(sizes[0]), *map(number, small), *blank],
                     ["", "", str(sizes[1]), *map(number, large), *blank],
                     ["", "", "×", *(times(*pair) for pair in zip(small, large)), *blank]]
            if who.startswith("ZQ"):
                functions += function_rows(workload, name, both)
    version = subprocess.run(["valgrind", "--version"], stdout=subprocess.PIPE, text=True, check=True).stdout.strip()
    with open(os.path.join(os.path.dirname(__file__), "counts.md"), encoding="utf-8") as file:
        text = file.read()
    for name, value in (
            ("WITH", f"{version}; {compiler}; {platform.machine()}, libc {platform.libc_ver()[1]}"),
            ("COUNTS", table(["workload", "contestant", "size", *FIGURES], rows)),
            ("FUNCTIONS", table(["workload", "contestant", "function", "instructions, small", "large", "×",
                                 "second-level misses, small", "large"], functions))):
        text = text.replace(f"@{name}@", value)
    with open(page, "w", encoding="utf-8") as file:
        file.write(text)


if __name__ == "__main__":
    main(*sys.argv[1:])
