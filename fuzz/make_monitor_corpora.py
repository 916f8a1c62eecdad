#!/usr/bin/env python3
"""Writes the seeds of the port monitor's fuzz targets into fuzz/corpus/monitor_request and monitor_session."""

import pathlib
import random
import struct

CORPUS = pathlib.Path(__file__).resolve().parent / "corpus"
READ, WRITE, BOTH = 0x20019, 0x20006, 0x2001F


def text(string):
    return string.encode("utf-16-le") + b"\0\0" if string else b""


def record(root, operation, mask, path="", name="", third="", data=b"", handle=0):
    body, offsets = b"", []
    for part in (text(path), text(name), text(third)):
        offsets.append(48 + len(body) if part else 0xFFFFFFFF)
        body += part
    where = 48 + len(body) if data else 0xFFFFFFFF
    header = struct.pack("<IHHQHHIIIIIII", 0xD15EA5ED, root, 0, handle, operation, 0, mask, *offsets, len(data), where, 0)
    return header + body + data + b"\0\0"


def value_list(*names):
    entries, texts = b"", b""
    for name in names:
        entries += struct.pack("<Q24x", 32 * len(names) + len(texts))
        texts += text(name)
    return entries + texts


SID = "S-1-5-21-1-2-3-1001"
REQUESTS = {
    "count": record(5, 11, READ),
    "create": record(5, 1, 0xF003F, "a\\b"),
    "open_user": record(8, 2, READ, "", "", SID),
    "close": record(0, 3, WRITE, handle=0x4000000000000001),
    "get_long": record(5, 5, READ, "a", "v"),
    "set_boolean": record(4, 14, WRITE, "a", "v", "", b"\1"),
    "set_long": record(1, 15, WRITE, SID + "\\a", "v", "", b"\1\2\3\4"),
    "set_long64": record(6, 16, WRITE, "a", "v", SID, bytes(8)),
    "set_string": record(2, 17, WRITE, "a", "v", SID, text("text")),
    "set_bytes": record(9, 18, WRITE, "Software\\x", "", SID, b"bytes"),
    "rename": record(5, 20, WRITE, "a", "old", "", text("new")),
    "delete_tree": record(5, 22, BOTH, "a\\b"),
    "delete_tree_handle": record(0, 22, WRITE, "a", handle=0x4000000000000001),
    "copy": record(3, 0, READ, "a", "", "b\\c"),
    "many": record(5, 27, READ, "a", "", "", value_list("one", "two")),
    "increase": record(5, 29, BOTH, "a", "v", "", b"\7\0\0\0"),
    "default_user": record(7, 15, WRITE, "a", "VRCheck", ".DEFAULT", bytes(4)),
    "debug": record(3, 15, WRITE, "KestrixDebugConfig", "v", "", bytes(4)),
}


def write(folder, name, contents):
    (CORPUS / folder).mkdir(parents=True, exist_ok=True)
    (CORPUS / folder / name).write_bytes(contents)


for name, contents in REQUESTS.items():
    write("monitor_request", name, contents)
chance = random.Random(1)
for number in range(24):
    write("monitor_session", f"random_{number}", bytes(chance.randrange(256) for _ in range(60 * (number + 1))))
# One caller, one channel: create, set, read, close through the same handle.
write("monitor_session", "one_key", bytes([0, 0, 0, 2, 1, 1, 5, 2, 1, 0, 0, 2, 15, 0, 12, 1, 1, 1, 3, 1,
                                           0, 0, 2, 5, 0, 12, 1, 1, 1, 1, 0, 0, 2, 3, 0, 12, 1, 1, 1]))
