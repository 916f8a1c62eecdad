#!/usr/bin/env python3
"""Writes the seeds of spooler_block_fuzz (sound blocks of each kind, and blocks that lie) and spooler_command_fuzz."""

import pathlib
import struct

CORPUS = pathlib.Path(__file__).resolve().parent / "corpus"


def seed(kind, records, pointers, words, tail=b""):
    """`words`: the block's 64-bit words; `pointers`: which of them are pointers, given as offsets into the block."""
    mask = sum(1 << i for i in pointers)
    return struct.pack("<BBQ", kind, records, mask) + struct.pack(f"<{len(words)}Q", *words) + tail


def text(value):
    data = value.encode("utf-16-le") + b"\0\0"
    return data + b"\0" * (-len(data) % 8)


def step(what, room, data):
    """One step of a command input: what is done, the room for an answer in 8 bytes, and the input in 4."""
    data += b"\0" * (-len(data) % 4)
    return struct.pack("<BBB", what, room, len(data) // 4) + data


def port_record(name, host, protocol=1, queue=""):
    record = bytearray(964)
    for offset, value in ((0, name), (144, host), (242, "public"), (312, queue)):
        data = value.encode("utf-16-le")
        record[offset:offset + len(data)] = data
    struct.pack_into("<III", record, 128, 1, protocol, 964)
    struct.pack_into("<III", record, 952, 9100, 1, 1)
    return bytes(record)


def write_commands():
    add, delete, config, info, exists, host, ui = (2 * i for i in (0, 1, 2, 3, 5, 6, 8))
    local, port = text("out.prn"), port_record("X_1", "192.0.2.1")
    lpr = port_record("X_2", "host", 2, "raw")
    gone = "X_1".encode("utf-16-le").ljust(228, b"\0") + b"\1\0\0\0" + b"\0" * 4
    data = b"".join(part.encode("utf-16-le").ljust(24, b"\0") for part in ("A\\B", "value")) + b"\1\2\3" + b"\0" * 21
    seeds = {
        "local": step(add, 0, local) + step(add, 0, local) + step(exists, 0, local) + step(delete, 0, local),
        "tcp": step(add | 1, 0, port) + step(add | 1, 0, port) + step(config | 1, 0, port) + step(delete | 1, 0, gone),
        "lpr": step(add | 1, 0, lpr) + step(info | 1, 200, b"\0" * 128 + b"\1\0\0\0"),
        "short": step(add | 1, 0, port[:-4]) + step(host | 1, 8, b"") + step(ui, 1, b"") + step(ui | 1, 8, b""),
        "no_end": step(add | 1, 0, b"a" * 128 + port[128:]) + step(add, 0, b"a\0" * 400),
        "data": step(255, 0, data),
    }
    folder = CORPUS / "spooler_command"
    folder.mkdir(parents=True, exist_ok=True)
    for name, content in seeds.items():
        (folder / name).write_bytes(content)


def main():
    write_commands()
    folder = CORPUS / "spooler_block"
    folder.mkdir(parents=True, exist_ok=True)
    queue = text("Q9 Queue")
    mode = b"\0" * 68 + struct.pack("<HH", 220, 0) + b"\0" * 148 + b"\0" * 4
    printer2 = [0] + [136] * 6 + [136 + len(queue)] + [136] * 4 + [0] + [0x40, 1, 0, 0]
    driver8 = [3] + [200] * 6 + [216, 200, 200, 216] + [0, 0] + [200] * 6 + [216, 200, 0, 216, 0, 0]
    files = "a.ini\0b.cfg\0\0".encode("utf-16-le") + b"\0" * 6
    seeds = {
        "printer_2": seed(0, 1, range(1, 12), printer2, queue + mode),
        "printer_2_mode_lies": seed(0, 1, range(1, 12), printer2, queue + mode[:68] + b"\xff\xff\xff\xff" + mode[72:]),
        "printer_2_no_end": seed(0, 1, range(1, 12), printer2, b"q" * len(queue) + mode),
        "printer_5": seed(1, 2, (0, 1, 4, 5), [64, 64, 0x40, 0, 64, 64, 0x10, 0], queue),
        "printer_8": seed(2, 1, (0,), [8], mode),
        "driver_8": seed(3, 1, [*range(1, 11), *range(13, 21), 22], driver8, text("model") + b"\0" * 4 + files),
        "driver_8_list_open": seed(3, 1, [*range(1, 11), *range(13, 21), 22], driver8, text("model") + b"\0" * 4 + files[:24]),
        "port_2": seed(4, 1, (0, 1, 2), [32, 32, 32, 3], text("LPT1:")),
        "values": seed(5, 1, (0, 2), [32, 0x30000000A, 48, 3], text("xPDL") + b"\0" * 4 + b"\1\2\3" + b"\0" * 5),
        "values_size_lies": seed(5, 1, (0, 2), [32, 0x30000000A, 48, 0xFFFFFFFF], text("xPDL") + b"\0" * 12),
        "wild": seed(4, 1, (), [2**64 - 2, 1, 2**63, 0]),
        "empty": seed(0, 0, (), []),
        "keys": seed(4, 7, (), [], "A\0B\0\0".encode("utf-16-le") + b"\0" * 6),
    }
    for name, data in seeds.items():
        (folder / name).write_bytes(data)


if __name__ == "__main__":
    main()
