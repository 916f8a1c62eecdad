"""A running process takes up what the tool stores: messages on, the log file named, messages off.

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
    def test_a_process_picks_up_what_is_stored(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        log, stop = pathlib.Path(folder.name, "beats.log"), pathlib.Path(folder.name, "stop")
        environment = dict(os.environ, Q9_STORE=str(pathlib.Path(folder.name, "store.db")))

        def set(name, value):
            return subprocess.run([TOOL, "debug", "set", name, value], env=environment, check=True, text=True,
                                  stdin=subprocess.DEVNULL, capture_output=True).stdout

        def wait_until_it_grows(grown=True):    # or for as long as it grows; a hang is the test's time limit
            while True:
                self.assertIsNone(writer.poll(), "the writer has ended")
                before = log.stat().st_size if log.exists() else 0
                time.sleep(0.1)
                if (log.exists() and log.stat().st_size > before) == grown:
                    return

        set("MessagesEnabled", "off")
        writer = subprocess.Popen([WRITER, "--until", stop], env=environment, stdin=subprocess.DEVNULL)
        self.addCleanup(writer.kill)
        # The process listens from its first message on.
        while "(1 process told" not in set("LogFileName", str(log)):
            self.assertIsNone(writer.poll(), "the writer has ended")
        set("UseLogFile", "on")
        self.assertFalse(log.exists())
        set("MessagesEnabled", "on")
        wait_until_it_grows()
        set("MessagesEnabled", "off")
        wait_until_it_grows(False)
        stop.touch()
        self.assertEqual(writer.wait(), 0)
        self.assertIn(b"<beat ", log.read_bytes())


if __name__ == "__main__":
    unittest.main()
