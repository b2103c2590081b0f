#!/usr/bin/env python3
"""Draws what the three programs print, for the README: docs/pictures/*.svg. What would tell of the machine is replaced.

    pictures.py BUILD_DIR"""
import html
import os
import re
import signal
import subprocess
import sys
import tempfile
import time

build = os.path.abspath(sys.argv[1])
pictures = os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "docs", "pictures")
widest = 92  # characters; longer lines end in an ellipsis
made_up = [
    (r"system     .*", "system     Linux 6.1.0 #1 SMP PREEMPT_DYNAMIC"),
    (r"processor  .*, (\d+) online", r"processor  Some Processor at 2 GHz, \1 online"),
    (r"address    (?!127\.).*", "address    192.0.2.17, mask 255.255.255.0"),
    (r"(  MAC        .*\n)+", "  MAC        02-00-00-00-53-01\n"),
    (r"program    (\w+) in .*", r"program    \1 in /usr/bin/"),
    (r"[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}", "1b4e28ba-2fa1-41d2-883f-b9a761bde3fb"),
    (r"pid: \d+", "pid: 4711"),
]


def program(name):
    return os.path.join(build, "examples", name, name)


def run(name, *arguments):
    done = subprocess.run([program(name), *arguments], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          env={**os.environ, "TZ": "UTC", "LC_ALL": "C"}, check=True)
    return done.stdout


def draw(name, sessions):
    """One picture of commands, each with what it has printed."""
    lines = []
    for command, output in sessions:
        for pattern, text in made_up:
            output = re.sub(pattern, text, output)
        lines += [("command", "$ " + command)] + [("output", line) for line in output.splitlines()]
    lines = [(kind, line if len(line) <= widest else line[:widest - 1] + "\u2026") for kind, line in lines]
    width = round(max(len(line) for _, line in lines) * 8.43) + 48
    height = len(lines) * 20 + 62
    svg = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" viewBox="0 0 {width} {height}" role="img">',
           f"<title>What {name} prints</title>",
           "<style>text { font: 14px 'DejaVu Sans Mono', Menlo, Consolas, monospace; fill: #d7dae0; white-space: pre }"
           " .command { fill: #8fd18f; font-weight: bold }</style>",
           f'<rect width="{width}" height="{height}" rx="10" fill="#1e2229"/>']
    svg += [f'<circle cx="{22 + 20 * i}" cy="20" r="6" fill="{colour}"/>' for i, colour in enumerate(("#e8685d", "#f0bd4f", "#65c456"))]
    svg += [f'<text class="{kind}" x="24" y="{58 + 20 * row}" xml:space="preserve">{html.escape(line)}</text>'
            for row, (kind, line) in enumerate(lines)]
    with open(os.path.join(pictures, name + ".svg"), "w", encoding="utf-8") as picture:
        picture.write("\n".join(svg + ["</svg>"]) + "\n")


def sum_of_photos():
    for path, size in (("photos/2023/beach.jpg", 3210456), ("photos/2023/harbour.jpg", 2874311), ("photos/2024/garden.jpg", 4102998),
                       ("photos/2024/snow.jpg", 1987650), ("photos/index.txt", 812)):
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as file:
            file.write((path.encode() * (size // len(path) + 1))[:size])
    return [("zqsum photos", run("zqsum", "photos"))]


def guard_of_worker():
    with open("worker", "w", encoding="utf-8") as script:
        script.write("#!/bin/sh\necho at work\nsleep 1\nexit 3\n")
    os.chmod("worker", 0o755)
    guard = subprocess.Popen([program("zqguard"), "--name", "picture", "--", "./worker"], stdout=subprocess.PIPE, text=True)
    time.sleep(2.5)
    status = run("zqguard", "--status", "picture")
    guard.send_signal(signal.SIGINT)
    return [("zqguard --name picture -- ./worker &", guard.communicate()[0]), ("zqguard --status picture", status)]


os.makedirs(pictures, exist_ok=True)
with tempfile.TemporaryDirectory() as scratch:
    os.chdir(scratch)
    draw("zqsum", sum_of_photos())
    draw("zqhost", [("zqhost", run("zqhost"))])
    draw("zqguard", guard_of_worker())
