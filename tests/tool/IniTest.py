"""ini."""

import random
import subprocess
import time
import unittest

import harness
from harness import ANSWER_NO, BAD_INPUT, REFUSED, USAGE, WINDOWS

TEXT = b"\xef\xbb\xbf; marks\r\n[Entw\xc3\xbcrfe]\r\nText=DRAFT \xe2\x82\xac\r\n\r\n[B]\nk=\xff\t1\nl=2"


class IniTest(harness.ToolTest):
    def test_entries_are_read_and_listed(self):
        path = self.file("marks.ini", TEXT)
        self.assertEqual(self.run_tool("ini", "get", path, "Entwürfe", "Text").text.rstrip("\r\n"), "DRAFT €")
        self.assertEqual(self.run_tool("ini", "get", path, "B", "k").text.rstrip("\r\n"), "\\xFF\\u00091")
        self.assertEqual(self.run_tool("ini", "get", path, "B", "k", "--json").document["value"], "\\xFF\t1")
        for value in ("--json", "\1x"):
            out = self.run_tool("ini", "set", "-", "B", "l", "--", value, stdin=b"").out
            self.assertEqual(out, f"[B]\r\nl={value}\r\n".encode())
        self.assertEqual(self.run_tool("ini", "get", "-", "B", "l", "--json", stdin=TEXT + bytes(3000)).document["value"], "2")
        self.assertEqual(self.run_tool("ini", "sections", path).text.split(), ["Entwürfe", "B"])
        self.assertEqual(self.run_tool("ini", "sections", path, "--json").document["sections"], ["Entwürfe", "B"])
        self.assertEqual(self.run_tool("ini", "keys", path, "B", "--json").document["keys"], ["k", "l"])
        for words in (["get", path, "B", "Text"], ["get", path, "b", "k"], ["keys", path, "C"], ["delete", path, "B", "m"],
                      ["delete", path, "C", "--section"]):
            answer = self.run_tool("ini", *words, "--json", expect=ANSWER_NO)
            self.assertFalse(answer.document.get("exists", answer.document.get("deleted")), words)
        self.assertEqual(path.read_bytes(), TEXT)

    def test_edits_keep_every_other_byte(self):
        path = self.file("marks.ini", TEXT)
        self.run_tool("ini", "set", path, "B", "m", "-3")
        self.assertEqual(path.read_bytes(), TEXT + b"\r\nm=-3\r\n")
        self.run_tool("ini", "delete", path, "B", "k")
        self.run_tool("ini", "delete", path, "B", "m")
        self.run_tool("ini", "set", path, "Entwürfe", "Text", "")
        self.assertEqual(path.read_bytes(), TEXT.replace(b"DRAFT \xe2\x82\xac", b"").replace(b"k=\xff\t1\n", b"") + b"\r\n")
        self.run_tool("ini", "delete", path, "Entwürfe", "--section")
        self.assertEqual(path.read_bytes(), b"\xef\xbb\xbf; marks\r\n[B]\nl=2\r\n")
        piped = self.run_tool("ini", "set", "-", "S", "K", "V", stdin=b"").out
        self.assertEqual(piped, b"[S]\r\nK=V\r\n")
        new = self.folder / "new.ini"
        self.assertEqual(self.run_tool("ini", "set", new, "S", "K", "V", "--json").document["value"], "V")
        self.assertEqual(new.read_bytes(), piped)

    def test_what_cannot_be_is_refused(self):
        path = self.file("marks.ini", TEXT)
        for section, key, value in (("a]", "k", "v"), ("S", "a=b", "v"), ("S", "k", "v" * 1023), ("S" * 258, "k", "v"), ("S", "", ""),
                                    ("S", "k", "a\nb")):
            self.run_tool("ini", "set", path, section, key, value, expect=BAD_INPUT)
        for words in (["delete", path, "B"], ["delete", path, "B", "k", "--section"], ["delete", path, "B", ""],
                      ["set", "-", "S", "k", "v", "--json"], ["get", path, "B"]):
            self.run_tool("ini", *words, expect=USAGE)
        for words in (["get", self.folder / "absent", "B", "k"], ["delete", self.folder / "absent", "B", "k"],
                      ["set", self.folder / "absent" / "x", "B", "k", "v"], ["set", self.folder, "B", "k", "v"]):
            self.run_tool("ini", *words, expect=REFUSED)
        self.assertEqual(path.read_bytes(), TEXT)
        self.assertEqual([entry.name for entry in self.folder.iterdir()], ["marks.ini"])

    @unittest.skipIf(WINDOWS, "Wine's programs do not die by the kill of the one that was started")
    def test_a_killed_edit_leaves_the_old_file_or_the_new_one(self):
        rest = b"x=" + b"-" * 900 + b"\r\n"
        values = ["short", "longer" * 100]
        contents = [b"[S]\r\nk=" + value.encode() + b"\r\n" + rest * 1000 for value in values]
        target = self.file("marks.ini", contents[0])

        def command(i):
            return [str(harness.TOOL), "ini", "set", str(target), "S", "k", values[i % 2]]

        started = time.monotonic()
        subprocess.run(command(1), check=True, env=self.environment)
        longest = time.monotonic() - started
        chance, finished = random.Random(5), 0
        for i in range(100):
            process = subprocess.Popen(command(i), env=self.environment)
            time.sleep(chance.random() * longest * 1.1)
            process.kill()
            finished += process.wait() == 0
            self.assertIn(target.read_bytes(), contents, i)
        self.assertLess(finished, 100)


if __name__ == "__main__":
    harness.main()
