#!/usr/bin/env python3
"""Runs an example of the documentation, which must print what its source says below "// prints:"; "..." is any text.

    pages_test.py SOURCE PROGRAM..."""
import doctest
import os
import subprocess
import sys
import tempfile

with open(sys.argv[1]) as source:
    wanted = "".join(line[3:].rstrip() + "\n" for line in source.read().partition("\n// prints:\n")[2].splitlines())
with tempfile.TemporaryDirectory() as scratch:
    run = subprocess.run(sys.argv[2:], cwd=scratch, env={**os.environ, "TZ": "UTC"}, stdin=subprocess.DEVNULL,
                         stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=100)
    left = os.listdir(scratch)
same = wanted and doctest.OutputChecker().check_output(wanted, run.stdout, doctest.ELLIPSIS)
if run.returncode != 0 or not same or left:
    sys.exit(f"exit status {run.returncode}, left behind: {left}\nwanted:\n{wanted}\nprinted:\n{run.stdout}")
