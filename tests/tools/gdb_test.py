"""gdb shows the library's objects, in a live process and in its core file: gdb_test.py SCRIPT PROGRAM"""
import re
import subprocess
import sys
import tempfile

script, program = sys.argv[1:]
LOOKS = ["zq pools", "zq pools busyPool", "zq timers"] + ["print " + name for name in (
    "threeNumbers", "noTexts", "heldMutex", "freeMutex", "readLock", "writtenLock", "date")]
POOL = r"task pool, core 0x\w+: ready, BusyTask\(void\*, void\*\); 2 of 2 running, 0 queued .*, 3 tasks waiting of 10\n"
EXPECTED = [
    r"shared pool 0x\w+: 3 workers alive, at least \d+ kept, at most \d+; 1 idle, 2 running; 2 references\n",
    r"(  thread \d+ \(LWP \d+\).*: running BusyTask\n){2}  thread \d+ \(LWP \d+\).*: idle\n  queue: 0 tasks\n",
    r"(%s(  on thread \d+ \(LWP \d+\).*\n){2}){2}" % POOL,
    r"timer module: 1 user, 1 worker alive, at most 3, 2 started timers; 0 due .*\n  service: thread \d+ \(LWP",
    r"timer 7 at 0x\w+: every 3600000 ms, next due at tick \d+.*, BusyTimer\(ZQTimer&, void\*\), waits\n",
    r"timer 8 at 0x\w+: every 20 ms, .*, BusyTimer\(ZQTimer&, void\*\), running on thread \d+ \(LWP",
    r"= ZxxListInner<int> of 3 elements = \{10, 20, 30\}\n.*= ZxxList<.*> of 0 elements\n",
    r"= held by LWP \d+\n.*= free\n.*= held by 2 readers\n.*= held for writing by LWP \d+\n",
    r"= 2024-03-05 09:07:03.045 Tue\n",
]
LIVE = ['"%s"' % name for name in ("ZQRefPool", "ZQTimer", "ZQPool")] + [r"every 3600000 ms, .*, in 3\d{6} ms"]


def look(expected, *commands):
    run = subprocess.run(["gdb", "-nx", "-batch", "-x", script, program, *("-ex=" + command for command in commands)],
                         stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=100)
    missing = [pattern for pattern in expected if not re.search(pattern, run.stdout)]
    if missing:
        sys.exit("\n".join(["missing:", *missing, "in:", run.stdout]))


with tempfile.TemporaryDirectory() as directory:
    look(["no timer module"], "break main", "run", "zq timers")
    look(EXPECTED + LIVE, "break Observe", "run", *LOOKS, f"generate-core-file {directory}/core")
    look(EXPECTED, f"core-file {directory}/core", *LOOKS)
