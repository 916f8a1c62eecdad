"""debug show, set, categories and reload, on a store of the test's own."""

import harness
from harness import ANSWER_NO, BAD_INPUT, USAGE


class DebugTest(harness.ToolTest):
    def setUp(self):
        super().setUp()
        self.store = {} if harness.WINDOWS else {"Q9_STORE": str(self.folder / "store.db")}

    def tool(self, *arguments, **options):
        return self.run_tool("debug", *arguments, environment=self.store, **options)

    def settings(self):
        return {s["name"]: s for s in self.tool("show", "--json").document["settings"]}

    @harness.unittest.skipIf(harness.WINDOWS, "the machine's own settings stay as they are")
    def test_a_setting_is_stored_with_all_others_beside_it(self):
        answer = self.tool("show", "--json")
        self.assertFalse(answer.document["keyExists"])
        self.assertIn("these are the defaults", answer.remarks)
        before = self.settings()
        self.assertEqual(len(before), 68)
        self.assertEqual(before["PerfSessionTimeOut"],
                         {"name": "PerfSessionTimeOut", "kind": "number", "stored": False, "value": 2000})

        self.assertEqual(self.tool("set", "messagesenabled", "on").text,
                         "MessagesEnabled: on (0 processes told to read it)\n")
        after = self.settings()
        self.assertTrue(all(s["stored"] for s in after.values()))
        self.assertEqual({n for n in after if after[n]["value"] != before[n]["value"]} - set(SESSION), {"MessagesEnabled"})

    @harness.unittest.skipIf(harness.WINDOWS, "the machine's own settings stay as they are")
    def test_each_kind_takes_what_it_can_hold(self):
        for name, value, expected in (("ShowDate", "yes", True), ("ShowDate", "0", False), ("MaxMessageWidth", "0xFFFFFFFF", 4294967295),
                                      ("PerfAccountedForTime64", "-5", -5), ("LogFileName", "D:\\übrig.log", "D:\\übrig.log"),
                                      ("LogFileName", "", ""), ("ExcludedMsgCategories", "perf, flow", "perf, flow")):
            self.tool("set", "--", name, value)
            self.assertEqual(self.tool("show", name, "--json").document["settings"][0]["value"], expected)
        self.assertEqual(self.tool("show", "MaxMessageWidth").text, "4294967295\n")

    @harness.unittest.skipIf(harness.WINDOWS, "the machine's own settings stay as they are")
    def test_what_a_setting_cannot_hold_is_refused_and_nothing_stored(self):
        for name, value, message in (("ShowDate", "maybe", "a switch is on or off"), ("MaxMessageWidth", "4294967296", "not an integer"),
                                     ("MaxMessageWidth", "-1", "not an integer"), ("MaxMessageWidth", "0x", "not an integer"), ("MaxMessageWidth", "0x-1", "not an integer"),
                                     ("MaxMessageWidth", "7 ", "not an integer"), ("PerfLastOperationTime64", "9223372036854775808", "not an integer"),
                                     ("IncludedMsgCategories", "perf,bogus", "bogus: no such category"), ("NoSuch", "1", "no such setting")):
            answer = self.tool("set", "--json", "--", name, value, expect=BAD_INPUT)
            self.assertIn(message, answer.document["error"]["message"])
        self.assertFalse(self.tool("show", "--json").document["keyExists"])
        self.tool("show", "NoSuch", expect=BAD_INPUT)
        self.tool("set", "ShowDate", expect=USAGE)

    def test_categories_are_listed_with_their_masks(self):
        categories = self.tool("categories", "--json").document["categories"]
        self.assertEqual(len(categories), 64)
        self.assertIn({"name": "wfunivdll", "mask": "0x0004000000000000"}, categories)
        self.assertEqual(self.tool("categories").text.splitlines()[0].split(), ["errors", "0x1"])

    def test_reload_says_whether_it_reached_anybody(self):
        answer = self.tool("reload", "--process", "4294967295", "--json", expect=ANSWER_NO)
        self.assertEqual(answer.document["processesTold"], 0)


SESSION = ("PerfSessionStartTime64", "PerfSessionStartTimeBeforeUtilitiesDllAsSystemTime64", "PerfLastOperationTime64")

if __name__ == "__main__":
    harness.main()
