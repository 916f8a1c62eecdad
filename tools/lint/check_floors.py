#!/usr/bin/env python3
"""Keeps the tower standing: an include goes down, never up, and the system is known to src/platform alone.

  check_floors.py [ROOT]

Reads tools/lint/floors.txt and every include below src, tools, tests, fuzz, benchmarks and examples.
Fails on an arrow that points up, on a system header or _WIN32 outside the adapters, on a file that no line of the list
covers, on rings of headers within src, and on a private header seen by the tools or the examples.
"""

import pathlib
import re
import sys

from sources import ROOT, code_only, finish, floor_of, line_of, read_floors, sources

INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*(["<])([^">]+)[">]', re.MULTILINE)
WIN32_MACRO = re.compile(r"\b_?_WIN(?:32|64)(?:__)?\b")

WINDOWS_HEADERS = {
    "windows.h", "windef.h", "winbase.h", "winuser.h", "wingdi.h", "winspool.h", "winsplp.h", "wincrypt.h", "winreg.h",
    "wtsapi32.h", "shlwapi.h", "shlobj.h", "fci.h", "fdi.h", "sddl.h", "tlhelp32.h", "psapi.h", "process.h", "io.h",
    "winerror.h", "winnt.h", "winternl.h", "tchar.h", "strsafe.h", "userenv.h", "aclapi.h", "intrin.h",
}
HOST_HEADERS = re.compile(
    r"(?:unistd|fcntl|dirent|pthread|dlfcn|poll|semaphore|termios|pwd|grp|iconv|langinfo|spawn|syslog|glob|fnmatch|"
    r"sqlite3|zlib|zconf|mspack)\.h\Z|(?:sys|openssl|linux|arpa|netinet|net)/")

# Where system headers may stand besides the adapters: tests of the loaded module start threads and load libraries,
# tool tests start processes; none of it is part of the library.
SYSTEM_ALLOWED = ("src/platform/win32/", "src/platform/host/", "src/portmonitor/entry/", "tests/", "fuzz/", "benchmarks/")
# The three plain floor-0 headers that must know which system they describe.
MACRO_ALLOWED = SYSTEM_ALLOWED + (
    "src/platform/Export.h", "src/platform/WinTypes.h", "src/platform/XChar.h", "src/platform/Platform.cpp", "tools/")

# What each room may see of src; floors see every floor below and their own.
SPECIAL = {
    "win32": {"0", "win32"},
    "host": {"0", "host"},
    "program": {"0", "program"},
    "entry": {"0", "1", "2", "3", "4", "5", "monitor", "entry"},
    "monitor": {"0", "1", "2", "3", "4", "5", "monitor"},
}


def may_see(floor):
    return SPECIAL.get(floor) or {str(n) for n in range(int(floor) + 1)}


def is_public(path):
    return (path.endswith((".h", ".inl")) and not path.endswith(("Impl.h", "Impl.inl")) and "/detail/" not in path
            and not path.startswith(("src/platform/win32/", "src/platform/host/", "src/portmonitor/")))


def ring_in(graph):
    """Returns one ring of headers as a list, or None."""
    state, trail = {}, []

    def visit(node):
        state[node] = "open"
        trail.append(node)
        for target in graph.get(node, ()):
            if state.get(target) == "open":
                return trail[trail.index(target):] + [target]
            if target not in state:
                ring = visit(target)
                if ring:
                    return ring
        trail.pop()
        state[node] = "done"
        return None

    for node in sorted(graph):
        if node not in state:
            ring = visit(node)
            if ring:
                return ring
    return None


def check(root):
    floors = read_floors(root / "tools/lint/floors.txt")
    problems, checked, graph = [], 0, {}
    for floor, _, line in floors:
        if floor not in SPECIAL and not re.fullmatch(r"[0-8]", floor):
            problems.append(f"tools/lint/floors.txt:{line}: unknown floor '{floor}'")
    if problems:
        return problems, 0

    for path, text in sources(root, "src", "tools", "tests", "fuzz", "benchmarks", "examples"):
        checked += 1
        code = code_only(text, keep_strings=True)
        in_src = path.startswith("src/")
        floor = floor_of(floors, path) if in_src else None
        if in_src and floor is None:
            problems.append(f"{path}:1: no line of tools/lint/floors.txt covers this file")
            continue
        # Windows is spelt differently in the adapters' own folders only.
        if not path.startswith(MACRO_ALLOWED):
            for match in WIN32_MACRO.finditer(code_only(text)):
                problems.append(f"{path}:{line_of(code, match.start())}: {match.group(0)} outside src/platform")
        for match in INCLUDE.finditer(code):
            quoted, header = match.group(1) == '"', match.group(2)
            where = f"{path}:{line_of(code, match.start())}"
            if header.lower() in WINDOWS_HEADERS or HOST_HEADERS.match(header):
                if not path.startswith(SYSTEM_ALLOWED):
                    problems.append(f"{where}: <{header}> belongs to the adapters in src/platform")
                continue
            target = "src/" + header
            if not (root / target).is_file():
                beside = (pathlib.PurePosixPath(path).parent / header).as_posix()
                if in_src and quoted and header != "q9version.h" and not header.endswith("q9version.h"):
                    hint = " (write it relative to src)" if (root / beside).is_file() else ""
                    problems.append(f'{where}: "{header}" is not below src{hint}')
                continue
            if (path.startswith(("tools/", "examples/")) and not is_public(target)
                    and floor_of(floors, target) != "program"):
                problems.append(f"{where}: {header} is private; tools and examples see public headers only")
            if not in_src:
                continue
            target_floor = floor_of(floors, target)
            if target_floor is not None and target_floor not in may_see(floor):
                problems.append(f"{where}: floor {floor} may not see {header} (floor {target_floor})")
            if is_public(path) and not is_public(target) and not target.endswith(".inl"):
                problems.append(f"{where}: a public header includes the private {header}")
            # A header that is split (X.h, XOperators.h) is one header in two files.
            if path.endswith(".h") and (target == path or not target.startswith(path[:-2])):
                graph.setdefault(path, []).append(target)
    ring = ring_in(graph)
    if ring:
        problems.append(f"{ring[0]}:1: ring of headers: " + " -> ".join(ring))
    return problems, checked


if __name__ == "__main__":
    sys.exit(finish("floors", *check(pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else ROOT)))
