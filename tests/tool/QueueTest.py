"""queue show, data and settings: a queue of the system's own spooler, made where the spooler keeps it."""

import json
import uuid

import harness
from harness import ANSWER_NO, BAD_INPUT, REFUSED, USAGE

PRINT = "System\\CurrentControlSet\\Control\\Print\\"
MACHINE = "12"


class QueueTest(harness.ToolTest):
    def setUp(self):
        super().setUp()
        self.name = f"q9 tool {uuid.uuid4()}"
        keys = {f"Environments\\Windows x64\\Drivers\\Version-3\\{self.name}":
                {"Driver": "pdrv.dll", "Data File": "pmodel.gpd", "Configuration File": "pui.dll", "Version": "dword:3"},
                f"Printers\\{self.name}":
                {"Name": self.name, "Port": "LPT1:", "Printer Driver": self.name, "Print Processor": "winprint",
                 "Datatype": "RAW", "Attributes": "dword:64"}}
        for key, values in keys.items():
            self.addCleanup(self.run_any, "reg", "delete", MACHINE, PRINT + key, "--tree")
            for name, value in values.items():
                self.run_stored("reg", "set", MACHINE, PRINT + key, name, value)

    def run_stored(self, *arguments, **keywords):
        store = [] if harness.WINDOWS else ["--store", self.folder / "store.db"]
        return self.run_tool(*arguments, *store, **keywords)

    def run_any(self, *arguments):
        try:
            self.run_stored(*arguments)
        except AssertionError:
            pass

    def data(self, *arguments, **keywords):
        return self.run_stored("queue", "data", self.name, *arguments, **keywords)

    def settings(self, *arguments, **keywords):
        return self.run_stored("queue", "settings", self.name, *arguments, **keywords)

    def test_printer_data_is_written_listed_and_deleted(self):
        self.assertFalse(self.data("xModelId", "--json", expect=ANSWER_NO).document["exists"])
        for value in ("string:caf\u00e9", "dword:4294967295", "binary:00FF"):
            self.assertEqual(self.data("v", value).text.rstrip("\n"), self.data("V").text.rstrip("\n"))
        self.data("empty", "")
        self.assertEqual(self.data("empty").text, "string:\n")
        self.data("xModelId", "string:17")
        self.data("xProdUID", "string:UID")
        self.data("deep", "dword:1", "--key", "One\\Two")
        self.assertEqual({v["name"]: v["value"] for v in self.data("--json").document["values"]},
                         {"v": None, "empty": "", "xModelId": "17", "xProdUID": "UID"})
        self.assertEqual(self.data("--key", "One\\Two", "--json").document["values"][0]["value"], 1)
        document = self.run_stored("queue", "show", self.name, "--json").document
        expected = {"name": self.name, "driver": self.name, "port": "LPT1:", "modelId": "17", "productUniqueId": "UID",
                    "modelVersion": None, "remote": False, "mirrored": False, "deviceSettings": False}
        self.assertEqual({member: document[member] for member in expected}, expected)
        if not harness.WINDOWS:  # Wine's spooler neither lists keys nor deletes values
            self.assertIn("One", self.data("--keys", "--json").document["keys"])
            self.assertTrue(self.data("v", "--delete", "--json").document["deleted"])
            self.assertFalse(self.data("v", "--delete", "--json", expect=ANSWER_NO).document["deleted"])

    def test_stored_settings_are_changed_and_reset(self):
        self.assertEqual(self.settings("show", "--json", expect=ANSWER_NO).document["stored"], False)
        self.settings("set", "1/feature:258", "integer:5")
        self.settings("set", "1/feature:259", "string:caf\u00e9")
        document = self.settings("--json").document
        values = [a["value"]["value"] for a in document["nameSpaces"][0]["attributes"]]
        self.assertEqual((document["form"], values), ("persistent", [5, "caf\u00e9"]))
        # The stored value is the very block that settings build makes.
        block = bytes.fromhex(self.data("VlmDeviceSettings", "--json").document["bytes"])
        self.run_tool("settings", "build", self.file("s.json", json.dumps(document)), "-o", self.folder / "s.bin")
        self.assertEqual(self.file("s.bin").read_bytes(), block)
        self.assertTrue(self.run_stored("queue", "show", self.name, "--json").document["deviceSettings"])
        self.assertTrue(self.settings("reset", "--json").document["deleted"])
        self.settings("reset", expect=ANSWER_NO)

    def test_what_is_absent_or_wrong_says_so(self):
        for verb in (("show", "none"), ("data", "none"), ("settings", "none"), ("settings", "none", "reset")):
            self.run_stored("queue", *verb, expect=REFUSED)
        for arguments in (("set",), ("set", "1/feature:1"), ("show", "1/feature:1"), ("delete",)):
            self.settings(*arguments, expect=USAGE)
        for arguments in (("--delete",), ("v", "dword:1", "--delete"), ("v", "--keys"), ("", "dword:1")):
            self.data(*arguments, expect=USAGE)
        for arguments in (("set", "feature", "integer:5"), ("set", "1/feature:258", "integer:x")):
            self.settings(*arguments, expect=BAD_INPUT)
        self.data("v", "dword:x", expect=BAD_INPUT)
        self.data("VlmDeviceSettings", "binary:00112233")
        self.settings("show", expect=BAD_INPUT)


if __name__ == "__main__":
    harness.main()
