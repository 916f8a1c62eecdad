"""settings get, set, delete and diff: one attribute, and nothing else."""

import json

import harness
import sample
from harness import ANSWER_NO, BAD_INPUT


class SettingsEditTest(harness.ToolTest):
    def setUp(self):
        super().setUp()
        self.block = self.folder / "block"
        self.run_tool("settings", "build", "-", "-o", self.block, stdin=json.dumps(sample.EVERY_KIND).encode())

    def attributes(self, path, name_space=1):
        document = self.run_tool("settings", "show", path, "--json").document
        return next(s["attributes"] for s in document["nameSpaces"] if s["nameSpace"] == name_space)

    PATHS = [("1/feature:-2147483648", "integer:2147483647"), ("1/feature:258", "option:value:7"), ("1/newfeature:", "string:"),
             ("1/newfeature:Größe 日本 😀", '{"type":"STRING","specified":true,"value":"tab\\t\\"quoted\\" \\u0000 \\u001b[31m end"}'),
             ("1/newvalue:N/A:1", "range:5:-5"), ("1/item:0", "rangeofdimension:-2147483.648mm:2147483.647mm"),
             ("1/capability:258:-32768", "dimension:25.4mm"), ("1/newcapability:Duplex:er:32767", "resolution:600x1200:1"),
             ("1/namespace:3", "blob:0AFF00"), ("2/feature:2", "datetime:2026-01-01T00:00:00Z"),
             ("2/feature:3", "datetime:-9223372036854775808")]

    def test_get_prints_the_value_in_the_form_that_set_takes(self):
        for path, value in self.PATHS:
            self.assertEqual(self.run_tool("settings", "get", self.block, path).text, value + "\n", path)
        self.assertEqual(json.loads(self.run_tool("settings", "get", self.block, "1/value:5").text),
                         {"type": "BOOLEAN", "specified": False, "value": False})
        odd = '{"type": "LIST", "kind": 1, "records": [{"id": {"type": "NEWVALUE", "name": "\\udc00\\uffff"}, "value": {"type": "STRING", "value": "\\ud800\\u009b"}}]}'
        self.run_tool("settings", "set", self.block, "2/item:1", odd)
        self.run_tool("settings", "set", self.block, "2/item:2", '{"type": "STRING", "value": "\\ud800\\u000a"}')
        for path in [path for path, _ in self.PATHS] + ["1/value:5", "2/feature:1", "2/item:1", "2/item:2"]:
            printed = self.run_tool("settings", "get", self.block, path).text
            self.assertEqual(len(printed.splitlines()), 1, path)
            self.run_tool("settings", "set", self.block, "2/item:3", printed[:-1])
            values = [self.run_tool("settings", "get", self.block, p, "--json").document["value"] for p in (path, "2/item:3")]
            self.assertEqual(values[0], values[1], path)
        document = self.run_tool("settings", "get", self.block, "2/feature:1", "--json").document
        self.assertEqual((document["found"], document["value"]),
                         (True, sample.EVERY_KIND["nameSpaces"][2]["attributes"][0]["value"]))
        for path in ("1/feature:1", "9/feature:258"):
            self.assertEqual(self.run_tool("settings", "get", self.block, path, expect=ANSWER_NO).out, b"")
            document = self.run_tool("settings", "get", self.block, path, "--json", expect=ANSWER_NO).document
            self.assertEqual((document["path"], document["found"]), (path, False))

    VALUES = [("integer:-5", {"type": "INTEGER", "value": -5}), ("string:a:b/ü😀", {"type": "STRING", "value": "a:b/ü😀"}),
              ("string:", {"type": "STRING", "value": ""}),
              ("boolean:true", {"type": "BOOLEAN", "value": True}), ("dimension:210mm", {"type": "DIMENSION", "value": 210000}),
              ("dimension:8.5in", {"type": "DIMENSION", "value": 215900}), ("dimension:-1 pt", {"type": "DIMENSION", "value": -353}),
              ("dimension:3mm/100", {"type": "DIMENSION", "value": 30}), ("range:-1:5", {"type": "RANGE", "low": -1, "high": 5}),
              ("rangeofdimension:0mm:1in", {"type": "RANGEOFDIMENSION", "low": 0, "high": 25400}),
              ("option:newvalue:A:4", {"type": "OPTION", "option": {"type": "NEWVALUE", "name": "A:4"}}),
              ("option:capability:1:2", {"type": "OPTION", "option": {"type": "CAPABILITY", "number": 1, "capability": 2}}),
              ("resolution:600x300:-1", {"type": "RESOLUTION", "crossFeed": 600, "feed": 300, "units": -1}),
              ("blob:0aFF", {"type": "DATABLOB", "bytes": "0AFF"}), ("blob:", {"type": "DATABLOB", "bytes": ""}),
              ("datetime:1969-12-31T23:59:59Z", {"type": "DATETIME", "seconds": -1, "utc": "1969-12-31T23:59:59Z"}),
              ("datetime:86400", {"type": "DATETIME", "seconds": 86400, "utc": "1970-01-02T00:00:00Z"}),
              ('{"type": "LIST", "kind": 1, "records": []}', {"type": "LIST", "kind": 1, "records": []}),
              ('{"type": "STRING", "specified": false, "value": "\\ud800"}', {"type": "STRING", "specified": False, "value": "\ud800"})]

    def test_set_changes_one_attribute_and_nothing_else(self):
        before = self.attributes(self.block)
        position = next(i for i, a in enumerate(before) if a["id"] == sample.feature(258))
        for value, expected in self.VALUES:
            self.run_tool("settings", "set", self.block, "1/feature:258", value)
            after = self.attributes(self.block)
            self.assertEqual(after[position]["value"], {"specified": True, **expected}, value)
            self.assertEqual(after[:position] + after[position + 1:], before[:position] + before[position + 1:])
        whole = self.run_tool("settings", "show", self.block, "--json").document
        self.assertEqual((whole["form"], whole["driverVersion"], len(whole["nameSpaces"])), ("persistent", sample.VERSION, 3))

    def test_set_adds_in_order_and_delete_takes_away(self):
        before = self.run_tool("settings", "show", self.block, "--json").out
        self.run_tool("settings", "set", self.block, "1/feature:5", "integer:1")
        self.run_tool("settings", "set", self.block, "0/item:5", "boolean:false")
        document = self.run_tool("settings", "show", self.block, "--json").document
        self.assertEqual([s["nameSpace"] for s in document["nameSpaces"]], [-3, 0, 1, 2])
        self.assertEqual([a["id"]["number"] for a in document["nameSpaces"][2]["attributes"][:3]], [-2147483648, 5, 258])
        self.run_tool("settings", "delete", self.block, "1/feature:5")
        self.run_tool("settings", "delete", self.block, "0/item:5")
        after = json.loads(self.run_tool("settings", "show", self.block, "--json").out)
        after["nameSpaces"].remove({"nameSpace": 0, "kind": 0, "attributes": []})
        self.assertEqual(after, json.loads(before))
        contents = self.block.read_bytes()
        document = self.run_tool("settings", "delete", self.block, "1/feature:5", "--json", expect=ANSWER_NO).document
        self.assertEqual(document["found"], False)
        self.assertEqual(self.block.read_bytes(), contents)
        out = self.run_tool("settings", "delete", "-", "1/feature:5", stdin=contents, expect=ANSWER_NO, plain=False).out
        self.assertTrue(out == contents)

    def test_the_container_stays_what_it_was(self):
        for form in ("raw", "indexed"):
            document = {"form": form, "attributes": sample.EVERY_KIND["nameSpaces"][1]["attributes"]}
            path, state = self.folder / "list", self.folder / "state"
            self.run_tool("settings", "build", "-", "-o", path, stdin=json.dumps(document).encode())
            self.run_tool("state", "pack", path, "-o", state)
            for file in (path, state):
                self.run_tool("settings", "set", file, "feature:258", "integer:5")
                self.assertEqual(self.run_tool("settings", "get", file, "feature:258").text, "integer:5\n")
            self.assertEqual(state.read_bytes()[-4:], b"COM5")
            self.assertEqual(self.run_tool("settings", "show", state, "--json").document["form"], form)
        record = self.file("record", sample.record_bytes(sample.record(sample.feature(5), {"type": "BOOLEAN", "value": False})))
        self.run_tool("settings", "set", record, "feature:5", "boolean:true")
        self.assertEqual(record.read_bytes(), bytes.fromhex("0205000000050001"))
        self.run_tool("settings", "set", record, "feature:6", "boolean:true", expect=BAD_INPUT)
        self.run_tool("settings", "delete", record, "feature:5", expect=BAD_INPUT)
        self.assertEqual(record.read_bytes(), bytes.fromhex("0205000000050001"))
        out = self.run_tool("settings", "set", "-", "feature:5", "integer:7", stdin=record.read_bytes()).out
        self.assertEqual(out, bytes.fromhex("02050000000300 07000000".replace(" ", "")))

    def test_bad_paths_and_values_leave_the_file_untouched(self):
        contents = self.block.read_bytes()
        for path in ("feature:258", "x/feature:258", "1/feature:", "1/feature:2147483648", "1/feature:1 ", "1/other:1", "1/",
                     "1/capability:258", "1/capability:258:32768", "1/newcapability:x", "/feature:1"):
            self.run_tool("settings", "set", self.block, path, "integer:1", expect=BAD_INPUT)
            self.run_tool("settings", "delete", self.block, path, expect=BAD_INPUT)
        for value in ("5", "integer:", "integer:5x", "integer:2147483648", "boolean:yes", "dimension:210", "dimension:mm", "dimension:1.2.3mm",
                      "dimension:210km", "dimension:2147484mm", "range:1", "resolution:600:1", "resolution:600x600", "blob:0", "blob:0G",
                      "datetime:2026-02-30T00:00:00Z", "datetime:now", "list:1", "{", "{}", '{"type": "INTEGER", "value": 1, "x": 1}', ""):
            self.run_tool("settings", "set", self.block, "1/feature:258", value, expect=BAD_INPUT)
        self.assertEqual(self.block.read_bytes(), contents)
        self.assertEqual([p.name for p in self.folder.iterdir()], ["block"])

    def test_diff_tells_what_was_added_removed_and_changed(self):
        self.assertEqual(self.run_tool("settings", "diff", self.block, self.block).out, b"")
        other = self.file("other", self.block.read_bytes())
        self.run_tool("settings", "set", other, "1/feature:258", "option:value:8")
        self.run_tool("settings", "set", other, "5/feature:1", "integer:1")
        self.run_tool("settings", "delete", other, "2/feature:2")
        self.assertEqual(self.run_tool("settings", "diff", self.block, other, expect=ANSWER_NO).text,
                         "~ 1/feature:258  option:value:7 -> option:value:8\n"
                         "- 2/feature:2  datetime:2026-01-01T00:00:00Z\n"
                         "+ name space 5, kind 0\n"
                         "+ 5/feature:1  integer:1\n")
        document = self.run_tool("settings", "diff", self.block, other, "--json", expect=ANSWER_NO).document
        self.assertEqual(document["same"], False)
        self.assertEqual([(s["nameSpace"], len(s["added"]), len(s["removed"]), len(s["changed"])) for s in document["nameSpaces"]],
                         [(1, 0, 0, 1), (2, 0, 1, 0), (5, 1, 0, 0)])
        self.assertEqual(document["nameSpaces"][0]["changed"][0]["to"]["option"], {"type": "VALUE", "number": 8})
        # The same settings in another form do not differ.
        spaces = self.folder / "spaces"
        text = self.run_tool("settings", "show", self.block, "--json").out
        self.run_tool("settings", "build", "-", "--as", "namespaces", "-o", spaces, stdin=text)
        self.assertEqual(self.run_tool("settings", "diff", self.block, spaces, "--json").document["same"], True)
        # What a name space is counts, too.
        document = json.loads(text)
        document["nameSpaces"][0].update(kind=9, specified=False)
        self.run_tool("settings", "build", "-", "-o", spaces, stdin=json.dumps(document).encode())
        changed = self.run_tool("settings", "diff", self.block, spaces, expect=ANSWER_NO).text
        self.assertRegex(changed, r"^~ name space -3, kind \d+ -> kind 9, unspecified\n$")


if __name__ == "__main__":
    harness.main()
