"""state, hash, find and dimension."""

import random
import struct
import zlib

import harness
from harness import ANSWER_NO, BAD_INPUT


class StateTest(harness.ToolTest):
    def test_what_is_packed_unpacks_again(self):
        noise = random.Random(7).randbytes(70000)
        for contents in (b"", b"x", b"abc" * 11000, noise):
            source = self.file("source", contents)
            state, back = self.folder / "state", self.folder / "back"
            self.run_tool("state", "pack", source, "-o", state, "--level", 9)
            self.assertEqual(state.read_bytes()[-13:], struct.pack(">BiI", 2, 9, len(contents)) + b"COM5")
            self.run_tool("state", "unpack", state, "-o", back)
            self.assertTrue(back.read_bytes() == contents)
            document = self.run_tool("state", "info", state, "--json").document
            self.assertEqual((document["footer"], document["format"], document["level"], document["originalBytes"],
                              document["compressedBytes"]), ("current", "MS Cabinet", 9, len(contents), state.stat().st_size - 13))
        packed = self.run_tool("state", "pack", "-", "-o", "-", stdin=noise, plain=False).out
        self.assertEqual(packed[-13:-4], struct.pack(">BiI", 2, -1, len(noise)))
        self.assertTrue(self.run_tool("state", "unpack", "-", "-o", "-", stdin=packed, plain=False).out == noise)

    def test_all_three_footers_are_read(self):
        contents = b"older writers used zlib " * 100
        stream = zlib.compress(contents)
        for footer, version, size in ((struct.pack(">BiI", 1, 6, len(contents)) + b"COM5", "current", 13),
                                      (struct.pack(">iI", 6, len(contents)) + b"COM4", "4.0", 12),
                                      (struct.pack(">I", len(contents)) + b"COMP", "3.7", 8)):
            state = self.file("state", stream + footer)
            self.assertEqual(self.run_tool("state", "unpack", state, "-o", "-").out, contents)
            level = -1 if version == "3.7" else 6
            self.assertEqual(self.run_tool("state", "info", state).text,
                             f"footer      {version} ({footer[-4:].decode()}, {size} bytes)\nformat      ZLib\nlevel       {level}\n"
                             f"compressed  {len(stream)} bytes\noriginal    {len(contents)} bytes\n")

    def test_what_is_no_state_is_refused_and_nothing_is_written(self):
        good = self.run_tool("state", "pack", "-", "-o", "-", stdin=b"data" * 50).out
        kept = self.file("kept", b"kept")
        for contents, expected in ((b"", "ExceptionMissingOrBadCompressedBufferFooter"), (b"plain text" * 9, "ExceptionMissingOrBadCompressedBufferFooter"),
                                   (good[:-1] + b"6", "ExceptionMissingOrBadCompressedBufferFooter"),
                                   (good[:-13] + b"\x03" + good[-12:], "ExceptionIncompatibleCompressionFormat"),
                                   (good[:-8] + struct.pack(">I", 0xFFFFFFFF) + b"COM5", "ExceptionCompression"),
                                   (good[:-8] + struct.pack(">I", 199) + b"COM5", None), (good[:-8] + struct.pack(">I", 201) + b"COM5", None),
                                   (good[:92] + b"\xff\xff\xff" + good[95:], None)):
            answer = self.run_tool("state", "unpack", "-", "-o", kept, "--json", stdin=contents, expect=BAD_INPUT)
            if expected:
                self.assertEqual(answer.document["error"]["class"], expected)
            self.assertEqual(kept.read_bytes(), b"kept")
            self.run_tool("state", "info", "-", stdin=contents, expect=BAD_INPUT)

    def test_hashes_are_the_librarys(self):
        digits = self.file("digits", b"123456789")
        self.assertEqual(self.run_tool("hash", digits, "--kind", "crc32").text, "CBF43926\n")
        self.assertEqual(self.run_tool("hash", digits, "--kind", "crc32", "--seed", "0xFFFFFFFF").text, "CBF43926\n")
        self.assertEqual(self.run_tool("hash", self.file("pair", b"\x01\x02"), "--kind", "checksum").text, "FDFC\n")
        # An odd length takes two zero bytes behind the data in.
        self.assertEqual(self.run_tool("hash", self.file("one", b"\x05"), "--kind", "checksum").text, f"{0xFFFF - 6:04X}\n")
        empty = self.file("empty", b"")
        self.assertEqual(self.run_tool("hash", empty).text, "crc32     00000000\nhash32    00000000\nhash16    0000\nchecksum  FFFF\n")
        self.assertEqual(self.run_tool("hash", empty, "--seed", 5).text, "crc32   FFFFFFFA\nhash32  00000005\n")
        h = 0
        for byte in b"123456789":
            h = (h << 4) + byte
            g = h & 0xF0000000
            h = (h ^ g >> 24) & ~g
        whole = h ^ 0xCBF43926
        document = self.run_tool("hash", digits, "--json").document
        self.assertEqual(document["bytes"], 9)
        self.assertEqual({k: v["value"] for k, v in document["hashes"].items() if k != "checksum"},
                         {"crc32": 0xCBF43926, "hash32": whole, "hash16": ((whole >> 16) + whole) & 0xFFFF})
        self.assertEqual(self.run_tool("hash", digits, "--kind", "hash32", "--seed", (1 << 32) - whole).text, "FFFFFFFF\n")

    def test_find_gives_the_first_offset_or_answers_no(self):
        data = self.file("data", b"xxabcabc")
        self.assertEqual(self.run_tool("find", data, "616263").text, "2\n")
        self.assertEqual(self.run_tool("find", data, "616263", "--start", 3, "--json").document["offset"], 5)
        for words in (["616263", "--start", 6], ["616263", "--start", 9], ["00"], ["61" * 9]):
            self.assertEqual(self.run_tool("find", data, *words, expect=ANSWER_NO).out, b"")
        self.assertEqual(self.run_tool("find", data, "00", "--json", expect=ANSWER_NO).document["found"], False)
        for pattern in ("", "6", "6g", "é0"):
            self.run_tool("find", data, pattern, expect=BAD_INPUT)

    def test_dimensions_convert_and_round_as_the_library_does(self):
        for words, expected in (((1, "in", "--to", "mm"), "25.4 mm"), ((72, "pt", "--to", "in", "--decimals", 3), "1.000 in"),
                                ((1, "pt", "--to", "mm/1000", "--decimals", 0), "353 mm/1000"),
                                ((-0.5, "mm/1000", "--to", "mm/1000", "--decimals", 0), "-1 mm/1000"),
                                (("0x10", "mm", "--to", "mm/100"), "1600 mm/100"), ((2540, "mm/100", "--to", "mm"), "25.4 mm"),
                                ((96, "diu", "--to", "in", "--decimals", 2), "1.00 in"), ((-5, "mm", "--to", "mm/10"), "-50 mm/10")):
            self.assertEqual(self.run_tool("dimension", *words).text, expected + "\n", words)
        document = self.run_tool("dimension", 1, "in", "--to", "mm/10", "--decimals", 1, "--json").document
        self.assertEqual((document["value"], document["unit"], document["text"]), (254.0, "mm/10", "254.0"))
        for words in (("x", "mm", "--to", "in"), ("1", "furlong", "--to", "in"), ("1", "mm", "--to", "MM"), ("1e3", "mm", "--to", "in")):
            self.run_tool("dimension", *words, expect=BAD_INPUT)


if __name__ == "__main__":
    harness.main()
