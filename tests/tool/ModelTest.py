"""model, with the sample product, and its unpacking by several processes."""

import pathlib
import random
import subprocess
import sys
import time
import unittest

import harness
from harness import ANSWER_NO, BAD_INPUT, REFUSED, ROOT, USAGE, WINDOWS

PRODUCT = ROOT / "examples" / "product"
MAP, COMMANDS, CAB = PRODUCT / "velom.map", PRODUCT / "commands.pdl", PRODUCT / "q9q9a073.cab"
sys.path.insert(0, str(PRODUCT))
import make_product  # noqa: E402  the sample's generator


class ModelTest(harness.ToolTest):
    def test_the_sample_is_what_its_generator_makes(self):
        self.assertEqual(MAP.read_bytes(), make_product.map_file(200))
        self.assertEqual(COMMANDS.read_bytes(), make_product.command_file())
        self.assertEqual(len(list(make_product.models(100000))), 100000)

    def test_models_are_listed_found_and_shown(self):
        models = self.run_tool("model", "list", "--map", MAP, "--json").document["models"]
        self.assertEqual([m["model"] for m in models], [model for _, model, _ in make_product.models(200)])
        self.assertEqual((models[0]["color"], models[0]["languages"]), ("color", ["pscript", "pcl6"]))
        found = self.run_tool("model", "find", "kx 101", "--map", MAP, "--json").document["models"]
        self.assertEqual(len(found), 10)
        self.run_tool("model", "find", "nobody", "--map", MAP, expect=ANSWER_NO)
        shown = self.run_tool("model", "show", "1004 Velom", "--map", MAP, expect=ANSWER_NO)
        self.assertIn("no such model", shown.remarks)
        shown = self.run_tool("model", "show", "Velom KX 1004", "--map", MAP, "--json")
        self.assertEqual((shown.document["exists"], shown.document["model"]), (True, "KX 1004"))
        self.assertEqual(self.run_tool("model", "show", "KX 1004", "FAMPATH", "--map", MAP).text, "kx000\n")
        self.assertEqual(self.run_tool("model", "show", "KX 1004", "DRIVERCOLLATION", "--map", MAP).text, "Yes\n")
        self.run_tool("model", "show", "KX 1004", "SMARTUSB", "--map", MAP, expect=ANSWER_NO)
        looked = self.run_tool("model", "lookup", "1.3.6.1.4.1.99999.8.1.5.2.77", "--map", MAP, "--json")
        self.assertEqual(looked.document["model"], "KX 1004")
        self.run_tool("model", "lookup", "1.3.6.1.4.1.99999.8.1.5", "--map", MAP, expect=ANSWER_NO)

    def test_commands_are_printed_as_bytes(self):
        for pdl, feature, option, numbers, expected in (
                ("PCL5", "Sides", "LongEdge", [], "1B266C3153"), ("PCL6", "Sides", "LongEdge", [], "C001F835"),
                ("PCL6", "MediaSize", "Custom", ["--x", "2100", "--y", "2970"], "D13408" "9A0B" "F82F" "C002" "F830"),
                ("PCL5", "Copies", "", ["--x", "3"], "3358")):
            answer = self.run_tool("model", "pdl", feature, option, "--pdl", pdl, "--file", COMMANDS, *numbers, "--json")
            self.assertEqual(answer.document["bytes"], expected, (pdl, feature, option))
        self.run_tool("model", "pdl", "MediaSize", "Custom", "--pdl", "PCL5", "--file", COMMANDS, expect=ANSWER_NO)
        listed = self.run_tool("model", "pdl", "--file", COMMANDS, "--json").document["instructions"]
        self.assertIn({"feature": "Sides", "option": "LongEdge", "languages": "PCL6",
                       "instruction": "&eDuplexVerticalBinding;&DuplexPageMode;"}, listed)
        target = self.folder / "bytes"
        self.run_tool("model", "pdl", "Sides", "LongEdge", "--file", COMMANDS, "-o", target)
        self.assertEqual(target.read_bytes(), bytes.fromhex("C001F835"))

    def test_a_folder_of_product_data_answers_for_its_models(self):
        family = self.folder / "Product Data" / "kx000" / "V5.0"
        family.mkdir(parents=True)
        (self.folder / "Product Data" / "velom.map").write_bytes(MAP.read_bytes())
        (family / "commands.pdl").write_bytes(COMMANDS.read_bytes())
        self.assertEqual(len(self.run_tool("model", "list", "--folder", self.folder, "--json").document["models"]), 200)
        answer = self.run_tool("model", "pdl", "Page", "Begin", "--folder", self.folder, "--model", "KX 1000C")
        self.assertEqual(answer.text, "43\n")
        self.run_tool("model", "pdl", "Page", "Begin", "--folder", self.folder, "--model", "KX 1199", expect=ANSWER_NO)
        self.run_tool("model", "pdl", "Page", "Begin", "--folder", self.folder, "--model", "nobody", expect=BAD_INPUT)

    def test_what_does_not_fit_is_refused(self):
        self.run_tool("model", "list", expect=USAGE)
        self.run_tool("model", "list", "--map", MAP, "--folder", self.folder, expect=USAGE)
        self.run_tool("model", "list", "--map", self.folder / "absent", expect=REFUSED)
        self.run_tool("model", "list", "--folder", self.folder / "absent", expect=REFUSED)
        self.run_tool("model", "list", "--folder", self.folder, expect=BAD_INPUT)
        self.run_tool("model", "list", "--map", self.file("long.map", b"X:" + b"a" * 70000), expect=BAD_INPUT)
        self.run_tool("model", "pdl", "--file", self.file("bad.pdl", b"<FeatureSet>"), expect=BAD_INPUT)
        self.run_tool("model", "pdl", "A", "B", "--map", MAP, expect=USAGE)


@unittest.skipIf(WINDOWS, "the system's own spooler and drivers are not for trying")
class UnpackTest(harness.ToolTest):
    QUEUE = "Q9 Sample PCL"

    def setUp(self):
        super().setUp()
        self.store = ["--store", self.folder / "store"]
        self.run_tool(*self.store, "queue", "sample")
        files = self.run_tool(*self.store, "driver", "files", self.QUEUE, "--json").document
        paths = [pathlib.Path(p.replace("\\", "/")) for p in self.texts(files) if p.endswith("q9q9a073.cab")]
        self.cab = paths[0]
        self.cab.write_bytes(CAB.read_bytes())
        self.root = self.cab.parent / "Velom" / "Product Data"

    def texts(self, value):
        if isinstance(value, dict):
            value = list(value.values())
        if isinstance(value, list):
            return [text for item in value for text in self.texts(item)]
        return [value] if isinstance(value, str) else []

    def check_whole(self):
        """Every file there is whole: as the product has it."""
        for path in self.root.rglob("*.jcp"):
            self.assertRegex(path.read_text(), r"^<Capabilities model='[^']+'/>\n$")
        for path in self.root.rglob("common.htn"):
            self.assertEqual(path.read_bytes(), bytes(range(256)))

    def start(self, *words):
        return subprocess.Popen([str(harness.TOOL), *map(str, self.store), "model", *words], env=self.environment,
                                stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def test_a_queues_product_is_unpacked_and_answers(self):
        self.run_tool(*self.store, "model", "list", "--queue", self.QUEUE, expect=BAD_INPUT)
        answer = self.run_tool(*self.store, "model", "unpack", "--queue", self.QUEUE, "--json").document
        self.assertEqual((answer["unpacked"], answer["models"]), (True, 200))
        self.assertEqual(len(list(self.root.rglob("*.jcp"))), 200)
        self.assertEqual(len(list(self.root.rglob("*.cab"))), 0)
        shown = self.run_tool(*self.store, "model", "show", "--queue", self.QUEUE, "--json").document
        self.assertEqual(shown["model"], "KX 1002C")
        answer = self.run_tool(*self.store, "model", "pdl", "Sides", "OneSided", "--queue", self.QUEUE)
        self.assertEqual(answer.text, "C000F834\n")
        self.cab.write_bytes(make_product.cabinet([("velom.map", b"X:A=1"), ("..\\evil", b"x")]))
        self.run_tool(*self.store, "model", "unpack", "--queue", self.QUEUE, expect=ANSWER_NO)
        self.assertEqual((self.root / "velom.map").read_bytes(), MAP.read_bytes())

    def test_several_processes_unpack_and_tidy_at_once(self):
        other = self.root / "mine00"  # six letters: no family's folder
        other.mkdir(parents=True)
        (other / "kept").write_bytes(b"kept")
        running = [self.start("unpack", "--queue", self.QUEUE) for _ in range(2)] + [self.start("tidy")]
        for process in running:
            self.assertIn(process.wait(timeout=60), (0, 1))
        self.check_whole()
        self.run_tool(*self.store, "model", "unpack", "--queue", self.QUEUE)
        self.assertEqual(len(list(self.root.rglob("*.jcp"))), 200)
        self.assertEqual((other / "kept").read_bytes(), b"kept")

    def test_the_next_one_finishes_what_a_killed_one_began(self):
        started = time.monotonic()
        self.run_tool(*self.store, "model", "unpack", "--queue", self.QUEUE)
        longest = time.monotonic() - started
        chance = random.Random(5)
        for _ in range(8):
            process = self.start("unpack", "--queue", self.QUEUE)
            time.sleep(chance.random() * longest)
            process.kill()
            process.wait()
            self.check_whole()
        self.run_tool(*self.store, "model", "unpack", "--queue", self.QUEUE)
        self.check_whole()
        self.assertEqual(len(list(self.root.rglob("*.jcp"))), 200)
        self.assertEqual([p.name for p in self.root.parent.iterdir()], ["Product Data"])


if __name__ == "__main__":
    harness.main()
