"""A running process takes up what the tool stores: messages on, the log file moved, messages off.

  LiveSettingsTest.py LOG_WRITER Q9DIAG        on the host; on Windows the settings are the whole machine's
"""

import os
import pathlib
import subprocess
import sys
import tempfile
import time
import unittest

TOOL = pathlib.Path(sys.argv.pop(2)).resolve()
WRITER = pathlib.Path(sys.argv.pop(1)).resolve()


class LiveSettingsTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.environment = dict(os.environ, Q9_STORE=str(self.folder / "store.db"))

    def set(self, name, value):
        answer = subprocess.run([TOOL, "debug", "set", name, value], env=self.environment, check=True, text=True,
                                stdin=subprocess.DEVNULL, capture_output=True)
        return answer.stdout

    def grows(self, log, writer, grown=True):
        """Waits until the log has grown, or for as long as it grows; a hang is the test's time limit."""
        while True:
            self.assertIsNone(writer.poll(), "the writer has ended")
            before = log.stat().st_size if log.exists() else 0
            time.sleep(0.1)
            after = log.stat().st_size if log.exists() else 0
            if (after > before) == grown:
                return

    def test_a_process_picks_up_what_is_stored(self):
        first, second, stop = self.folder / "first.log", self.folder / "second.log", self.folder / "stop"
        self.set("MessagesEnabled", "off")
        writer = subprocess.Popen([WRITER, "--until", stop], env=self.environment, stdin=subprocess.DEVNULL)
        self.addCleanup(writer.kill)
        # The process listens from its first message on.
        while "(1 process told" not in self.set("LogFileName", str(first)):
            self.assertIsNone(writer.poll(), "the writer has ended")
        self.set("IncludedMsgCategories", "perf")
        self.set("UseLogFile", "on")
        self.assertFalse(first.exists())
        self.set("MessagesEnabled", "on")
        self.grows(first, writer)
        self.set("LogFileName", str(second))
        self.grows(second, writer)
        self.set("MessagesEnabled", "off")
        self.grows(second, writer, grown=False)
        stop.touch()
        self.assertEqual(writer.wait(), 0)
        for log in (first, second):
            self.assertIn(b"<beat ", log.read_bytes())


if __name__ == "__main__":
    unittest.main()
