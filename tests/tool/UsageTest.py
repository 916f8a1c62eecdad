"""The command line itself: help, version, usage errors, global options, completion."""

import os
import subprocess
import unittest

import harness
from harness import DONE, REFUSED, USAGE, WINDOWS

COMMANDS = ["settings show", "settings build", "settings get", "settings set", "settings delete", "settings diff",
            "settings verify", "state pack", "state unpack", "state info", "cab list", "cab test", "cab extract", "hash",
            "find", "dimension", "demo", "help", "completion bash", "completion zsh", "completion powershell"]


class UsageTest(harness.ToolTest):
    def test_version_is_the_librarys(self):
        text = self.run_tool("--version").text
        self.assertRegex(text, r"^q9diag \d+\.\d+\.\d+\.\d+\n$")
        self.assertEqual("q9diag " + self.run_tool("--version", "--json").document["version"] + "\n", text)

    def test_every_command_has_help_that_names_it(self):
        overview = self.run_tool("help").text
        self.assertEqual(overview, self.run_tool("--help").text)
        for command in COMMANDS:
            words = command.split()
            self.assertIn(words[0], overview)
            text = self.run_tool("help", *words).text
            self.assertIn("q9diag " + command, text)
            self.assertEqual(self.run_tool("help", *words, "--json").document["help"], text)
            if command != "help":
                self.assertIn(command.split()[-1], self.run_tool(*words, "--help").text)

    def test_wrong_usage_is_one_line_and_status_2(self):
        for words in ([], ["nonsense"], ["settings"], ["settings", "nonsense"], ["hash"], ["hash", "a", "b"],
                      ["hash", "a", "--kind", "md5"], ["hash", "a", "--kind"], ["hash", "a", "--seed", "x"],
                      ["hash", "a", "--seed", "4294967296"], ["hash", "a", "--kind", "hash16", "--seed", "1"],
                      ["hash", "a", "--nonsense"], ["state", "pack", "a"], ["state", "pack", "a", "-o", "b", "--level", "10"],
                      ["settings", "build", "a", "-o", "b", "--as", "x"], ["help", "nonsense"], ["--color", "red", "help"],
                      ["hash", "-", "--log", "nonsense"], ["settings", "diff", "-", "-"],
                      ["state", "pack", "a", "-o", "-", "--json"], ["--json=no", "help"], ["demo", "-o", "-"],
                      ["debug", "log", "-", "-f"]):
            with self.subTest(words=words):
                remarks = self.run_tool(*words, expect=USAGE).remarks
                self.assertTrue(all(word in remarks for word in words if "nonsense" in word), remarks)
                if "--json" not in words:
                    self.run_tool(*words, "--json", expect=USAGE)

    def test_options_may_stand_before_or_after_the_command(self):
        data = self.file("data", b"123456789")
        expected = self.run_tool("--json", "hash", data).out
        self.assertEqual(self.run_tool("hash", data, "--json").out, expected)
        self.assertEqual(self.run_tool("hash", "--json", "-", stdin=b"123456789").out, expected)

    @unittest.skipIf(WINDOWS, "Wine's helper processes keep pipes open, and there are no pseudo-terminals")
    def test_a_reader_that_goes_away_is_no_error(self):
        noise = self.file("noise", bytes(range(256)) * 4096)
        for words in (["state", "pack", noise, "-o", "-", "--level", "0"], ["hash", noise], ["hash", noise, "--json"],
                      ["debug", "log", noise, "--follow"]):
            reader, writer = os.pipe()
            os.close(reader)
            run = subprocess.run([harness.TOOL, *words], stdout=writer, stderr=subprocess.PIPE, env=self.environment,
                                 timeout=120, check=False)
            os.close(writer)
            self.assertEqual((run.returncode, run.stderr), (DONE, b""), words)

    @unittest.skipIf(WINDOWS, "Wine's helper processes keep pipes open, and there are no pseudo-terminals")
    def test_long_work_shows_its_progress_on_a_terminal(self):
        # Nobody reads the output until the display has come, so the work lasts as long as it takes.
        data = self.file("data", os.urandom(1 << 20))
        terminal, theirs = os.openpty()
        with subprocess.Popen([harness.TOOL, "state", "pack", data, "-o", "-"], stdout=subprocess.PIPE, stderr=theirs,
                              env=self.environment) as run:
            os.close(theirs)
            shown = b""
            while b" s" not in shown:
                shown += os.read(terminal, 1000)
            self.assertRegex(shown, rb"^\r\x1b\[Kpacking \.\.\. \d+ s")
            self.assertGreater(len(run.stdout.read()), 1 << 20)
            while not shown.endswith(b"s\r\x1b[K"):
                shown += os.read(terminal, 1000)
        os.close(terminal)
        self.assertEqual(run.returncode, DONE)

    def test_colours_are_for_terminals_unless_asked_for(self):
        data = self.file("data", b"123456789")
        plain = self.run_tool("hash", data).out
        self.assertEqual(self.run_tool("hash", data, "--color=never").out, plain)
        self.assertIn(b"\x1b[", self.run_tool("hash", data, "--color=always", plain=False).out)
        self.assertNotIn(b"\x1b", self.run_tool("hash", data, "--color=always", "--json").out)

    def test_a_missing_file_is_refused_by_the_system(self):
        absent = self.folder / "absent"
        for words in (["hash", absent], ["settings", "show", absent], ["state", "info", absent], ["cab", "list", absent],
                      ["settings", "set", absent, "1/feature:1", "integer:1"]):
            answer = self.run_tool(*words, "--json", expect=REFUSED)
            self.assertEqual(answer.document["error"]["class"], "ExceptionCreateFileForReading")
            self.assertRegex(answer.document["error"]["identifier"], r"^065:001:")
        source = self.file("data", b"x")
        answer = self.run_tool("state", "pack", source, "-o", absent / "below", "--json", expect=REFUSED)
        self.assertRegex(answer.document["error"]["identifier"], r"^065:00[24]:")
        self.assertEqual(self.run_tool("state", "pack", source, "-o", self.folder, expect=REFUSED).out, b"")

    def test_log_prints_the_librarys_messages_and_nothing_else_changes(self):
        source = self.file("data", b"x" * 100)
        quiet = self.run_tool("state", "pack", source, "-o", "-")
        loud = self.run_tool("state", "pack", source, "-o", "-", "--log", "all")
        self.assertEqual(quiet.err, b"")
        self.assertEqual(quiet.out, loud.out)
        self.assertIn("Storing 100 bytes of original source data.", loud.remarks)
        errors = self.run_tool("state", "info", source, "--log", "errors", expect=harness.BAD_INPUT)
        self.assertIn("*Throwing* ExceptionMissingOrBadCompressedBufferFooter: ", errors.remarks)

    def test_the_store_option_belongs_to_the_embedded_store(self):
        self.run_tool("--store", self.folder / "store", "dimension", 1, "in", "--to", "mm", expect=USAGE if WINDOWS else DONE)

    def test_an_argument_of_other_scripts_names_a_file(self):
        path = self.file("Überschrift 日本.bin", b"123456789")
        self.assertEqual(self.run_tool("hash", path, "--kind", "crc32").text, "CBF43926\n")

    def test_a_pipe_is_read_to_its_end_and_written_in_its_place(self):
        if WINDOWS:
            return
        pipe = self.folder / "pipe"
        os.mkfifo(pipe)
        with subprocess.Popen(["sh", "-c", f"printf 123456789 > '{pipe}'"]):
            self.assertEqual(self.run_tool("hash", pipe, "--kind", "crc32").text, "CBF43926\n")
        with subprocess.Popen(["cat", pipe], stdout=subprocess.PIPE) as reader:
            noise = os.urandom(60000)
            self.run_tool("file", "write", pipe, stdin=noise)
            self.assertTrue(reader.stdout.read() == noise)
        self.assertEqual([p.is_fifo() for p in self.folder.iterdir()], [True])

    def test_completion_offers_commands_options_and_values(self):
        for shell in ("zsh", "powershell"):
            script = self.run_tool("completion", shell).text
            for word in ("q9diag", "'settings show'", "namespaces", "--kind"):
                self.assertIn(word, script)
        script = self.run_tool("completion", "bash", "--json").document["script"]
        if WINDOWS:
            return
        self.file("two words", b"")
        for line, expected in (("q9diag ", "settings"), ("q9diag settings ", "verify"), ("q9diag settings bu", "build"),
                               ("q9diag hash --ki", "--kind"), ("q9diag hash --kind ", "checksum"),
                               ("q9diag settings build x --as ", "namespaces"), ("q9diag state info --js", "--json"),
                               ("q9diag hash --kind = che", "checksum"), ("q9diag hash tw", "two words")):
            words = line.split(" ")
            check = (script + "\nCOMP_WORDS=(" + " ".join(f"'{w}'" for w in words) + f")\nCOMP_CWORD={len(words) - 1}\n"
                     "_q9diag\nprintf '%s\\n' \"${COMPREPLY[@]}\"\n")
            found = subprocess.run(["bash", "--norc"], input=check, capture_output=True, text=True, check=True,
                                   cwd=self.folder)
            self.assertIn(expected, found.stdout.splitlines(), line)
            self.assertEqual(found.stderr, "")


if __name__ == "__main__":
    harness.main()
