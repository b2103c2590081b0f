"""zqhost against what the system's own tools say, where they can be relied on."""
import json, os, re, subprocess, sys, unittest

PROGRAM = []


def run(*args):
    return subprocess.run([*PROGRAM, *args], capture_output=True, text=True, timeout=60)


class ZqhostTest(unittest.TestCase):
    def test_agrees_with_the_system(self):
        result = run("--json", "127.0.0.1")
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        report = json.loads(result.stdout)
        name = os.uname()
        if len(PROGRAM) == 1:  # an emulator tells of another system
            self.assertEqual(report["system"]["version"], f"{name.sysname} {name.release} {name.version}")
            self.assertEqual(report["process"]["name"], "zqhost")
        self.assertEqual(report["system"]["processors"], os.sysconf("SC_NPROCESSORS_ONLN"))
        for disk in report["disks"]:
            total = subprocess.run(["df", "-B1", "--output=size", disk["mount_point"]], capture_output=True, text=True)
            self.assertEqual(disk["total_bytes"], int(total.stdout.split()[1]), disk)
            self.assertLessEqual(disk["used_bytes"], disk["total_bytes"])
        macs = set()
        for interface in os.listdir("/sys/class/net"):
            with open(f"/sys/class/net/{interface}/address") as address:
                macs.add(address.read().strip().replace(":", "-"))
        self.assertLessEqual(set(report["network"]["macs"]), macs)
        self.assertEqual(report["network"]["local_address"], "127.0.0.1")
        self.assertGreater(report["process"]["resident_bytes"], 0)
        self.assertRegex(report["uuid"], r"^[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}$")

    def test_text_and_usage(self):
        text = run()
        self.assertEqual((text.returncode, text.stderr), (0, ""))
        self.assertTrue(re.match(r"System\n  system     .*\nDisks\n.*\nA fresh UUID\n  \S{36}\n$", text.stdout, re.S), text.stdout)
        self.assertEqual(run("--none").returncode, 2)
        with open("/dev/full", "w") as full:
            self.assertEqual(subprocess.run(PROGRAM, stdout=full, stderr=subprocess.DEVNULL).returncode, 1)


PROGRAM = sys.argv[1:]
unittest.main(argv=sys.argv[:1])
