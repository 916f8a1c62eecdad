"""reg and counters: keys, values and trees by logical hive."""

import uuid

import harness
from harness import ANSWER_NO, BAD_INPUT, REFUSED, USAGE


class RegTest(harness.ToolTest):
    HIVE = "user"  # needs no rights and is never forwarded

    def setUp(self):
        super().setUp()
        self.key = f"Software\\q9-tool-{uuid.uuid4()}"
        self.addCleanup(self.run_reg, "delete", self.HIVE, self.key, "--tree", expect=None)

    def run_reg(self, *arguments, expect=harness.DONE):
        store = [] if harness.WINDOWS else ["--store", self.folder / "store.db"]
        if expect is None:
            return self.run_any("reg", *arguments, *store)
        return self.run_tool("reg", *arguments, *store, expect=expect)

    def run_any(self, *arguments):
        try:
            return self.run_tool(*arguments)
        except AssertionError:
            return None

    def test_values_of_every_kind_come_back(self):
        rows = [("string:caf\u00e9 \\ %PATH%", "REG_SZ", "caf\u00e9 \\ %PATH%"), ("plain text", "REG_SZ", "plain text"),
                ("http://host", "REG_SZ", "http://host"), ("string:", "REG_SZ", ""), ("dword:4294967295", "REG_DWORD", 0xFFFFFFFF),
                ("dword:-1", "REG_DWORD", 0xFFFFFFFF), ("dword:0x10", "REG_DWORD", 16), ("qword:18446744073709551615", "REG_QWORD", 2**64 - 1),
                ("binary:00fF", "REG_BINARY", None), ("boolean:true", "REG_BINARY", None), ("expand:%TEMP%", "REG_EXPAND_SZ", "%TEMP%"),
                ("multi:one|two", "REG_MULTI_SZ", ["one", "two"]), ("multi:", "REG_MULTI_SZ", []),
                ("type:hex(4711):0102", "type 4711", None), ("type:hex(4):01", "REG_DWORD", None)]
        for index, (text, kind, value) in enumerate(rows):
            with self.subTest(text=text):
                self.run_reg("set", self.HIVE, self.key, f"v{index}", text)
                document = self.run_reg("get", self.HIVE, self.key, f"V{index}", "--json").document
                self.assertEqual((document["type"], document["value"], document["exists"]), (kind, value, True))
                # What is printed can be given to set again.
                printed = self.run_reg("get", self.HIVE, self.key, f"v{index}").text[:-1]
                self.run_reg("set", self.HIVE, self.key, "again", printed)
                again = self.run_reg("get", self.HIVE, self.key, "again", "--json").document
                self.assertEqual((again["type"], again["bytes"]), (kind, document["bytes"]))

    def test_the_default_value_and_lists(self):
        self.run_reg("set", "9", self.key + "\\Below", "", "dword:7")
        self.run_reg("set", "Hkey_Current_User", self.key, "name", "text")
        self.assertEqual(self.run_reg("get", "user", self.key + "\\below").text, "dword:7\n")
        document = self.run_reg("list", self.HIVE, self.key, "--json").document
        self.assertEqual((document["keys"], [v["name"] for v in document["values"]]), (["Below"], ["name"]))
        self.assertEqual(self.run_reg("list", self.HIVE, self.key).text, "Below\\\nname  REG_SZ  string:text\n")
        tree = self.run_reg("tree", self.HIVE, self.key, "--json").document
        self.assertEqual(tree["keys"]["Below"], {"values": {"": "dword:7"}, "keys": {}})
        self.assertEqual(self.run_reg("tree", self.HIVE, self.key, "--depth", 0, "--json").document["keys"], {"Below": None})
        self.run_reg("set", self.HIVE, self.key + "\\\uffff", "\uffff", "string:\uffff")
        self.assertEqual(list(self.run_reg("tree", self.HIVE, self.key, "--json").document["keys"]["\uffff"]["values"]), ["\uffff"])

    def test_trees_are_copied_and_deleted(self):
        self.run_reg("set", self.HIVE, self.key + "\\From\\Deep", "n", "dword:7")
        self.run_reg("copy", self.HIVE, self.key + "\\From", self.HIVE, self.key + "\\To")
        self.assertEqual(self.run_reg("get", self.HIVE, self.key + "\\To\\Deep", "n").text, "dword:7\n")
        self.run_reg("delete", self.HIVE, self.key + "\\From", "--key", expect=REFUSED)
        self.run_reg("delete", self.HIVE, self.key + "\\From", "--tree")
        self.run_reg("list", self.HIVE, self.key + "\\From", expect=REFUSED)
        self.run_reg("delete", self.HIVE, self.key + "\\To\\Deep", "n")
        for arguments in (("n",), ("--key",), ("--tree",)):
            target = self.key + ("\\To\\Deep" if arguments == ("n",) else "\\None")
            self.assertFalse(self.run_reg("delete", self.HIVE, target, *arguments, "--json", expect=ANSWER_NO).document["deleted"])
        self.run_reg("copy", self.HIVE, self.key + "\\None", self.HIVE, self.key + "\\To", expect=REFUSED)

    def test_what_is_absent_or_wrong_says_so(self):
        self.assertFalse(self.run_reg("get", self.HIVE, self.key, "n", "--json", expect=ANSWER_NO).document["exists"])
        for hive in ("21", "-1", "none of them", ""):
            self.run_reg("get", hive, self.key, expect=USAGE)
        for hive in ("0", "20"):
            self.run_reg("list", hive, self.key, expect=REFUSED)
        for value in ("dword:", "dword:4294967296", "dword:-2147483649", "dword:1x", "qword:18446744073709551616", "binary:0", "binary:0g",
                      "boolean:1", "multi:a||b", "type:7", "type:hex(x):00", "type:hex(1)00"):
            with self.subTest(value=value):
                self.run_reg("set", self.HIVE, self.key, "v", value, expect=BAD_INPUT)
        self.run_reg("delete", self.HIVE, "", "--tree", expect=USAGE)
        self.run_reg("delete", self.HIVE, self.key, "n", "--tree", expect=USAGE)

    def test_the_hives_are_listed(self):
        hives = self.run_reg("hives", "--json").document["hives"]
        self.assertEqual([h["hive"] for h in hives], list(range(21)))
        self.assertEqual(hives[4]["basePath"], "Software\\Velom\\PrinterDriver")
        self.assertEqual(hives[12], {"hive": 12, "name": "machine", "root": "HKEY_LOCAL_MACHINE", "basePath": ""})

    def test_counters_are_shown_and_cleared(self):
        store = [] if harness.WINDOWS else ["--store", self.folder / "store.db"]
        document = self.run_tool("counters", "show", "Some printer", "--all", "--json", *store).document
        self.assertEqual([c["id"] for c in document["counters"]], list(range(1, 78)))
        self.assertEqual(document["counters"][21], {"id": 22, "name": "DEVICECAPS", "count": 0})
        self.assertTrue(self.run_tool("counters", "clear", "Some printer", "--json", *store).document["cleared"])
        self.run_tool("counters", "show", "", *store, expect=USAGE)
        if not harness.WINDOWS:
            self.run_reg("set", "machine", "SOFTWARE\\Velom\\VelomPrintDiag\\Diagnostics", "ProcmonDiagnosticEnabled", "boolean:true")
            self.assertTrue(self.run_tool("counters", "show", "x", "--json", *store).document["published"])


if __name__ == "__main__":
    harness.main()
