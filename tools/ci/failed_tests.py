#!/usr/bin/env python3
"""Prints what the failed tests of a JUnit report said: failed_tests.py REPORT.xml"""
import os
import sys
import xml.etree.ElementTree

MOST_LINES = 60  # of one test: the end, where the verdict stands


def main() -> int:
    if len(sys.argv) != 2:
        print(__doc__, file=sys.stderr)
        return 2
    if not os.path.exists(sys.argv[1]):
        return 1
    for case in xml.etree.ElementTree.parse(sys.argv[1]).iter("testcase"):
        failure = case.find("failure")
        if failure is None:
            continue
        print(f"--- {case.get('name')}: {failure.get('message') or 'failed'}, after {case.get('time')} s")
        print("\n".join((case.findtext("system-out") or "").rstrip().splitlines()[-MOST_LINES:]))
    return 0


if __name__ == "__main__":
    sys.exit(main())
