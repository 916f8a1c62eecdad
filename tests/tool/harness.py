"""Runs the built tool as a whole program, on Windows under Wine, and checks what every command promises."""

import json
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
DATA = ROOT / "tests" / "data" / "tool"
TOOL = pathlib.Path(sys.argv.pop(1)).resolve() if len(sys.argv) > 1 and not sys.argv[1].startswith("-") else None
WINDOWS = TOOL is not None and TOOL.suffix == ".exe"

DONE, ANSWER_NO, USAGE, BAD_INPUT, REFUSED = range(5)


def _environment():
    environment = dict(os.environ, LC_ALL="C.UTF-8")
    for name in ("DISPLAY", "NO_COLOR", "Q9_STORE"):
        environment.pop(name, None)
    if WINDOWS:
        environment.setdefault("WINEPREFIX", os.environ.get("Q9_WINEPREFIX", str(ROOT / "build" / "wine")))
        environment["WINEDEBUG"] = "-all"
        environment["WINEDLLOVERRIDES"] = "winedbg.exe=d;mscoree=;mshtml="
        subprocess.run([str(ROOT / "cmake" / "run-wine.sh"), "--warm-up"], check=True, stdin=subprocess.DEVNULL)
    return environment


class Answer:
    """What one run left: exit status, standard output and standard error as bytes."""

    def __init__(self, status, out, err):
        self.status, self.out, self.err = status, out, err

    @property
    def text(self):
        return self.out.decode("utf-8")

    @property
    def remarks(self):
        return self.err.decode("utf-8")

    @property
    def document(self):
        return json.loads(self.text)


class ToolTest(unittest.TestCase):
    """One temporary folder for each test; `run_tool` checks what holds for every command."""

    @classmethod
    def setUpClass(cls):
        cls.environment = _environment()

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def file(self, name, contents=None):
        path = self.folder / name
        if contents is not None:
            path.write_bytes(contents if isinstance(contents, bytes) else contents.encode("utf-8"))
        return path

    def run_tool(self, *arguments, stdin=b"", expect=DONE, environment=None, plain=True):
        """Paths among the arguments are given as the system under test writes them; `plain` is text without colours."""
        words = [self.native(a) if isinstance(a, pathlib.Path) else str(a) for a in arguments]
        command = (["wine"] if WINDOWS else []) + [str(TOOL)] + words
        # Files, not pipes: Wine's helper processes would keep a pipe open.
        with tempfile.TemporaryFile() as source, tempfile.TemporaryFile() as out, tempfile.TemporaryFile() as err:
            source.write(stdin)
            source.seek(0)
            status = subprocess.run(command, stdin=source, stdout=out, stderr=err, timeout=120, check=False,
                                    env=dict(self.environment, **(environment or {}))).returncode
            out.seek(0)
            err.seek(0)
            answer = Answer(status, out.read(), err.read())
        self.assertEqual(status, expect, f"{words}\n{answer.out[:2000]!r}\n{answer.err[:2000]!r}")
        if plain:
            self.assertFalse(b"\x1b" in answer.out + answer.err, f"{words}: escape codes off a terminal")
        options = words[:words.index("--")] if "--" in words else words
        if status >= USAGE:
            self.check_error(options, answer)
        if "--json" in options:
            self.assertEqual(answer.document["schemaVersion"], 1, words)
        return answer

    def check_error(self, words, answer):
        """An error is one line: q9diag: NOUN VERB: CLASS IDENTIFIER: message."""
        lines = [line for line in answer.remarks.splitlines() if not line.startswith(("debug ", "error ", "    "))]
        self.assertEqual(len(lines), 1, answer.remarks)
        self.assertRegex(lines[0], r"^q9diag: (?:[a-z]+(?: [a-z]+)?: )?[A-Za-z:_]+ \d{3}:\d{3}:\d{3,}: \S", words)
        if "--json" in words:
            error = answer.document["error"]
            self.assertEqual(set(error), {"class", "identifier", "message"})
            self.assertTrue(lines[0].endswith(f"{error['class']} {error['identifier']}: {error['message']}"))

    @staticmethod
    def native(path):
        return "Z:" + str(path).replace("/", "\\") if WINDOWS else str(path)

    def golden(self, name, actual):
        """Compares with a committed file; with Q9_GOLDEN=write it is written instead."""
        path = DATA / name
        if os.environ.get("Q9_GOLDEN") == "write":
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_bytes(actual)
        self.assertEqual(actual, path.read_bytes(), f"differs from {name}")


def main():
    if TOOL is None or not TOOL.exists():
        sys.exit("usage: <name>Test.py PROGRAM [unittest options]")
    unittest.main()
