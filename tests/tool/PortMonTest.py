"""portmon: the monitor installed, asked and removed, and the bytes of requests."""

import struct

import harness
from harness import ANSWER_NO, BAD_INPUT, REFUSED, USAGE

READ, WRITE, BOTH = 0x20019, 0x20006, 0x2001F


def record(root, code, mask, key="", value="", third="", data=b"", handle=0):
    """A request's bytes, from their description."""
    body, offsets = b"", []
    for text in (key, value, third):
        offsets.append(48 + len(body) if text else 0xFFFFFFFF)
        body += text.encode("utf-16-le") + b"\0\0" if text else b""
    offsets += [len(data), 48 + len(body) if data else 0xFFFFFFFF, 0]
    return struct.pack("<IHHQHHI6I", 0xD15EA5ED, root, 0, handle, code, 0, mask, *offsets) + body + data + b"\0\0"


class PortMonTest(harness.ToolTest):
    def request(self, *arguments, **keywords):
        return self.run_tool("portmon", "request", *arguments, **keywords)

    def test_dry_runs_print_the_bytes_of_a_request(self):
        cases = (
            (("GetCountOfSubKeys", "--root", "5"), record(5, 11, READ)),
            (("setlongvalue", "--root", "5", "--key", "Ab", "--value", "v", "--number", "-2"),
             record(5, 15, WRITE, "Ab", "v", data=b"\xfe\xff\xff\xff")),
            (("14", "--root", "3", "--key", "k", "--number", "1"), record(3, 14, WRITE, "k", data=b"\1")),
            (("SetStringValue", "--root", "6", "--key", "k", "--third", "S-1-5-18"),
             record(6, 17, WRITE, "k", third="S-1-5-18", data=b"\0\0")),
            (("RenameValue", "--root", "5", "--key", "k", "--value", "a", "--text", "ä€"),
             record(5, 20, WRITE, "k", "a", data="ä€\0".encode("utf-16-le"))),
            (("DeleteKeyAndSubkeys", "--root", "5", "--key", "k"), record(5, 22, BOTH, "k")),
            (("DeleteKeyAndSubkeys", "--handle", "4000000000000001", "--key", "k"),
             record(0, 22, WRITE, "k", handle=0x4000000000000001)),
            (("OpenKey", "--root", "machine-version", "--key", "k", "--mask", "0xF003F"), record(5, 2, 0xF003F, "k")),
            (("SetBytesValue", "--root", "5", "--key", "k", "--data", "00FF"), record(5, 18, WRITE, "k", data=b"\0\xff")),
            (("QueryMultipleValues", "--root", "5", "--names", "b,Ab"),
             record(5, 27, READ, data=struct.pack("<Q24xQ24x", 64, 68) + "b\0Ab\0".encode("utf-16-le"))),
        )
        for arguments, expected in cases:
            with self.subTest(arguments=arguments):
                document = self.request(*arguments, "--dry-run", "--json").document
                self.assertEqual(document["record"], expected.hex().upper())
                self.assertEqual(document["bytes"], len(expected))
                lines = self.request(*arguments, "--dry-run").text.splitlines()
                self.assertEqual(bytes.fromhex("".join(line.split(None, 1)[1] for line in lines)), expected)

    def test_what_is_no_request_is_refused(self):
        for arguments, status in (
                (("NoOperation", "--root", "5"), USAGE), (("9", "--root", "5"), USAGE), (("GetLongValue",), USAGE),
                (("GetLongValue", "--root", "21"), USAGE), (("GetLongValue", "--handle", "40"), USAGE),
                (("GetLongValue", "--root", "5", "--handle", "40", "--dry-run"), USAGE),
                (("SetLongValue", "--root", "5", "--number", "1", "--data", "00"), USAGE),
                (("SetLongValue", "--root", "5", "--text", "x"), USAGE),
                (("SetLongValue", "--root", "5", "--number", "4294967296", "--dry-run"), USAGE),
                (("SetBooleanValue", "--root", "5", "--number", "256", "--dry-run"), USAGE),
                (("SetBytesValue", "--root", "5", "--data", "0G", "--dry-run"), BAD_INPUT),
                (("GetLongValue", "--handle", "00000000000000001", "--dry-run"), BAD_INPUT)):
            with self.subTest(arguments=arguments):
                self.request(*arguments, expect=status)

    def test_the_monitor_is_installed_asked_and_removed(self):
        if harness.WINDOWS:
            self.skipTest("the system's own spooler is left alone")
        store = ("--store", self.folder / "store.db")
        status = self.run_tool("portmon", "status", *store, "--json", expect=ANSWER_NO).document
        self.assertEqual(status, {"schemaVersion": 1, "monitor": "Velom Virtualization Port", "installed": False, "working": False})
        self.request("GetCountOfSubKeys", "--root", "5", *store, expect=REFUSED)
        self.run_tool("portmon", "upgrade", *store, expect=REFUSED)
        self.assertEqual(self.run_tool("portmon", "install", *store).text, "The port monitor is installed.\n")
        self.assertEqual(self.run_tool("portmon", "install", *store).text, "The port monitor was installed already, and works.\n")
        self.assertIn("working    yes", self.run_tool("portmon", "status", *store).text)

        key = ("--root", "5", "--key", "Key", *store)
        self.assertEqual(self.request("SetLongValue", *key, "--value", "n", "--number", "7").text, "done\n")
        self.assertEqual(self.request("GetLongValue", *key, "--value", "n").text, "7\n")
        self.request("SetStringValue", *key, "--value", "t", "--text", "a\x1b[0m")
        self.assertEqual(self.request("GetStringValue", *key, "--value", "t").text, "a\\u001B[0m\n")
        self.assertEqual(self.request("EnumValueNames", *key).text, "n\nt\n")
        answer = self.request("GetIncLongValue", *key, "--value", "n", "--number", "5", "--json").document
        self.assertEqual((answer["status"], answer["text"], answer["reply"]), (0, "7", "07000000"))
        self.assertEqual(self.request("GetLongValue", *key, "--value", "absent", "--json", expect=ANSWER_NO).document["status"], 2)
        refused = self.request("GetLongValue", "--root", "12", *store, "--json", expect=REFUSED).document["error"]
        self.assertEqual(refused["class"], "ExceptionLowRightsStorage")
        log = self.request("GetLongValue", *key, "--value", "n", "--log", "registry").remarks
        self.assertIn("XcvDataPort - ", log)

        self.assertEqual(self.run_tool("portmon", "upgrade", *store).text, "The port monitor is up to date.\n")
        self.assertEqual(self.run_tool("portmon", "remove", *store).text, "The port monitor is removed.\n")
        self.assertEqual(self.run_tool("portmon", "remove", "--keep-files", *store).text, "The port monitor was not installed.\n")
        self.run_tool("portmon", "status", *store, expect=ANSWER_NO)


if __name__ == "__main__":
    harness.main()
