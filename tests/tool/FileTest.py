"""file and protect."""

import os
import random
import shutil
import subprocess
import time
import unittest
import zlib

import harness
from harness import BAD_INPUT, REFUSED, USAGE, WINDOWS

NOISE = random.Random(11).randbytes(30000)


class FileTest(harness.ToolTest):
    def test_every_kind_is_read_as_it_was_written(self):
        for kind in ([], ["--crc"], ["--compress"], ["--encrypt", "openssl"], ["--encrypt", "wincrypt"]):
            for contents in (b"", b"hello", NOISE):
                source, target, back = self.file("source", contents), self.folder / "target", self.folder / "back"
                written = self.run_tool("file", "write", target, "-i", source, *kind, "--json").document
                self.assertEqual((written["bytes"], written["fileBytes"]), (len(contents), target.stat().st_size), kind)
                self.run_tool("file", "read", target, "-o", back, *kind)
                self.assertTrue(back.read_bytes() == contents, kind)
                piped = self.run_tool("file", "write", "-", *kind, stdin=contents, plain=False).out
                self.assertTrue(self.run_tool("file", "read", "-", *kind, stdin=piped, plain=False).out == contents, kind)

    def test_the_bytes_are_those_of_the_formats(self):
        target = self.folder / "target"
        self.run_tool("file", "write", target, "--crc", stdin=b"hello")
        self.assertEqual(target.read_bytes(), zlib.crc32(b"hello").to_bytes(4, "little") + bytes(4) + b"hello")
        self.run_tool("file", "write", target, "--compress", stdin=b"hello")
        self.assertEqual(target.read_bytes()[-13:], bytes.fromhex("02FFFFFFFF00000005") + b"COM5")
        self.run_tool("file", "write", target, "--encrypt", "openssl", stdin=b"hello")
        self.assertEqual((target.read_bytes()[:8], target.stat().st_size), (b"Salted__", 32))

    def test_what_is_damaged_is_refused_and_nothing_is_written(self):
        kept = self.file("kept", b"kept")
        for kind, contents, error in (
                (["--crc"], b"1234567", "ExceptionReadFile"), (["--crc"], b"12345678x", "ExceptionReadFile"),
                (["--compress"], b"plain text", "ExceptionMissingOrBadCompressedBufferFooter"),
                (["--encrypt", "openssl"], b"Salted__1234", "ExceptionReadFile")):
            answer = self.run_tool("file", "read", "-", "-o", kept, *kind, "--json", stdin=contents, expect=BAD_INPUT)
            self.assertEqual(answer.document["error"]["class"], error)
        self.assertEqual(kept.read_bytes(), b"kept")
        self.run_tool("file", "read", self.folder / "absent", expect=REFUSED)
        self.run_tool("file", "read", kept, "--crc", "--compress", expect=USAGE)
        self.run_tool("file", "read", kept, "--encrypt", "rot13", expect=USAGE)
        self.run_tool("file", "read", kept, "--json", expect=USAGE)

    @unittest.skipIf(WINDOWS, "Wine's programs do not die by the kill of the one that was started")
    def test_a_killed_write_leaves_the_old_file_or_the_new_one(self):
        target = self.folder / "target"
        inputs = [self.file(f"input{i}", bytes([65 + i]) * (1 << 20)) for i in range(2)]
        contents = [path.read_bytes() for path in inputs]
        command = [str(harness.TOOL), "file", "write", str(target), "-i"]
        started = time.monotonic()
        subprocess.run(command + [str(inputs[0])], check=True, env=self.environment)
        longest = time.monotonic() - started
        chance = random.Random(5)
        finished = 0
        for i in range(100):
            process = subprocess.Popen(command + [str(inputs[i % 2])], env=self.environment)
            time.sleep(chance.random() * longest * 1.1)
            process.kill()
            finished += process.wait() == 0
            self.assertIn(target.read_bytes(), contents, i)
        self.assertLess(finished, 100)


class ProtectTest(harness.ToolTest):
    def setUp(self):
        super().setUp()
        self.password = self.file("password", "Gr\u00fcn 1\r\nsecond line")

    def test_what_is_encrypted_decrypts_with_the_password_alone(self):
        for contents in (b"", b"16 bytes of text", NOISE):
            source, target, back = self.file("source", contents), self.folder / "target", self.folder / "back"
            self.run_tool("protect", "encrypt", source, "-o", target, "--password-file", self.password)
            self.assertEqual(target.stat().st_size, 16 + (len(contents) // 16 + 1) * 16)
            self.run_tool("protect", "decrypt", target, "-o", back, "--password-file", self.password)
            self.assertTrue(back.read_bytes() == contents)
        document = self.run_tool("protect", "encrypt", source, "-o", target, "--rounds", 5, "--json", "--password-file",
                                 self.password).document
        self.assertEqual((document["inputBytes"], document["outputBytes"]), (len(NOISE), target.stat().st_size))
        self.run_tool("protect", "decrypt", target, "-o", back, "--rounds", 5, "--password-file", self.password)
        self.assertTrue(back.read_bytes() == NOISE)

    @unittest.skipIf(WINDOWS or not shutil.which("openssl"), "openssl is not here")
    def test_the_openssl_command_reads_and_writes_the_same(self):
        source, target, back = self.file("source", NOISE), self.folder / "target", self.folder / "back"
        password = self.file("theirs", "Gr\u00fcn 1\n")
        openssl = ["openssl", "enc", "-aes-256-cbc", "-pbkdf2", "-pass", f"file:{password}"]
        self.run_tool("protect", "encrypt", source, "-o", target, "--password-file", self.password)
        subprocess.run(openssl + ["-d", "-in", target, "-out", back], check=True)
        self.assertTrue(back.read_bytes() == NOISE)
        subprocess.run(openssl + ["-in", source, "-out", target], check=True)
        self.run_tool("protect", "decrypt", target, "-o", back, "--password-file", self.password)
        self.assertTrue(back.read_bytes() == NOISE)

    def test_wrong_passwords_and_damaged_data_get_one_answer(self):
        good, kept = self.folder / "good", self.file("kept", b"kept")
        self.run_tool("protect", "encrypt", "-", "-o", good, "--password-file", self.password, "--rounds", 1, stdin=b"text")
        data = good.read_bytes()
        other = self.file("other", "Gr\u00fcn 2")
        messages = set()
        for contents, password in ((data[:-1], self.password), (data[:15], self.password), (data[:16], self.password),
                                   (b"", self.password), (b"no ciphertext", self.password)):
            bad = self.file("bad", contents)
            answer = self.run_tool("protect", "decrypt", bad, "-o", kept, "--password-file", password, "--rounds", 1, "--json",
                                   expect=BAD_INPUT)
            messages.add(answer.document["error"]["message"])
        self.assertEqual(len(messages), 1)
        # Another password may pass the padding's check once in a while, but never gives the text.
        status = subprocess.run((["wine"] if WINDOWS else []) + [str(harness.TOOL), "protect", "decrypt", self.native(good), "-o",
                                 self.native(kept), "--password-file", self.native(other), "--rounds", "1"], env=self.environment,
                                stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode
        self.assertTrue(status == BAD_INPUT and kept.read_bytes() == b"kept" or kept.read_bytes() != b"text")

    def test_passwords_come_from_where_they_may(self):
        source, target = self.file("source", b"text"), self.folder / "target"
        for contents in ("", "\n", "  \n", "\nsecond"):
            blank = self.file("blank", contents)
            self.run_tool("protect", "encrypt", source, "-o", target, "--password-file", blank, expect=BAD_INPUT)
        self.run_tool("protect", "encrypt", source, "-o", target, "--password-file", self.password, "--password-fd", 3, expect=USAGE)
        self.run_tool("protect", "encrypt", "-", "-o", target, "--password-file", "-", expect=USAGE)
        self.run_tool("protect", "encrypt", source, "-o", target, "--password", "secret", expect=USAGE)
        self.run_tool("protect", "encrypt", source, "-o", target, "--rounds", 0, "--password-file", self.password, expect=USAGE)
        self.run_tool("protect", "encrypt", source, "-o", target, "--rounds", 1000001, "--password-file", self.password, expect=USAGE)
        self.assertFalse(target.exists())
        self.run_tool("protect", "encrypt", source, "-o", target, "--password-file", "-", stdin=b"from a pipe\n")
        self.assertEqual(self.run_tool("protect", "decrypt", target, "-o", "-", "--password-file", self.file("p", "from a pipe")).out,
                         b"text")

    @unittest.skipIf(WINDOWS, "descriptors and terminals are the host's")
    def test_descriptors_and_prompts_work(self):
        source, target = self.file("source", b"text"), self.folder / "target"
        reading, writing = os.pipe()
        os.write(writing, b"through a pipe\nrest")
        subprocess.run([str(harness.TOOL), "protect", "encrypt", str(source), "-o", str(target), "--password-fd", str(reading)],
                       pass_fds=(reading,), check=True, env=self.environment)
        self.assertEqual(os.read(reading, 10), b"rest", "nothing is read beyond the line")
        os.close(writing)
        os.close(reading)
        status, shown = self.at_terminal(["decrypt", str(target), "-o", str(self.folder / "back")], [b"through a pipe\n"])
        self.assertEqual((status, (self.folder / "back").read_bytes()), (0, b"text"))
        self.assertIn(b"Password: ", shown)
        self.assertNotIn(b"through a pipe", shown)
        status, _ = self.at_terminal(["encrypt", str(source), "-o", str(target)], [b"once\n", b"twice\n"])
        self.assertEqual(status, BAD_INPUT)
        status, _ = self.at_terminal(["encrypt", str(source), "-o", str(target)], [b"same\n", b"same\n"])
        self.assertEqual(status, 0)
        status, _ = self.at_terminal(["decrypt", str(target), "-o", str(source)], [b"\x03\n"])
        self.assertEqual((status, source.read_bytes()), (USAGE, b"text"))

    def at_terminal(self, words, answers):
        """Runs protect with a terminal of its own and types an answer at each prompt."""
        import pty
        child, terminal = pty.fork()
        if child == 0:
            os.execve(str(harness.TOOL), [str(harness.TOOL), "protect"] + words, self.environment)
        shown, waiting = b"", list(answers)
        while True:
            try:
                piece = os.read(terminal, 1000)
            except OSError:
                break
            if not piece:
                break
            shown += piece
            if waiting and piece.endswith(b": "):
                os.write(terminal, waiting.pop(0))
        _, status = os.waitpid(child, 0)
        os.close(terminal)
        return os.waitstatus_to_exitcode(status), shown


if __name__ == "__main__":
    harness.main()
