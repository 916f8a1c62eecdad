#!/usr/bin/env python3
"""Which public operations a fault has reached: fault_table.py BUILD_FOLDER EXPORTS REVIEWED

Runs the test programs of BUILD_FOLDER (preset host-faults) and holds what they traced against the list of exported
functions.  Printed are the public functions that no test runs, and those in which memory is taken or the platform is
called but no fault was ever injected, unless a line of REVIEWED names them, with its reason; and lines of REVIEWED that
have become needless.  Exit status 0 when there is nothing to print.
"""
import os
import re
import subprocess
import sys
import tempfile

CAN_FAIL, HAS_FAILED, IS_POINT = 1, 2, 4

# Functions that stand for an allocation or for a call of the platform.
POINT = re.compile(
    r"^operator new|^vlm::test::\(anonymous namespace\)::Allocate\(|^MemoryPool::TryAllocate\(|"
    r"^vlm::test::(\(anonymous namespace\)::)?Fa(ke|ult)\w*Port::\w+\(|^vlm::(host|win32)::(\(anonymous namespace\)::)?\w*Port::\w+\(")

# Calls of the platform that cannot fail, as the fault layer has them: of the clock, and those it lets pass.
SUPPORT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "support")


def calls_that_cannot_fail():
    names = []
    for name in ("PortCalls.h", "FaultWrappers.h"):
        with open(os.path.join(SUPPORT, name), encoding="utf-8") as file:
            names += re.findall(r"^ +(?:X\(|Q9_FAULT_)(?:PLAIN|ALIVE)[,(] ?[^,]+, (\w+)", file.read(), re.MULTILINE)
    return sorted(set(names))


CANNOT_FAIL = re.compile(r"\w*ClockPort::|\w*Port::(?:" + "|".join(calls_that_cannot_fail()) + r")\(")


def is_point(name):
    return POINT.match(name) and not CANNOT_FAIL.search(name)


# Integers have other names in the host's 64-bit world than in that of Windows, whose the list of exports is: all are "N".
INTEGER = re.compile(r"\b(?:unsigned )?(?:int|long long|long)\b|\b18446744073709551615ull\b|\b18446744073709551615ul\b")


def normal(name):
    return INTEGER.sub("N", name.replace("char16_t", "wchar_t").replace("__va_list_tag*", "char*")).replace("> >", ">>")


def symbols(program):
    """Offset -> names of the functions of a program."""
    found = {}
    for line in subprocess.run(["nm", "-C", program], check=True, capture_output=True, encoding="utf-8", errors="replace").stdout.splitlines():
        parts = line.split(" ", 2)
        if len(parts) == 3 and parts[0] and parts[1] in "tTwW":
            found.setdefault(int(parts[0], 16), set()).add(parts[2])
    return found


def trace(program, folder):
    """Names of the functions of a program -> their flags after its tests."""
    names = symbols(program)
    points, result = os.path.join(folder, "points"), os.path.join(folder, "trace")
    with open(points, "w", encoding="ascii") as file:
        for offset, of_offset in names.items():
            if any(is_point(name) for name in of_offset):
                file.write(f"{offset:x}\n")
    environment = dict(os.environ, Q9_FAULT_POINTS=points, Q9_FAULT_TRACE=result, Q9_STORE=":memory:")
    with open(program + ".faults.log", "w", encoding="utf-8") as log:
        status = subprocess.run([program, "--gtest_brief=1"], env=environment, stdout=log, stderr=log, check=False)
    if status.returncode != 0:
        print(f"{program} failed, see {log.name}", file=sys.stderr)
    flags = {}
    with open(result, encoding="ascii") as file:
        for line in file:
            offset, of_offset = line.split()
            for name in names.get(int(offset, 16), ()):
                flags[normal(name)] = flags.get(normal(name), 0) | int(of_offset)
    os.remove(result)
    return flags


def main():
    build, exports, reviewed = sys.argv[1:]
    folder = os.path.join(build, "bin")
    flags = {}
    with tempfile.TemporaryDirectory() as scratch:
        for name in sorted(os.listdir(folder)):
            if re.fullmatch(r"test_(?!dll|loader|tool)\w+", name):
                for function, of_function in trace(os.path.join(folder, name), scratch).items():
                    flags[function] = flags.get(function, 0) | of_function
    with open(exports, encoding="utf-8") as file:
        public = [line.strip() for line in file if "(" in line]
    with open(reviewed, encoding="utf-8") as file:
        known = {line.split("  # ")[0].strip() for line in file if not line.startswith("#") and line.strip()}

    open_ends, settled = [], set()
    counts = {"run": 0, "can fail": 0, "met a fault": 0}
    for name in public:
        state = flags.get(normal(name))
        if state is None:
            complaint = "no test runs"
        elif state & HAS_FAILED:
            complaint = None
        else:
            complaint = "never met a fault:" if state & CAN_FAIL else None
        counts["run"] += state is not None
        counts["met a fault"] += bool(state and state & HAS_FAILED)
        counts["can fail"] += bool(state and state & (CAN_FAIL | HAS_FAILED))
        if complaint is None:
            settled.add(name)
        elif name not in known:
            open_ends.append(f"{complaint} {name}")
    print(f"{len(public)} public functions: {counts['run']} run in these tests, {counts['can fail']} of them take memory or "
          f"call the platform, {counts['met a fault']} have met a fault")
    needless = [f"needless in {reviewed}: {name}" for name in sorted(known & settled) + sorted(known - set(public))]
    for line in open_ends + needless:
        print(line)
    return 1 if open_ends or needless else 0


if __name__ == "__main__":
    sys.exit(main())
