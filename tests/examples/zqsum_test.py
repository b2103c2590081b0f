"""Runs zqsum on trees of its own: zqsum_test.py [EMULATOR] PROGRAM"""
import hashlib
import os
import pathlib
import pty
import signal
import subprocess
import sys
import tempfile
import unittest.mock

PROGRAM = []


def expected(files):
    """What is printed for a map of paths to contents."""
    text = b""
    for path, content in sorted(files.items()):
        escaped = path.replace(b"\\", b"\\\\").replace(b"\n", b"\\n").replace(b"\r", b"\\r")
        line = hashlib.sha256(content).hexdigest().encode() + b"  " + escaped + b"\n"
        text += line if escaped == path else b"\\" + line
    return text


class ZqsumTest(unittest.TestCase):
    def setUp(self):
        self.dir = os.fsencode(tempfile.mkdtemp())
        self.addCleanup(subprocess.run, ["rm", "-rf", self.dir])  # Python's own stops at such depths

    def write(self, files, below=b"tree"):
        for name, content in files.items():
            path = pathlib.Path(os.fsdecode(os.path.join(self.dir, below, name)))
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_bytes(content)
        return {os.path.join(below, name): content for name, content in files.items()}

    def expect(self, status, output, *args, **more):
        more = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE, "cwd": self.dir, "check": False, **more}
        result = subprocess.run(PROGRAM + list(args), **more)
        self.assertEqual((result.returncode, result.stdout), (status, output), result.stderr)
        return result.stderr

    def test_odd_names(self):
        names = [b"-j", b" a b ", b"new\nline", b"car\rriage", b"back\\slash", b"\\", b"\xff\xfe", b"\xc3\xa4/*",
                 b"dir\\/x", b"dir/other", b"dir.a", b"sub\n/x"]
        files = self.write({b"empty": b"", **{name: name for name in names}})
        os.symlink(b"..", self.dir + b"/tree/loop")
        os.mkfifo(self.dir + b"/tree/fifo")
        self.assertEqual(self.expect(0, expected(files), "-q", "tree//"), b"")
        self.assertIn(b"%d files" % len(files), self.expect(0, expected(files), "tree"))
        subprocess.run(["sha256sum", "-c", "--quiet"], input=expected(files), cwd=self.dir, check=True)

    def test_names_of_arguments(self):
        for name in [b"-x", b"[a]", b"[a,b]", b"{}", b"%%", b"--", b"dir\\"]:
            files = self.write({b"f": name}, below=name)
            self.expect(0, expected(files), "-q", "--", name)
            self.expect(0, expected(files), "-q", "--", name + b"/f")
        absolute = {os.path.join(self.dir, b"{}/f"): b"{}", b"[a]/f": b"[a]"}
        self.expect(0, expected(absolute), "-q", self.dir + b"/{}", "[a]")

    def test_many_files(self):
        contents = [os.urandom(size) for size in (0, 1, 55, 64, 4096, 131071, 131072, 131073, 400000)]
        files = self.write({b"%d/%d" % (n % 40, n): contents[n % (9 if n < 90 else 5)] for n in range(4000)})
        for slots in ("-j1", "-j8"):
            self.expect(0, expected(files), "-q", slots, "tree")

    def test_deep_paths(self):
        # One directory of 767 bytes, the first where a child's path has 1023, and up to where no path can be opened.
        path, files, where = b"deep", {}, os.open(self.dir, os.O_RDONLY)
        while len(path) < 4300:
            os.mkdir(os.path.basename(path), dir_fd=where)
            where = os.open(os.path.basename(path), os.O_RDONLY, dir_fd=where)
            for leaf in (b"f", b"l" * 255):
                files[path + b"/" + leaf] = b"%d" % len(path) + leaf
                os.write(os.open(leaf, os.O_CREAT | os.O_WRONLY, dir_fd=where), files[path + b"/" + leaf])
            path += b"/" + b"n" * 108
        readable = {path: content for path, content in files.items() if len(path) < 4096}
        self.assertIn(b": File name too long\n", self.expect(1, expected(readable), "-q", "deep"))

    def test_failures(self):
        files = self.write({b"good": b"1"})
        os.symlink("self", self.dir + b"/self")
        for bad in ("absent", "", "self", "tree/good/", "/dev/null", "/proc/self/mem"):
            errors = self.expect(1, expected(files), "-q", bad, "tree")
            self.assertRegex(errors, b"^zqsum: " + bad.encode() + b": [^\n]+\n$")
        if os.geteuid() != 0:
            self.write({b"secret": b"2", b"closed/f": b"3"})
            self.addCleanup(os.chmod, self.dir + b"/tree/closed", 0o755)
            os.chmod(self.dir + b"/tree/secret", 0)
            os.chmod(self.dir + b"/tree/closed", 0o444)
            self.assertEqual(self.expect(1, expected(files), "-q", "tree").count(b": Permission denied\n"), 2)

    def test_wrong_usage_and_output(self):
        for args in ([], ["-j", "0", "."], ["-j", "x", "."], ["-j"], ["-z", "."], [".", "--what"]):
            self.assertTrue(self.expect(2, b"", *args))
        self.expect(0, unittest.mock.ANY, "--help")
        self.write({b"f": b"1"})
        full = os.open("/dev/full", os.O_WRONLY)
        self.assertIn(b"standard output", self.expect(1, None, "tree", stdout=full))
        self.assertIn(b"standard output", self.expect(1, b"", "tree", preexec_fn=lambda: os.close(1)))

    def test_interrupt(self):
        for path in self.write({b"%04d" % n: b"" for n in range(2000)}):
            os.truncate(os.path.join(self.dir, path), 1 << 24)
        for number in (signal.SIGINT, signal.SIGTERM):
            terminal, own = pty.openpty()
            self.addCleanup(os.close, terminal)
            with tempfile.TemporaryFile() as out:
                process = subprocess.Popen(PROGRAM + ["-j2", "tree"], cwd=self.dir, stdout=out, stderr=own)
                os.close(own)
                errors = b""
                for text in (b"files, ", b"interrupted"):  # in the progress bar and in the summary
                    while text not in errors:
                        errors += os.read(terminal, 4096)
                    process.send_signal(number)  # a second time too, which must not cut the rest short
                self.assertEqual(process.wait(), 130)
                lines = os.pread(out.fileno(), 1 << 20, 0).splitlines()
            self.assertLess(len(lines), 2000)
            zeros = hashlib.sha256(bytes(1 << 24)).hexdigest().encode()
            self.assertLessEqual({text[:-4] for text in lines}, {zeros + b"  tree/"})


if __name__ == "__main__":
    PROGRAM = [os.path.abspath(word) if "/" in word else word for word in sys.argv[1:]]
    unittest.main(argv=sys.argv[:1])
