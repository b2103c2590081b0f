"""zqguard with programs that crash, that ignore the interrupt and that cannot be started."""
import os, signal, subprocess, sys, time, unittest

PROGRAM = []
IGNORES = "trap '' INT TERM; echo ready; while :; do sleep 0.05; done"


def start(*args):
    return subprocess.Popen([*PROGRAM, *args], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)


def run(*args):
    return subprocess.run([*PROGRAM, *args], capture_output=True, timeout=60).returncode


def status(name):
    result = subprocess.run([*PROGRAM, "--status", name], capture_output=True, text=True, timeout=60)
    return dict(line.split(": ", 1) for line in result.stdout.splitlines()) if result.returncode == 0 else None


def alive(pid):
    return os.path.exists(f"/proc/{pid}")


class ZqguardTest(unittest.TestCase):
    def setUp(self):
        self.name = f"test-{os.getpid()}-{self.id().rsplit('.', 1)[1]}"

    def wait_for(self, condition):
        state = status(self.name)
        while state is None or not condition(state):
            time.sleep(0.02)
            state = status(self.name)
        return state

    def test_gives_up(self):
        for options, command, code, reason in (
            (["--restart", "2"], ["sh", "-c", "echo run; kill -SEGV $$"], 1, "ends too often"),
            ([], ["/nonexistent"], 72, "cannot be started"),
            (["--restart", "0"], ["true"], 1, "ends too often"),
        ):
            out, err = (guard := start("--name", self.name, *options, "--", *command)).communicate(timeout=60)
            self.assertEqual((guard.returncode, err), (code, f"zqguard: {command[0]} {reason}\n"))
            self.assertEqual(out, "run\n" * 3 if command[0] == "sh" else "")
            self.assertIsNone(status(self.name))

    def test_restarts_what_dies_and_tells(self):
        guard = start("--name", self.name, "--", "sleep", "1000")
        first = self.wait_for(lambda state: state["starts"] == "1")
        self.assertEqual(first["last exit"], "none")
        os.kill(int(first["pid"]), signal.SIGKILL)
        second = self.wait_for(lambda state: state["starts"] == "2")
        self.assertEqual(second["last exit"], "signal 9")
        self.assertTrue(alive(second["pid"]) and not alive(first["pid"]))
        self.assertEqual(run("--name", self.name, "--", "sleep", "1"), 3)
        guard.send_signal(signal.SIGINT)
        self.assertEqual(guard.communicate(timeout=60), ("", ""))
        self.assertEqual(guard.returncode, 0)
        self.assertFalse(alive(second["pid"]))
        self.assertIsNone(status(self.name))

    def test_ends_what_ignores_the_interrupt(self):
        guard = start("--name", self.name, "--timeout", "100", "--", "sh", "-c", IGNORES)
        self.assertEqual(guard.stdout.readline(), "ready\n")
        pid = self.wait_for(lambda state: True)["pid"]
        guard.send_signal(signal.SIGTERM)
        self.assertEqual(guard.communicate(timeout=60)[1], "zqguard: sh ignores the interrupt\n")
        self.assertEqual(guard.returncode, 0)
        self.assertFalse(alive(pid))

    def test_wrong_usage(self):
        for args in ([], ["--status", "x", "--", "true"], ["--timeout", "0", "--", "true"], ["--none"]):
            self.assertEqual(run(*args), 2, args)


PROGRAM = sys.argv[1:]
unittest.main(argv=sys.argv[:1])
