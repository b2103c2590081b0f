"""What the library wants to reach. Each target is computed from the medians of one run; none is typed in."""
from dataclasses import dataclass
from typing import Optional

ORDERED_POOLS = ["asio strand", "asio thread_pool", "GThreadPool", "apr_thread_pool", "libuv", "textbook std::queue"]


@dataclass
class Target:
    """A figure that has to be at most its limit, or below it."""
    area: str
    what: str
    value: Optional[float]
    limit: float
    text: str = "{:.2f}"
    below: bool = False

    def limit_text(self):
        return ("< " if self.below else "≤ ") + f"{self.limit:g}"

    def verdict(self):
        if self.value is None:
            return "not measured"
        reached = self.value < self.limit if self.below else self.value <= self.limit
        return "reached" if reached else "**not reached**"


def ratio(measured, area, workload, ours, other, figure="ns"):
    """Ours over the other's."""
    a, b = (measured.get(area, workload, who, figure) for who in (ours, other))
    return a / b if a is not None and b else None


def against_best(measured, area, workload, ours, names):
    """Ours over the fastest of the others."""
    mine = measured.get(area, workload, ours)
    found = measured.rivals(area, workload, names)
    return mine / min(found.values()) if mine is not None and found else None


def locks(m):
    for workload in ("lock and unlock alone", "lock and unlock, 2 threads", "lock and unlock, 4 threads"):
        yield Target("locks", f"{workload}: against pthread", ratio(m, "locks", workload, "ZQMutex", "floor: pthread"), 1.10)
    yield Target("locks", "lock and unlock, 4 threads: against absl::Mutex",
                 ratio(m, "locks", "lock and unlock, 4 threads", "ZQMutex", "absl::Mutex"), 1.0)


def pools(m):
    for slots in ("1 slot", "2 slots"):
        for producers in ("1 producer", "4 producers"):
            workload = f"empty tasks, {slots}, {producers}"
            yield Target("pools", f"{workload}: against the best rival that keeps order and bounds",
                         against_best(m, "pools", workload, "ZQTaskPool", ORDERED_POOLS), 1.0, below=True)
            yield Target("pools", f"{workload}: against the floor",
                         ratio(m, "pools", workload, "ZQTaskPool", "floor: ring under a mutex"), 2.0)
            yield Target("pools", f"{workload}: allocations a task",
                         m.get("pools", workload, "ZQTaskPool", "allocations"), 0.0005, "{:.4f}", below=True)
    yield Target("pools", "submit to start, idle pool: against a bare condition",
                 ratio(m, "pools", "submit to start, idle pool", "ZQTaskPool", "floor: condition"), 1.15)


def memory(m):
    for order in ("last in first out (half a pair)", "first in first out", "random"):
        workload = f"single blocks, {order}"
        yield Target("memory", f"{workload}: against a free list",
                     ratio(m, "memory", workload, "ZQMemoryPool", "floor: free list"), 2.0)
        yield Target("memory", f"{workload}: against jemalloc and mimalloc",
                     against_best(m, "memory", workload, "ZQMemoryPool", ["jemalloc", "mimalloc"]), 1.0, below=True)
    few, many = (m.get("memory", f"runs of 1 to 8 of {live} live", "ZQMemoryPool, ordered") for live in (200, 2000))
    yield Target("memory", "runs of 1 to 8: 2000 live against 200 live", many / few if few and many else None, 5.0)
    yield Target("memory", "runs of 1 to 8 of 2000 live: against boost::pool's ordered runs",
                 ratio(m, "memory", "runs of 1 to 8 of 2000 live", "ZQMemoryPool, ordered", "boost::pool, ordered"), 1.0,
                 below=True)


def datetimes(m):
    for setting in ("TZ unset, winter", "TZ unset, summer", "TZ set, winter", "TZ set, summer"):
        workload = f"format, {setting}"
        yield Target("datetimes", f"{workload}: against strftime and fmt",
                     against_best(m, "datetimes", workload, "ZQDateTime", ["strftime", "fmt"]), 1.0, below=True)
        yield Target("datetimes", f"{workload}: against digits by hand",
                     ratio(m, "datetimes", workload, "ZQDateTime", "floor: digits by hand"), 3.0)
        workload = f"parse, {setting}"
        yield Target("datetimes", f"{workload}: against strptime and mktime, twice",
                     ratio(m, "datetimes", workload, "ZQDateTime", "strptime, mktime, twice"), 1.0)


def files(m):
    yield Target("files", "walk: against readdir and fstatat",
                 ratio(m, "files", "walk, an entry", "ZQFetchDir", "floor: readdir, fstatat"), 1.05)
    yield Target("files", "remove a tree: against std::filesystem::remove_all",
                 ratio(m, "files", "remove a tree, a file", "ZQForcedRemoveDir", "std::filesystem"), 1.0)
    calls = m.get("files", "make 30 levels, present", "ZQRecursiveMakeDir", "system calls")
    yield Target("files", "make 30 levels, present: system calls", None if calls == -1 else calls, 1, "{:.0f}")


def processes(m):
    small, large = (f"start and reap a child, {parent}" for parent in ("small parent", "parent of 500 MB"))
    ours, floor = "ZQOpenProcess", "floor: fork, exec, the same work"
    for workload in (small, large):
        yield Target("processes", f"{workload}: against fork and exec", ratio(m, "processes", workload, ours, floor), 1.15)
    growth = [m.get("processes", large, who) / m.get("processes", small, who) for who in (ours, floor)
              if m.get("processes", large, who) and m.get("processes", small, who)]
    yield Target("processes", "start of a child: growth with the parent's memory, against that of fork",
                 growth[0] / growth[1] if len(growth) == 2 else None, 1.15)


def timers(m):
    yield Target("timers", "10000 timers of 100 ms: the service thread, % of a core",
                 m.get("timers", "processor time a run, 10000 timers", "ZQTimer", "service, % of a core"), 2.0)
    late = m.get("timers", "lateness, median, 10000 timers", "ZQTimer", "p99 ns")
    yield Target("timers", "10000 timers of 100 ms: p99 of the lateness, ms (a scan of 5 ms and 6 ms)",
                 None if late is None else late / 1e6, 11.0)


def growth(m):
    """Ten times the size, where the cost is not linear by design; the rest is only drawn."""
    def at(workload, who, size):
        return m.get("growth", workload, f"{who} {size}")

    for workload, who, size in (("a task of a burst", "ZQTaskPool", 100000),
                                ("single block, random, by live blocks", "ZQMemoryPool", 10000),
                                ("walk, an entry", "ZQFetchDir", 10000),
                                ("remove a tree, a file", "ZQForcedRemoveDir", 2000),
                                ("stop and start a timer, by started ones", "ZQTimer", 1000)):
        small, large = at(workload, who, size), at(workload, who, 10 * size)
        yield Target("growth", f"{workload}: {10 * size} against {size}", large / small if small and large else None, 1.3)
    # The walk is over the free slices of one chunk, so with chunks of one size it must not grow with the pool.
    for workload, size in (("free single blocks in random order, by blocks", 10000),
                           ("free runs of 1 to 8 in random order, by runs", 10000),
                           ("runs of 1 to 8, by live runs", 2000)):
        small, large = (at(workload, "ZQMemoryPool, ordered", n) for n in (size, 10 * size))
        yield Target("growth", f"{workload}, ordered pool, chunks of 256: {10 * size} against {size}",
                     large / small if small and large else None, 1.3)


def all_targets(measured):
    for area in (locks, pools, memory, datetimes, files, processes, timers, growth):
        yield from area(measured)
