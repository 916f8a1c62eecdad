#!/usr/bin/env python3
"""Compares what the DLL exports, and the order of virtual functions, with the reviewed lists in this folder.

  check_exports.py [--update] DLL LIST                    names: demangled, sorted, each once
  check_exports.py --vtables [--update] LIST COMPILER...  slots: COMPILER with its options compiles q9util.h
  check_exports.py --imports DLL                          the DLL needs nothing but the system
  check_exports.py --monitor DLL                          the same, and it is a print monitor and nothing else

An added name wants the list edited, with the change that adds it; a removed or changed one, or a changed slot, is a new
major version.  --update writes the list anew.
"""

import difflib
import pathlib
import re
import subprocess
import sys
import tempfile

# The compiler exports the type information of the runtime classes that it emits next to ours; nobody links to it.
RUNTIME = re.compile(r"(?:typeinfo(?: name)?|vtable) for (?:std|__gnu_cxx|__cxxabiv1)::|(?:std|__gnu_cxx)::")

# What every Windows has.  A C++ run-time DLL in this list would have to be shipped, and found by the spooler.
SYSTEM = {"kernel32.dll", "ntdll.dll", "msvcrt.dll", "user32.dll", "advapi32.dll", "shlwapi.dll", "cabinet.dll",
          "winspool.drv", "crypt32.dll", "wtsapi32.dll", "version.dll"}

# What the spooler asks a print monitor for; it offers nothing else.
MONITOR_ENTRY = "InitializePrintMonitor2"
# Marks in the header of a DLL that the spooler loads: it may be put anywhere, and its data is not run.
HARDENED = {"HIGH_ENTROPY_VA", "DYNAMIC_BASE", "NX_COMPAT"}


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def exported_names(dll):
    """The demangled names of the export table, sorted, each once."""
    table = run("x86_64-w64-mingw32-objdump", "-p", dll)
    start = table.index("[Ordinal/Name Pointer] Table")
    mangled = re.findall(r"^\s*(?:\[\s*\d+\]|\S+\s+\S+)\s+(?:\+base\[\s*\d+\]\s+)?(?:[0-9a-f]+\s+)?(\S+)$",
                         table[start:].split("\n\n", 1)[0].split("\n", 1)[1], re.MULTILINE)
    names = subprocess.run(["x86_64-w64-mingw32-c++filt", "-n"], input="\n".join(mangled), check=True,
                           capture_output=True, text=True).stdout.splitlines()
    return sorted({name for name in names if not RUNTIME.match(name)})


def virtual_slots(compiler):
    """One line per slot, class by class: "Class[2] Class::Function"."""
    root = pathlib.Path(__file__).resolve().parents[1]
    with tempfile.TemporaryDirectory() as folder:
        dump = pathlib.Path(folder) / "classes"
        everything = pathlib.Path(folder) / "everything.cpp"
        everything.write_text('#include "q9util.h"\n')
        run(*compiler, "-std=c++20", f"-I{root / 'src'}", "-fsyntax-only", f"-fdump-lang-class={dump}", str(everything))
        text = dump.read_text()
    lines = []
    for block in re.split(r"\n\n+", text):
        match = re.match(r"Vtable for (\S[^\n]*)\n", block)
        if not match or RUNTIME.match(match.group(1)) or match.group(1).startswith("std::"):
            continue
        slots = re.findall(r"^\d+\s+\(int \(\*\)\(\.\.\.\)\)(.*)$", block, re.MULTILINE)
        lines += [f"{match.group(1)}[{n}] {slot.strip()}" for n, slot in enumerate(slots)]
    return sorted(lines, key=lambda line: (line.split("[")[0], int(re.search(r"\[(\d+)\] ", line).group(1))))


def check_imports(dll):
    needed = {name.lower() for name in re.findall(r"DLL Name: (\S+)", run("x86_64-w64-mingw32-objdump", "-p", dll))}
    for name in sorted(needed - SYSTEM):
        print(f"needs {name}")
    print(f"{pathlib.Path(dll).name} needs {len(needed)} modules" + (", not all of the system" if needed - SYSTEM else ""))
    return 1 if needed - SYSTEM or not needed else 0


def check_monitor(dll):
    header = run("x86_64-w64-mingw32-objdump", "-p", dll)
    missing = sorted(HARDENED - set(re.findall(r"\b[A-Z_]+\b", header)))
    for mark in missing:
        print(f"is not marked {mark}")
    others = [name for name in exported_names(dll) if name != MONITOR_ENTRY]
    for name in others:
        print(f"offers {name}")
    found = MONITOR_ENTRY in exported_names(dll)
    print(f"{pathlib.Path(dll).name}: " + ("offers the monitor's entry" if found else "has no entry"))
    return check_imports(dll) or (1 if missing or others or not found else 0)


def main(arguments):
    if len(arguments) == 2 and arguments[0] == "--monitor":
        return check_monitor(arguments[1])
    if len(arguments) == 2 and arguments[0] == "--imports":
        return check_imports(arguments[1])
    vtables = "--vtables" in arguments
    update = "--update" in arguments
    arguments = [a for a in arguments if a not in ("--vtables", "--update")]
    if len(arguments) < 2:
        print(__doc__)
        return 2
    if vtables:
        reviewed, found = pathlib.Path(arguments[0]), virtual_slots(arguments[1:])
    else:
        reviewed, found = pathlib.Path(arguments[1]), exported_names(arguments[0])
    if update:
        reviewed.write_text("".join(line + "\n" for line in found), encoding="utf-8")
        print(f"{reviewed.name}: {len(found)} lines written")
        return 0
    expected = reviewed.read_text(encoding="utf-8").splitlines() if reviewed.exists() else []
    difference = [line for line in difflib.unified_diff(expected, found, f"abi/{reviewed.name}", "built", n=0, lineterm="")]
    for line in difference:
        print(line)
    print(f"{reviewed.name}: {len(found)} lines, " + ("differs: review, then ./dev abi --update" if difference else "as reviewed"))
    return 1 if difference else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
