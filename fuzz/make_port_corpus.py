#!/usr/bin/env python3
"""Writes the seeds of the fuzz target for port configurations into fuzz/corpus/port_reply."""

import pathlib
import struct

CORPUS = pathlib.Path(__file__).resolve().parent / "corpus/port_reply"


def text(string, units):
    return string.encode("utf-16-le").ljust(2 * units, b"\0")


def record(name, address, protocol=1, version=1, size=964, queue="", ip="", rest=b""):
    return (text(name, 64) + struct.pack("<4I", version, protocol, size, 0) + text(address, 49) + text("public", 33)
            + struct.pack("<I", 0) + text(queue, 33) + text(ip, 16) + rest.ljust(542, b"\0") + struct.pack("<3I", 9100, 1, 1))


SEEDS = {
    "raw": record("X_10.1.2.3", "10.1.2.3", ip="10.1.2.3"),
    "lpr": record("Office", "printer.example", 2, queue="raw"),
    "full_texts": record("n" * 63, "h" * 48, queue="q" * 32, ip="255.255.255.255", rest=b"\xff" * 542),
    "other_protocol": record("P", "h", 3),
    "other_version": record("P", "h", version=2),
    "lying_size": record("P", "h", size=0xFFFFFFFF),
    "no_terminator": record("n" * 64, "h" * 49),
    "short": record("P", "h")[:963],
    "empty": b"",
}

if __name__ == "__main__":
    CORPUS.mkdir(parents=True, exist_ok=True)
    for name, data in SEEDS.items():
        (CORPUS / name).write_bytes(data)
