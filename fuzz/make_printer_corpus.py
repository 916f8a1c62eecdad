#!/usr/bin/env python3
"""Writes the seeds of the printer data's fuzz target into fuzz/corpus/printer_data."""

import pathlib
import struct
import zlib

VALUES, BLOCKS, THROUGH = b"\0", b"\1", b"\xff"
SUCCESS, SMALL, MORE, ABSENT, GONE = 0, 2, 3, 4, 5
EXACT, ONE_MORE, HUGE, HALF_RANGE, OVER, HALF, WORD = range(7)


def data(status, size, content=b"", kind=1, word=0, pointers=()):
    """One answer to a read of a value, whose type is `kind`."""
    size_bytes = bytes([size]) + (struct.pack("<H", word) if size == WORD else b"")
    slots = b"".join(struct.pack("<Bh", slot, offset) for slot, offset in pointers)
    return bytes([status]) + size_bytes + bytes([kind, len(content)]) + content + bytes([len(pointers)]) + slots


def block(status, size, content=b"", word=0, pointers=()):
    """One answer to a read of a block, which has neither type nor count."""
    size_bytes = bytes([size]) + (struct.pack("<H", word) if size == WORD else b"")
    slots = b"".join(struct.pack("<Bh", slot, offset) for slot, offset in pointers)
    return bytes([status]) + size_bytes + bytes([len(content)]) + content + bytes([len(pointers)]) + slots


payload = b"payload!"
crc = payload + struct.pack("<I", zlib.crc32(payload))
uid = "UID\0".encode("utf-16-le")
text = "Name\0".encode("utf-16-le")
devmode = bytes(68) + struct.pack("<HH", 220, 0)
seeds = {
    "grows-for-ever": VALUES + data(MORE, ONE_MORE) * 12,
    "grows-twice": VALUES + data(MORE, ONE_MORE) * 2 + data(SUCCESS, EXACT, b"ab"),
    "huge": VALUES + data(MORE, HUGE) + data(MORE, HALF_RANGE) + data(MORE, OVER),
    "success-that-lies": VALUES + data(SUCCESS, HUGE) + data(SUCCESS, ONE_MORE),
    "crc": VALUES + data(ABSENT, EXACT) + data(MORE, WORD, word=len(crc)) + data(SUCCESS, EXACT, crc, kind=3),
    "texts": VALUES + THROUGH * 4 + data(MORE, WORD, word=len(uid)) + data(SUCCESS, EXACT, uid),
    "no-terminator": VALUES + THROUGH * 4 + data(MORE, WORD, word=7) + data(SUCCESS, EXACT, b"A\0B\0C\0D"),
    "gone": VALUES + data(GONE, EXACT) * 8,
    "block": BLOCKS + THROUGH * 2 + block(SMALL, WORD, word=160) + block(SUCCESS, EXACT, bytes(136) + text, pointers=[(1, 136), (3, 136)]),
    "wild": BLOCKS + THROUGH * 2 + block(SMALL, WORD, word=160) + block(SUCCESS, EXACT, pointers=[(1, -8), (3, 159), (4, 161), (7, 32000)]),
    "no-devmode-end": BLOCKS + THROUGH * 10 + block(SMALL, WORD, word=84) + block(SUCCESS, EXACT, bytes(8) + devmode, pointers=[(0, 8)]),
    "shrinks": BLOCKS + (block(SMALL, WORD, word=160) + block(SUCCESS, HALF, pointers=[(1, 158)])) * 8,
}
folder = pathlib.Path(__file__).resolve().parent / "corpus" / "printer_data"
folder.mkdir(parents=True, exist_ok=True)
for name, contents in seeds.items():
    (folder / name).write_bytes(contents)
