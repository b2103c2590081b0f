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


def all_targets(measured):
    for area in (locks, pools, memory, datetimes, files):
        yield from area(measured)
