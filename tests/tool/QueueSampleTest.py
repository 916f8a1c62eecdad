"""queue list and sample: the sample queues are made, listed, shown and taken away again, and the registry view agrees."""

import harness
from harness import DONE


class QueueSampleTest(harness.ToolTest):
    def setUp(self):
        super().setUp()
        self.store = () if harness.WINDOWS else ("--store", self.folder / "store.db")
        self.addCleanup(self.queue, "sample", "--remove")

    def queue(self, *arguments, expect=DONE):
        return self.run_tool("queue", *arguments, *self.store, "--json", expect=expect).document

    def names(self):
        return {queue["name"]: queue for queue in self.queue("list")["queues"] if "Q9 Sample" in queue["name"]}

    def test_the_sample_queues_come_and_go(self):
        self.assertEqual(self.names(), {})
        made = self.queue("sample")["queues"]
        self.assertEqual([queue["kind"] for queue in made], ["local", "local", "TCP/IP", "IPP", "connection"])
        self.assertTrue(all(queue["added"] for queue in made))
        listed = self.names()
        self.assertEqual(sorted(listed), sorted(queue["name"] for queue in made))
        for queue in made:
            self.assertEqual((listed[queue["name"]]["driver"], listed[queue["name"]]["port"]), (queue["driver"], queue["port"]))
            shown = self.queue("show", queue["name"])
            self.assertEqual(shown["driver"], queue["driver"])
        self.assertEqual({listed[queue["name"]]["kind"] for queue in made}, {"local", "IPP", "connection"})
        self.assertFalse(any(queue["added"] for queue in self.queue("sample")["queues"]))
        self.queue("sample", "--remove")
        self.assertEqual(self.names(), {})

    def test_the_registry_and_the_files_agree(self):
        if harness.WINDOWS:
            self.skipTest("the system's own folders are left alone")
        self.queue("sample")
        values = self.run_tool("reg", "list", "machine", "System\\CurrentControlSet\\Control\\Print\\Printers\\Q9 Sample TCP", *self.store)
        self.assertIn("X_192.0.2.10", values.text)
        files = {path.name for path in (self.folder / "store.db.spool" / "drivers" / "x64" / "3").iterdir()}
        self.assertLessEqual({"unidrv.dll", "q9_q9a.dll", "xkx000.ini", "q9_q9b.dll"}, files)
        self.assertEqual([path for path in (self.folder / "store.db.spool" / "drivers" / "x64").iterdir() if path.is_file()], [])
        self.queue("sample", "--remove")
        self.assertEqual(list((self.folder / "store.db.spool" / "drivers" / "x64" / "3").iterdir()), [])


if __name__ == "__main__":
    harness.main()
