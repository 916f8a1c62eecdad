"""debug log and clear, and what the library says of itself when a program starts and ends."""

import subprocess
import time

import harness
from harness import ANSWER_NO, BAD_INPUT, REFUSED, USAGE

LINES = (b"[ errors registry ]> *ERROR*\r\n\r\nno such key\r\n"
         b"[ perf ]> *PERF L0* \xfcber 5ms\r\n"
         b"[ flow ]> step one\r\n  its second line\r\n"
         b"[ perf flow ]> last\r\n")
WIN = harness.WINDOWS


class DebugLogTest(harness.ToolTest):
    def setUp(self):
        super().setUp()
        self.store = {} if WIN else {"Q9_STORE": str(self.folder / "store.db")}

    def tool(self, *arguments, **options):
        return self.run_tool("debug", *arguments, environment=self.store, **options)

    def log(self, *arguments, contents=LINES, **options):
        return self.tool("log", self.file("a.log", contents), *arguments, **options)

    def test_lines_come_as_they_are_fit_for_a_terminal(self):
        self.assertEqual(self.log().text.splitlines()[:4], ["[ errors registry ]> *ERROR*", "", "no such key", "[ perf ]> *PERF L0* über 5ms"])
        self.assertEqual(self.log(contents=b"> \x1b[31mred\r\nno end").text, "> \\u001B[31mred\nno end\n")
        self.assertEqual(self.log(contents=b"").text, "")
        lines = [b"%d" % i for i in range(60000)]  # more than is read at once
        self.assertEqual(self.log(contents=b"\n".join(lines)).out.split(), lines)
        self.assertEqual(self.log("-n", 20000, contents=b"\n".join(lines)).out.split(), lines[-20000:])

    def test_categories_texts_and_the_end_are_picked(self):
        for arguments, expected in (
                (("--category", "perf"), ["[ perf ]> *PERF L0* über 5ms", "[ perf flow ]> last"]),
                (("--category", "errors"), ["[ errors registry ]> *ERROR*", "", "no such key"]),
                (("--category", "flow,registry", "--match", "s"), ["[ errors registry ]> *ERROR*", "no such key", "[ flow ]> step one", "  its second line", "[ perf flow ]> last"]),
                (("--match", "über"), ["[ perf ]> *PERF L0* über 5ms"]),
                (("-n", "1"), ["[ perf flow ]> last"]), (("--lines", "0"), []),
                (("--category", "perf", "-n", "1"), ["[ perf flow ]> last"])):
            answer = self.log(*arguments)
            self.assertEqual(answer.text.splitlines(), expected, arguments)
            self.assertEqual(answer.remarks, "")
        answer = self.log("--category", "perf", contents=b"> no list\r\n[not one ]> x\r\n[ bogus ]> x\r\n")
        self.assertEqual(answer.text, "")
        self.assertIn("ShowCategories", answer.remarks)
        self.log("--category", "bogus", expect=USAGE)

    def test_json_tells_the_categories(self):
        document = self.log("--json", "--category", "perf").document
        self.assertEqual(document["lines"], [{"categories": ["perf"], "text": "[ perf ]> *PERF L0* über 5ms"},
                                             {"categories": ["perf", "flow"], "text": "[ perf flow ]> last"}])
        self.assertEqual(self.log("--json", contents=b"a\tb").document["lines"], [{"categories": [], "text": "a\tb"}])
        self.assertEqual(self.tool("log", "-", "--match", "ber", "--json", stdin=LINES).document["lines"][0]["categories"], ["perf"])
        self.log("--json", "--follow", expect=USAGE)

    def test_colours_tell_errors_from_the_rest(self):
        lines = self.log("--color=always", plain=False).out.splitlines()
        self.assertTrue(lines[0].startswith(b"\x1b["))
        self.assertNotEqual(lines[0].split(b"[ errors")[0], lines[3].split(b"[ perf")[0])

    def test_a_missing_file_is_refused(self):
        self.tool("log", self.folder / "none.log", expect=REFUSED)

    def test_following_sees_what_is_appended_moved_and_emptied(self):
        path = self.file("a.log", b"> one\r\n> half")
        command = (["wine"] if WIN else []) + [str(harness.TOOL), "debug", "log", self.native(path), "--follow", "--seconds", "60"]
        out = self.file("out")
        with out.open("wb") as stream:
            process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=stream, stderr=subprocess.DEVNULL,
                                       env=dict(self.environment, **self.store))
            self.addCleanup(process.kill)
            expected = ""
            for step in ("> one", "> half a line", "> two", "> after the move", "> after the cut"):
                if step == "> half a line":
                    with path.open("ab") as log:
                        log.write(b" a line\r\n")
                elif step == "> two":
                    with path.open("ab") as log:
                        log.write(b"> two\r\n")
                elif step == "> after the move":
                    path.rename(self.folder / "old.log")
                    path.write_bytes(b"> after the move\r\n")
                elif step == "> after the cut":
                    path.write_bytes(b"")
                    time.sleep(1)
                    path.write_bytes(b"> after the cut\r\n")
                expected += step + "\n"
                while out.read_bytes().decode() != expected:
                    self.assertTrue(expected.startswith(out.read_bytes().decode()), out.read_bytes())
                    self.assertIsNone(process.poll())
                    time.sleep(0.05)
            process.kill()
            process.wait()

    @harness.unittest.skipIf(WIN, "the machine's own settings stay as they are")
    def test_a_program_tells_when_it_starts_and_ends_and_the_log_is_cleared(self):
        path = self.folder / "q9.log"
        self.tool("clear", expect=BAD_INPUT)
        self.tool("set", "LogFileName", self.native(path))
        self.tool("clear", expect=ANSWER_NO)
        for name, value in (("ExcludedMsgCategories", "registry,flow"), ("UseLogFile", "on"), ("MessagesEnabled", "on"),
                            ("ShowCategories", "on")):
            self.tool("set", name, value)
        self.assertEqual(self.tool("clear", "--json").document["cleared"], True)
        # The tool itself says farewell after it has made the file empty.
        path.unlink()
        self.tool("categories")
        lines = self.tool("log", path).text.splitlines()
        announced = "[ perf utils ]> Driver DLLs loaded. Utilities DLL's DllMain(DLL_PROCESS_ATTACH)"
        farewell = "[ perf utils ]> Driver DLLs unloaded. Utilities DLL's DllMain(DLL_PROCESS_DETACH)"
        self.assertIn(announced, lines)
        self.assertIn(farewell, lines)
        self.assertLess(lines.index(announced), lines.index(farewell))


if __name__ == "__main__":
    harness.main()
