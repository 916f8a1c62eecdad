"""Several processes write to one log file: every line is there, once, whole, and each process's in its order.

  ManyProcessesTest.py LOG_WRITER        Q9_LOG_LINES: lines of each process (10000)
"""

import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

PROCESSES = 8
LINES = int(os.environ.get("Q9_LOG_LINES", "10000"))
WRITER = pathlib.Path(sys.argv.pop(1)).resolve()
RUN_WINE = pathlib.Path(__file__).resolve().parent.parent.parent / "cmake" / "run-wine.sh"


class ManyProcessesTest(unittest.TestCase):
    def test_no_line_is_lost_or_torn(self):
        windows = WRITER.suffix == ".exe"
        with tempfile.TemporaryDirectory() as folder:
            log = pathlib.Path(folder) / "shared.log"
            name = "Z:" + str(log).replace("/", "\\") if windows else str(log)
            command = ([str(RUN_WINE)] if windows else []) + [str(WRITER), name]
            environment = dict(os.environ, Q9_STORE=":memory:")
            writers = [subprocess.Popen(command + [f"writer{i}", str(LINES)], env=environment, stdin=subprocess.DEVNULL,
                                        stdout=subprocess.DEVNULL) for i in range(PROCESSES)]
            for writer in writers:
                self.assertEqual(writer.wait(timeout=600), 0)
            lines = log.read_bytes().split(b"\r\n")
        self.assertEqual(lines.pop(), b"", "the last line has no end")
        for i in range(PROCESSES):
            mark = f"<writer{i} ".encode()
            expected = [f"> <writer{i} line {n} of {LINES}, which is long enough to be torn in two>".encode()
                        for n in range(LINES)]
            self.assertEqual([line for line in lines if mark in line], expected)
        self.assertEqual(len(lines), PROCESSES * LINES)


if __name__ == "__main__":
    unittest.main()
