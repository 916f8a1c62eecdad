"""port: ports added, listed and shown."""

import harness
from harness import REFUSED, USAGE


class PortTest(harness.ToolTest):
    def setUp(self):
        super().setUp()
        if harness.WINDOWS:
            self.skipTest("the system's own spooler is left alone")
        self.store = ("--store", self.folder / "store.db")

    def port(self, *arguments, **keywords):
        return self.run_tool("port", *arguments, *self.store, **keywords)

    def test_tcp_ports_are_added_and_shown(self):
        self.assertEqual(self.port("add", "10.1.2.3").text, "added X_10.1.2.3\n")
        self.assertEqual(self.port("add", "10.1.2.3", "--json").document["added"], "X_10.1.2.3_1")
        self.assertEqual(self.port("add", "printer.example", "--name", "Büro").text, "added Büro\n")
        shown = self.port("show", "Büro", "--json").document
        self.assertEqual(shown, {
            "schemaVersion": 1, "name": "Büro", "monitor": "TCPMON.DLL", "description": "Standard TCP/IP Port", "address": "printer.example",
            "protocol": "raw", "portNumber": 9100, "queue": "",
            "snmp": {"enabled": True, "community": "public", "deviceIndex": 1}})
        self.assertIn("SNMP         community public, device 1\n", self.port("show", "X_10.1.2.3").text)
        names = {port["name"]: port["description"] for port in self.port("list", "--json").document["ports"]}
        for name in ("X_10.1.2.3", "X_10.1.2.3_1", "Büro"):
            self.assertEqual(names.get(name), "Standard TCP/IP Port", name)

    def test_local_ports_are_added_once(self):
        self.port("add", "C:\\out.prn", "--local")
        self.assertIn("Local Monitor", self.port("show", "C:\\out.prn").text)
        error = self.port("add", "C:\\out.prn", "--local", "--json", expect=REFUSED).document["error"]
        self.assertEqual(error["class"], "ExceptionPrinterFailure")
        self.assertIn("(error 183)", error["message"])

    def test_what_cannot_be_is_refused(self):
        for arguments, status in (
                (("show", "nowhere"), REFUSED), (("add", "h", "--type", "wsd"), REFUSED), (("add", "h", "--type", "lpr"), REFUSED),
                (("add", "h" * 49), REFUSED), (("add", "h", "--name", "n" * 64), REFUSED), (("add", ""), USAGE),
                (("add", "h", "--local", "--name", "n"), USAGE), (("add",), USAGE), (("add", "h", "--type", "usb"), USAGE)):
            with self.subTest(arguments=arguments):
                self.port(*arguments, expect=status)
        log = self.port("add", "h", "--type", "lpr", "--log", "utils", expect=REFUSED).remarks
        self.assertIn("AddTCPPort does not currently support LPR, please update the code before using!", log)


if __name__ == "__main__":
    harness.main()
