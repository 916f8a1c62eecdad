"""cab list, test and extract, with cabinets put together byte by byte."""

import struct
import zlib

import harness
from harness import BAD_INPUT


def cabinet(members, compress=True):
    """One folder of one or more MSZIP or stored blocks, from (name bytes, contents) pairs."""
    data = b"".join(contents for _, contents in members)
    blocks = []
    for start in range(0, len(data), 32768):
        chunk = data[start:start + 32768]
        packer = zlib.compressobj(9, zlib.DEFLATED, -15)
        packed = b"CK" + packer.compress(chunk) + packer.flush() if compress else chunk
        if compress and start:  # a block of its own: no reference to the block before
            packer = zlib.compressobj(9, zlib.DEFLATED, -15)
            packed = b"CK" + packer.compress(chunk) + packer.flush()
        blocks.append(struct.pack("<IHH", 0, len(packed), len(chunk)) + packed)
    files, offset = b"", 0
    for name, contents in members:
        files += struct.pack("<IIHHHH", len(contents), offset, 0, 0x226C, 0x59BA, 0x20 | (0x80 if not name.isascii() else 0)) + name + b"\0"
        offset += len(contents)
    first = 36 + 8 + len(files)
    folder = struct.pack("<IHH", first, len(blocks), 1 if compress else 0)
    size = first + sum(map(len, blocks))
    header = struct.pack("<4sIIIIIBBHHHHH", b"MSCF", 0, size, 0, 44, 0, 3, 1, 1, len(members), 0, 0, 0)
    return header + folder + files + b"".join(blocks)


class CabTest(harness.ToolTest):
    MEMBERS = [(b"readme.txt", b"hello\n"), (b"sub\\deeper\\data.bin", bytes(range(256)) * 200), (b"sub\\empty", b""),
               ("Größe.txt".encode(), b"umlaut")]

    def test_members_are_listed_tested_and_extracted(self):
        for compress in (True, False):
            path = self.file("some.cab", cabinet(self.MEMBERS, compress))
            target = self.folder / f"out{compress}"
            document = self.run_tool("cab", "list", path, "--json").document
            self.assertEqual([(m["name"], m["bytes"]) for m in document["members"]],
                             [(n.decode(), len(c)) for n, c in self.MEMBERS])
            self.assertEqual(document["members"][0]["modified"], "1997-03-12T11:13:52")
            self.assertEqual(self.run_tool("cab", "test", path).text, "ok: 4 members, 51212 bytes\n")
            self.run_tool("cab", "extract", path, "-C", target)
            for name, contents in self.MEMBERS:
                self.assertEqual((target / name.decode().replace("\\", "/")).read_bytes(), contents, name)
            self.run_tool("cab", "extract", path, "-C", target)  # what is there is replaced
            self.assertEqual(sum(p.is_file() for p in target.rglob("*")), 4)

    def test_one_unsafe_name_and_nothing_is_extracted(self):
        for name in (b"..\\x", b"a\\..\\..\\x", b"\\x", b"/x", b"C:x", b"C:\\x", b"\\\\server\\share\\x", b"a:stream", b"NUL", b"COM1.txt",
                     b"dot.", b"blank ", b"a/../x", b"a\\\\x", b"a\\", b"a\nb", b"a*b", b"x" * 201, b"readme.TXT", b"readme.txt\\below"):
            with self.subTest(name=name):
                path = self.file("some.cab", cabinet([(b"readme.txt", b"hello"), (name, b"bad")]))
                target = self.folder / "target"
                answer = self.run_tool("cab", "extract", path, "-C", target, "--json", expect=BAD_INPUT)
                self.assertIn("nothing is extracted", answer.document["error"]["message"])
                self.assertEqual([p.name for p in self.folder.iterdir()], ["some.cab"])
                self.run_tool("cab", "list", path)

    def test_damaged_cabinets_are_refused(self):
        good = cabinet(self.MEMBERS)
        for contents in (b"", b"MSCF", good[:-1], good[:26] + b"\2" + good[27:], good[:-40] + b"\xff" * 40,
                         good[:25] + b"\2" + good[26:], good[:30] + b"\1" + good[31:]):
            path = self.file("bad.cab", contents)
            for verb in ("list", "test", "extract"):
                answer = self.run_tool("cab", verb, path, *(["-C", self.folder / "target"] if verb == "extract" else []), "--json",
                                       expect=BAD_INPUT)
                self.assertEqual(answer.document["error"]["class"], "ExceptionCompression")
            self.assertFalse((self.folder / "target").exists())


if __name__ == "__main__":
    harness.main()
