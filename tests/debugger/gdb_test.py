#!/usr/bin/env python3
"""Runs gdb on the sample program and compares what the views show.

usage: gdb_test.py GDB VIEWS PROGRAM
"""
import subprocess
import sys

EXPECTED = {
    "csEmpty": '""',
    "csText": '"Gr\u00fc\u00dfe \U0001f600"',
    "csLocked": '"locked \\"text\\""',
    "bbEmpty": "0 bytes",
    "bbBytes": "3 bytes: 0A FF 00",
    "shpoNull": "null",
    "shpoPoint": "shared by 2 = {object = {iX = 3, iY = 4}}",
}


def main():
    gdb, views, program = sys.argv[1:]
    names = list(EXPECTED)
    commands = ["set charset UTF-8", "set confirm off", "set debuginfod enabled off", "source " + views,
                "break StopHere", "run", "up"]
    for name in names:
        commands += ["echo @" + name + "@", "print " + name]
    arguments = [gdb, "-nx", "-batch"]
    for command in commands:
        arguments += ["-ex", command]
    run = subprocess.run(arguments + [program], capture_output=True, text=True, timeout=50, encoding="utf-8")
    failures = 0
    for name in names:
        shown = run.stdout.split("@" + name + "@", 1)[-1].split("\n", 1)[0]
        shown = shown.split("= ", 1)[-1].strip()
        if shown != EXPECTED[name]:
            failures += 1
            print("%s: shown %r, expected %r" % (name, shown, EXPECTED[name]))
    if failures:
        print(run.stdout, run.stderr, sep="\n")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
