#!/usr/bin/env python3
"""Runs gdb on the sample program, compares what the views show, and evaluates what the natvis file names.

usage: gdb_test.py GDB VIEWS NATVIS PROGRAM
"""
import re
import subprocess
import sys
import xml.etree.ElementTree as ElementTree

EXPECTED = {
    "csEmpty": '""',
    "csText": '"Gr\u00fc\u00dfe \U0001f600"',
    "csLocked": '"locked \\"text\\""',
    "bbEmpty": "0 bytes",
    "bbBytes": "3 bytes: 0A FF 00",
    "shpoNull": "null",
    "shpoPoint": "shared by 2 = {object = {iX = 3, iY = 4}}",
}
# A sample of each type of the natvis file.
NATVIS_SAMPLES = {"CXString": "csText", "ByteBuffer": "bbBytes", "VlmSharedPtr<*>": "shpoPoint"}


def natvis_expressions(path):
    """Every expression of the file as gdb reads it: its members belong to the type's sample."""
    for view in ElementTree.parse(path).getroot().findall("{*}Type"):
        sample = NATVIS_SAMPLES[view.get("Name")]
        for element in view.iter():
            kind = element.tag.split("}")[1]
            found = re.findall(r"{(.+?)}", element.text or "") if kind == "DisplayString" else []
            if kind in ("StringView", "Item", "ExpandedItem"):
                found.append(element.text)
            found.append(element.get("Condition", "0"))
            for expression in found:
                expression = re.sub(r",\[(.+)\]su$", r", \1", expression).replace("nullptr", "0")
                yield re.sub(r"(?<![\w>.])m_", sample + ".m_", expression)


def main():
    gdb, views, natvis, program = sys.argv[1:]
    names = list(EXPECTED)
    commands = ["set charset UTF-8", "set confirm off", "set debuginfod enabled off", "source " + views,
                "break StopHere", "run", "up"]
    for name in names:
        commands += ["echo @" + name + "@", "print " + name]
    expressions = list(natvis_expressions(natvis))
    for number, expression in enumerate(expressions):
        commands += ["echo @natvis%d@" % number, "output " + expression]
    arguments = [gdb, "-nx", "-batch"]
    for command in commands:
        arguments += ["-ex", command]
    run = subprocess.run(arguments + [program], capture_output=True, text=True, timeout=50, encoding="utf-8")
    if "ptrace: Operation not permitted" in run.stderr:
        print("this machine lets no program be debugged")
        return 77
    failures = 0
    for name in names:
        shown = run.stdout.split("@" + name + "@", 1)[-1].split("\n", 1)[0]
        shown = shown.split("= ", 1)[-1].strip()
        if shown != EXPECTED[name]:
            failures += 1
            print("%s: shown %r, expected %r" % (name, shown, EXPECTED[name]))
    for number, expression in enumerate(expressions):
        if not run.stdout.split("@natvis%d@" % number, 1)[-1].split("@", 1)[0]:
            failures += 1
            print("natvis: gdb cannot evaluate %r" % expression)
    if failures:
        print(run.stdout, run.stderr, sep="\n")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
