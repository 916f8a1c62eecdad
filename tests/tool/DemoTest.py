"""The demo, and settings that travel between the two systems."""

import json
import subprocess
import sys

import harness
from harness import ANSWER_NO, BAD_INPUT, DATA, ROOT

SAMPLE = ROOT / "examples" / "data" / "queue-settings.bin"


class DemoTest(harness.ToolTest):
    def test_every_check_of_the_demo_holds_and_its_block_is_kept(self):
        kept = self.folder / "kept.bin"
        text = self.run_tool("demo", "-o", kept).text
        self.assertTrue(text.endswith("\nEvery check holds.\n"), text)
        self.assertNotIn("FAILED", text)
        document = self.run_tool("demo", "--json").document
        self.assertEqual((document["ok"], len(document["steps"])), (True, 11))
        self.assertTrue(all(step["checks"] for step in document["steps"]))
        changed = self.run_tool("settings", "diff", SAMPLE, kept, expect=ANSWER_NO).text
        self.assertEqual(changed, "~ 1/feature:258  option:value:3 -> option:value:7\n")
        # On its own result it changes the attribute once more.
        self.assertIn("from option:value:7 to option:value:8", self.run_tool("demo", "--from", kept).text)

    def test_a_check_that_fails_is_told_and_ends_with_status_1(self):
        document = {"form": "namespaces", "driverVersion": "1.0.0.0", "nameSpaces": []}
        path = self.folder / "empty.bin"
        self.run_tool("settings", "build", "-", "-o", path, stdin=json.dumps(document).encode())
        answer = self.run_tool("demo", "--from", path, "--json", expect=ANSWER_NO).document
        self.assertFalse(answer["ok"])
        self.assertEqual([c["check"] for s in answer["steps"] for c in s["checks"] if not c["ok"]][0], "the attribute is there")
        self.run_tool("demo", "--from", self.file("noise", b"noise" * 9), expect=BAD_INPUT)

    def test_each_system_reads_what_either_has_written(self):
        """One settings document as a block of each system's compressor: other bytes, the same settings inside."""
        states = []
        for system in ("windows", "linux"):
            block = self.file("block", (DATA / f"queue-settings.{system}.bin").read_bytes())
            self.run_tool("settings", "verify", block)
            self.assertEqual(self.run_tool("settings", "diff", SAMPLE, block, "--json").document["same"], True)
            state = self.file("state", block.read_bytes()[16:])
            states.append(self.run_tool("state", "unpack", state, "-o", "-", plain=False).out)
            # Written again by this system, the state inside the block is the same, byte for byte.
            self.run_tool("settings", "set", block, "1/feature:261", "integer:2")
            self.run_tool("settings", "set", block, "1/feature:261", "integer:1")
            state.write_bytes(block.read_bytes()[16:])
            states.append(self.run_tool("state", "unpack", state, "-o", "-", plain=False).out)
        self.assertEqual(len(set(states)), 1)
        spaces = self.folder / "spaces"
        text = self.run_tool("settings", "show", SAMPLE, "--json").out
        self.run_tool("settings", "build", "-", "--as", "namespaces", "-o", spaces, stdin=text)
        self.assertTrue(spaces.read_bytes() == states[0])

    def test_the_sample_is_what_its_script_makes(self):
        made = subprocess.run([sys.executable, str(ROOT / "examples" / "data" / "make_queue_settings.py")], check=True,
                              capture_output=True).stdout
        path = self.folder / "made.bin"
        self.run_tool("settings", "build", "-", "-o", path, stdin=made)
        self.run_tool("settings", "diff", SAMPLE, path)


if __name__ == "__main__":
    harness.main()
