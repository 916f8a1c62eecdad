"""driver: installed drivers shown, their files, and the state of their installation, on the sample queues."""

import harness
from harness import REFUSED, USAGE

QUEUE, REMOTE = "Q9 Sample PCL", "\\\\Q9SERVER\\Q9 Sample Remote"


class DriverTest(harness.ToolTest):
    def setUp(self):
        super().setUp()
        if harness.WINDOWS:
            self.skipTest("the system's own spooler is left alone")
        self.store = ("--store", self.folder / "store.db")

    def driver(self, *arguments, **keywords):
        return self.run_tool("driver", *arguments, *self.store, **keywords)

    def test_without_queues_there_is_nothing_to_show(self):
        self.assertEqual(self.driver("show").text, "No driver is installed.\n")
        self.assertEqual(self.driver("show", "--json").document["drivers"], [])
        for arguments, status in ((("show", "none"), REFUSED), (("files", "none"), REFUSED), (("state", "none"), REFUSED),
                                  (("state", "none", "--set", "phase2cdone"), USAGE), (("files",), USAGE)):
            with self.subTest(arguments=arguments):
                self.driver(*arguments, expect=status)
        error = self.driver("show", "none", "--json", expect=REFUSED).document["error"]
        self.assertEqual(error["class"], "ExceptionPrintDriverFailure")

    def test_a_spooler_that_refuses_is_told_with_its_reason(self):
        store = ("--store", self.file("none", b"x" * 5000))
        for words in (("driver", "show"), ("queue", "list"), ("port", "list"), ("reg", "list", "5", "")):
            self.assertIn("1009", self.run_tool(*words, *store, expect=REFUSED).remarks, words)

    def test_the_sample_queues_drivers_are_shown(self):
        self.run_tool("queue", "sample", *self.store)
        drivers = {driver["name"] for driver in self.driver("show", "--json").document["drivers"]}
        self.assertEqual(drivers, {"Q9 Sample PCL6 Driver", "Q9 Sample PS Driver"})
        shown = self.driver("show", QUEUE, "--json").document
        folder = shown.pop("folder")
        self.assertEqual(shown, {
            "schemaVersion": 1, "queue": QUEUE, "name": "Q9 Sample PCL6 Driver", "version": "unknown", "language": "PCL XL",
            "color": "color", "edition": "the family's own", "printProcessor": "winprint", "baseDriver": "unidrv, unidrvui",
            "colorSystem": "yes", "capabilities": "0x0000000111022104", "installation": "phase2bdone"})
        self.assertIn("baseDriver      pscript5, ps5ui\n", self.driver("show", "Q9 Sample PostScript").text)

        document = self.driver("files", QUEUE, "--json").document
        files = {file["type"]: file for file in document["files"]}
        self.assertEqual({kind for kind in range(33) if kind not in files}, {4, 8, 11, 13, 21, 22, 29, 30})
        for kind, name, there in ((0, "xkx000.gpd", True), (25, "xkx000.bud", True), (26, "q9_q9a.dll", True),
                                  (27, "q9q9a073.cab", True), (28, "q9txt073.cab", True), (15, "q9jobt073.exe", False)):
            self.assertEqual((files[kind]["path"], files[kind]["there"]), (folder + "\\" + name, there))
        self.assertEqual(len(document["dependentFiles"]), 13)
        self.assertFalse(document["productCabExtracted"])
        self.assertIn("27    product CAB", self.driver("files", QUEUE).text)

    def test_the_state_is_stored_where_the_data_is_ones_own(self):
        self.run_tool("queue", "sample", *self.store)
        self.assertEqual(self.driver("state", QUEUE).text, "phase2bdone\n")
        self.assertEqual(self.driver("state", QUEUE, "--set", "phase1done", "--json").document["installation"], "phase1done")
        self.assertEqual(self.driver("state", QUEUE).text, "phase1done\n")
        log = self.driver("state", REMOTE, "--set", "phase1done", "--log", "all", expect=REFUSED).remarks
        self.assertIn("****SetInstallationState(Phase1Done) called for PrinterDriverData.", log)
        self.assertIn("SetInstallationState() failed writing PrinterData!", log)


if __name__ == "__main__":
    harness.main()
