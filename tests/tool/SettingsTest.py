"""settings build, show, verify: JSON to bytes and back, in every form."""

import json
import struct

import harness
import sample
from harness import ANSWER_NO, BAD_INPUT

PERSISTENT_HEADER = struct.pack("<II", 16, 0x20070001)


class SettingsTest(harness.ToolTest):
    def build(self, document, *options, name="settings.bin"):
        text = document if isinstance(document, (str, bytes)) else json.dumps(document)
        path = self.folder / name
        self.run_tool("settings", "build", self.file("document.json", text), "-o", path, *options)
        return path

    def show(self, path, **options):
        document = self.run_tool("settings", "show", path, "--json", **options).document
        document.pop("schemaVersion")
        return document

    def refuse(self, document, message):
        text = document if isinstance(document, (str, bytes)) else json.dumps(document)
        target = self.file("kept.bin", b"kept")
        answer = self.run_tool("settings", "build", "-", "-o", target, "--json", stdin=text if isinstance(text, bytes)
                               else text.encode("utf-8"), expect=BAD_INPUT)
        self.assertEqual(answer.document["error"]["message"], message)
        self.assertEqual(target.read_bytes(), b"kept")
        self.assertEqual(sorted(p.name for p in self.folder.iterdir() if p.suffix == ".new"), [])

    def test_the_documents_bytes_are_the_formats(self):
        expected = sample.name_spaces_bytes(sample.EVERY_KIND)
        self.assertEqual(self.build(sample.EVERY_KIND, "--as", "namespaces").read_bytes(), expected)
        block = self.build(sample.EVERY_KIND).read_bytes()
        self.assertEqual(block[:16], PERSISTENT_HEADER + expected[4:12])
        unpacked = self.folder / "unpacked"
        self.run_tool("state", "unpack", self.file("state", block[16:]), "-o", unpacked)
        self.assertEqual(unpacked.read_bytes(), expected)

    def test_json_to_block_to_json_is_the_same_document(self):
        path = self.build(sample.EVERY_KIND)
        self.assertEqual(self.show(path), sample.EVERY_KIND)
        text = self.run_tool("settings", "show", path, "--json").out
        again = self.folder / "again.bin"
        self.run_tool("settings", "build", "-", "-o", again, stdin=text)
        self.assertEqual(self.run_tool("settings", "show", again, "--json").out, text)
        older = sample.document()
        older["driverVersion"] = "4.65535.0.1"
        self.assertEqual(self.show(self.build(older)), older)

    def test_every_form_is_recognised_plain_and_compressed(self):
        attributes = sample.EVERY_KIND["nameSpaces"][1]["attributes"]
        entry = sample.EVERY_KIND["nameSpaces"][2]["attributes"][0]
        unsorted = [attributes[2], attributes[0], attributes[2]]
        documents = [sample.EVERY_KIND, dict(sample.EVERY_KIND, form="namespaces"),
                     {"form": "indexed", "attributes": attributes}, {"form": "indexed", "attributes": []},
                     {"form": "raw", "attributes": unsorted}, {"form": "raw", "attributes": []},
                     {"form": "record", **entry}]
        for document in documents:
            with self.subTest(form=document["form"]):
                path = self.build(document)
                self.assertEqual(self.show(path), document)
                self.run_tool("settings", "verify", path)
                state = self.folder / "state"
                self.run_tool("state", "pack", path, "-o", state)
                self.assertEqual(self.show(state), document)
                self.assertIn("a compressed state of", self.run_tool("settings", "show", state).text)
        raw = self.build({"form": "raw", "attributes": unsorted}).read_bytes()
        self.assertEqual(raw, b"ABRL" + b"".join(map(sample.record_bytes, unsorted)))
        self.assertEqual(self.build({"form": "indexed", "attributes": []}).read_bytes(), b"ABILABRL")
        record = self.build({"form": "record", **entry}).read_bytes()
        self.assertEqual(record, sample.record_bytes(entry))
        listed = self.build({"form": "raw", "attributes": attributes[::-1]}, "--as", "indexed")
        self.assertEqual(self.show(listed)["attributes"], attributes)

    def test_text_keeps_every_code_unit(self):
        units = ["\ud800", "\udfff", "\udc00\ud800", "\ud83d\ud83d\ude00", "a\ud800b", "\uffff", "\uffff\ud800fff", "\uffff800",
                 "\ufffe\ufeff", "\U0010ffff", "\ud800" * 3, "\\ud800", "\u2028\u0085\u007f"]
        for text in units:
            # Python writes each unit as an escape; a pair of surrogates is one character to every reader.
            document = {"form": "raw", "attributes": [sample.record({"type": "NEWFEATURE", "name": text},
                                                                    {"type": "STRING", "value": text})]}
            path = self.build(document)
            self.assertEqual(path.read_bytes(), b"ABRL" + sample.record_bytes(document["attributes"][0]), ascii(text))
            shown = self.run_tool("settings", "show", path, "--json")
            entry = shown.document["attributes"][0]
            original = text.encode("utf-16-le", "surrogatepass")
            for found in (entry["id"]["name"], entry["value"]["value"]):
                self.assertEqual(found.encode("utf-16-le", "surrogatepass"), original, ascii(text))
            again = self.folder / "again"
            self.run_tool("settings", "build", "-", "-o", again, stdin=shown.out)
            self.assertEqual(again.read_bytes(), path.read_bytes())
        raw = '{"form": "raw", "attributes": [{"id": {"type": "NEWVALUE", "name": "\uffff"}, "value": {"type": "STRING", "value": "\\uffff"}}]}'
        self.assertEqual(self.build(raw.encode("utf-8")).read_bytes(), b"ABRL\x05\x01\x00\xff\xff\x04\x00\x01\x00\xff\xff")

    def test_what_the_document_may_not_hold_is_refused_by_its_path(self):
        def changed(change):
            document = sample.document()
            change(document, document["nameSpaces"][1]["attributes"])
            return document

        integer = "not an integer from -2147483648 to 2147483647"
        place = "nameSpaces[1].attributes"
        for change, message in (
                (lambda d, a: d.update(extra=1), "extra: unknown member"),
                (lambda d, a: d.pop("form"), "form: the member is missing"),
                (lambda d, a: d.update(form="other"), "form: not one of persistent, namespaces, indexed, raw, record"),
                (lambda d, a: d.update(schemaVersion=2), "schemaVersion: not an integer from 1 to 1"),
                (lambda d, a: d.update(driverVersion="1.2.3.65536"),
                 "driverVersion: not up to four numbers from 0 to 65535 with dots between"),
                (lambda d, a: d["nameSpaces"][1].update(nameSpace=-3), "nameSpaces[1].nameSpace: the name space stands twice"),
                (lambda d, a: d["nameSpaces"][1].update(kind=256), "nameSpaces[1].kind: not an integer from 0 to 255"),
                (lambda d, a: d.update(nameSpaces={}), "nameSpaces: not an array"),
                (lambda d, a: a.insert(0, 5), place + "[0]: not an object"),
                (lambda d, a: a[0]["id"].update(number=2147483648), place + "[0].id.number: " + integer),
                (lambda d, a: a[0]["id"].update(number=1.0), place + "[0].id.number: " + integer),
                (lambda d, a: a[0]["id"].update(number=10**30), place + "[0].id.number: " + integer),
                (lambda d, a: a[0]["id"].update(number="1"), place + "[0].id.number: " + integer),
                (lambda d, a: a[0]["id"].update(name="x"), place + "[0].id.name: unknown member"),
                (lambda d, a: a[0]["value"].update(low=1), place + "[0].value.low: unknown member"),
                (lambda d, a: a[1]["value"]["option"].update(type="STRING"),
                 place + "[1].value.option.type: not one of FEATURE, NEWFEATURE, VALUE, NEWVALUE, LISTOFVALUESITEM, "
                 "CAPABILITY, NEWCAPABILITY, NAMESPACE"),
                (lambda d, a: a[2]["id"].update(name=5), place + "[2].id.name: not a string"),
                (lambda d, a: a[3]["value"].update(value="x" * 65536),
                 place + "[3].value.value: longer than 65535 UTF-16 code units"),
                (lambda d, a: a[4]["value"].update(specified=1), place + "[4].value.specified: not true or false"),
                (lambda d, a: a[7]["id"].update(capability=32768),
                 place + "[7].id.capability: not an integer from -32768 to 32767"),
                (lambda d, a: a[9]["value"].update(bytes="0aff"),
                 place + "[9].value.bytes: not pairs of upper-case hexadecimal digits"),
                (lambda d, a: a[9]["value"].update(bytes="0AF"),
                 place + "[9].value.bytes: not pairs of upper-case hexadecimal digits")):
            with self.subTest(message=message):
                self.refuse(changed(change), message)
        self.refuse('{"form": "raw", "attributes": [{"id": {"type": "VALUE", "number": 1, "number": 2}}]}',
                    "attributes[0].id.number: the member stands twice")
        self.refuse('{"form": "raw",\n "attributes": [}', "line 2, column 17: syntax error while parsing value - unexpected '}'; "
                    "expected '[', '{', or a literal")

    def test_hostile_documents_end_in_a_refusal(self):
        nested = '{"form":"raw","attributes":[' + '{"id":{"type":"FEATURE","number":1},"value":{"type":"LIST","kind":0,"records":[' * 65
        for text in (b"", b"\xff", b"[" * 100000, b"{", b"null", b"[]", b"{}", b'"\\ud800', b'{"form":"\\ud800"}', b'{"\\udc00":1}',
                     b'{"form":"raw","attributes":[]}x', b'{"form":"raw","attributes":[]}\0', b'{"form":"raw","attributes":[1e999]}', b"\xef\xbb\xbf{}",
                     '{"form":"raw"}'.encode("utf-16"), (nested + "]}}" * 65 + "]}").encode()):
            with self.subTest(text=text[:40]):
                target = self.file("kept.bin", b"kept")
                self.run_tool("settings", "build", "-", "-o", target, stdin=text, expect=BAD_INPUT)
                self.assertEqual(target.read_bytes(), b"kept")
        document = sample.document()
        document["nameSpaces"][1]["attributes"] *= 2
        answer = self.run_tool("settings", "build", "-", "-o", self.folder / "new", "--json", expect=BAD_INPUT,
                               stdin=json.dumps(document).encode())
        self.assertEqual(answer.document["error"]["class"], "ExceptionDuplicateAttributeId")
        self.assertFalse((self.folder / "new").exists())

    def test_lists_nest_as_deep_as_the_library_allows(self):
        def nested(levels):
            entries = []
            for _ in range(levels):
                entries = [sample.record(sample.feature(1), {"type": "LIST", "specified": True, "kind": 0, "records": entries})]
            return {"form": "raw", "attributes": entries}

        self.assertEqual(self.show(self.build(nested(64))), nested(64))
        self.run_tool("settings", "show", self.build(nested(64)))

    def test_damaged_files_are_refused(self):
        block = self.build(sample.EVERY_KIND).read_bytes()
        state = sample.name_spaces_bytes(sample.EVERY_KIND)
        for name, contents in (("empty", b""), ("cut header", block[:15]), ("cut block", block[:-1]), ("header alone", block[:16]),
                               ("other version", block[:4] + b"\x02" + block[5:]), ("cut state", state[:-1]), ("no list", state[:12]),
                               ("noise", bytes(range(64))), ("bad tag", b"ABRL\x0a\x00\x00\x00\x00"), ("trailing", b"\x02\x01\0\0\0\x05\0\x01x"),
                               ("bad tag in a list", b"ABRL\x02\1\0\0\0\x0b\0\0\5\0\0\0ABRL\x0a"),
                               ("damaged image", block[:100] + b"\xa5" * 20 + block[120:]),
                               ("old footer", b"x" * 20 + b"\0\0\0\x05COMP")):
            with self.subTest(name=name):
                self.run_tool("settings", "show", self.file("damaged", contents), expect=BAD_INPUT)
                self.run_tool("settings", "verify", self.file("damaged", contents), expect=BAD_INPUT)
        # Whatever one byte of the state is turned into: an answer or a refusal, and a file that stays as it is.
        for offset in range(0, len(state), 7):
            contents = state[:offset] + bytes([state[offset] ^ 0x81]) + state[offset + 1:]
            answer = self.run_tool("settings", "verify", self.file("damaged", contents), "--json", expect=self.any_answer())
            self.assertIn(answer.status, (0, 1, 3))
            self.assertEqual((self.folder / "damaged").read_bytes(), contents)

    def any_answer(self):
        class Any(int):
            def __eq__(self, other):
                return other in (0, 1, 3)
            __hash__ = int.__hash__
        return Any()

    def test_verify_reports_the_first_difference(self):
        self.assertEqual(self.run_tool("settings", "verify", self.build(sample.EVERY_KIND)).text,
                         "same when written again: persistent, "
                         f"{16 + len(sample.name_spaces_bytes(sample.EVERY_KIND))} bytes\n")
        state = bytearray(sample.name_spaces_bytes(sample.EVERY_KIND))
        boolean = bytes(state).index(b"\x04\x05\0\0\0\x05\x01\0") + 7
        state[boolean] = 2
        document = self.run_tool("settings", "verify", self.file("odd", bytes(state)), "--json", expect=ANSWER_NO).document
        self.assertEqual((document["offset"], document["found"], document["written"], document["path"]),
                         (boolean, "02", "01", "1/value:5"))
        state[boolean] = 1
        flag = boolean - 1
        state[flag] = 0x80
        self.assertIn(f"at byte {flag} of {len(state)}: 80 in the file, 01 when written again (1/value:5)",
                      self.run_tool("settings", "verify", self.file("odd", bytes(state)), expect=ANSWER_NO).text)
        nested = b"ABRL\x02\1\0\0\0\x0b\0\0\x0c\0\0\0ABRL\x02\1\0\0\0\x05\0\x02"
        self.assertIn(f"at byte {len(nested) - 1} of {len(nested)}: 02 in the file, 01 when written again (feature:1)",
                      self.run_tool("settings", "verify", self.file("odd", nested), expect=ANSWER_NO).text)
        block = bytearray(self.build(sample.EVERY_KIND).read_bytes())
        block[8] ^= 1
        self.assertEqual(self.run_tool("settings", "verify", self.file("odd", bytes(block)), "--json", expect=ANSWER_NO)
                         .document["offset"], 8)

    def test_show_for_people_is_aligned_and_harmless(self):
        self.golden("every-kind.show.txt", self.run_tool(
            "settings", "show", self.build(dict(sample.EVERY_KIND, form="namespaces"))).out)


if __name__ == "__main__":
    harness.main()
