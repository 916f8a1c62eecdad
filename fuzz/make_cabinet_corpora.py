#!/usr/bin/env python3
"""Writes the seed corpora of cabinet_image_fuzz and compressed_state_fuzz: python3 fuzz/make_cabinet_corpora.py

Everything is built here from the published format and zlib, independently of the library.
"""
import pathlib
import struct
import zlib

CORPUS = pathlib.Path(__file__).resolve().parent / "corpus"
TEXT = b"The quick brown fox jumps over the lazy dog. " * 20
NOISE = bytes((i * i * 7 + i // 3 * 31) & 255 for i in range(700))


def raw_deflate(data, level=6, strategy=zlib.Z_DEFAULT_STRATEGY, history=b""):
    args = (level, zlib.DEFLATED, -15, 9, strategy)
    engine = zlib.compressobj(*args, zdict=history) if history else zlib.compressobj(*args)
    return engine.compress(data) + engine.flush()


def checksum(data):
    total = 0
    whole = len(data) & ~3
    for (word,) in struct.iter_unpack("<I", data[:whole]):
        total ^= word
    return total ^ int.from_bytes(data[whole:], "big")


def blocks(data, with_checksum=True, **how):
    result, history = b"", b""
    count = 0
    for start in range(0, len(data), 32768):
        part = data[start:start + 32768]
        body = b"CK" + raw_deflate(part, history=history, **how)
        sizes = struct.pack("<HH", len(body), len(part))
        result += struct.pack("<I", (checksum(body) ^ checksum(sizes)) if with_checksum else 0) + sizes + body
        history = part
        count += 1
    return count, result


def image(folders, files, padding=0):
    """folders: (count, blocks, type); files: (name, size, offset, folder)."""
    names = b"".join(struct.pack("<IIHHHH", size, offset, folder, 0x226C, 0x59BA, 0x20) + name + b"\0"
                     for name, size, offset, folder in files) + bytes(padding)
    place = 36 + 8 * len(folders) + len(names)
    table = data = b""
    for count, body, kind in folders:
        table += struct.pack("<IHH", place + len(data), count, kind)
        data += body
    size = place + len(data)
    head = struct.pack("<4sIIIIIBBHHHHH", b"MSCF", 0, size, 0, 36 + len(table), 0, 3, 1, len(folders), len(files), 0, 0, 0)
    return head + table + names + data


def single(data, **how):
    count, body = blocks(data, **how)
    return image([(count, body, 1)], [(b"//Compressed-Data//", len(data), 0, 0)])


def footer(size, level=-1, kind=2):
    return struct.pack(">BiI", kind, level, size) + b"COM5"


def wrapped(data):
    stream = zlib.compress(data)
    body = b"CK" + stream[2:]
    return image([(1, struct.pack("<IHH", 0, len(body), len(data)) + body, 1)],
                 [(b"//Uncompressed-Data//", len(data), 0, 0)], padding=1)


def main():
    stored = (1, struct.pack("<IHH", 0, 700, 700) + NOISE, 0)
    images = {
        "empty": image([(0, b"", 1)], [(b"//Compressed-Data//", 0, 0, 0)]),
        "one_byte": single(b"a"),
        "text_fixed": single(TEXT, strategy=zlib.Z_FIXED),
        "text_dynamic": single(TEXT + bytes(range(256)) + TEXT),
        "huffman_only": single(TEXT, strategy=zlib.Z_HUFFMAN_ONLY),
        "stored_deflate": single(NOISE, level=0),
        "noise_no_checksum": single(NOISE, with_checksum=False),
        "zeros_two_blocks": single(bytes(40000)),
        "full_block": single(bytes(32768)),
        "zlib_wrapped": wrapped(TEXT),
        "archive": image([(*blocks(TEXT + NOISE), 1), stored],
                         [(b"dir\\one", 900, 0, 0), (b"two", 700, 900, 0), (b"..\\three", 700, 0, 1)]),
        "no_folder": image([], [(b"n", 0, 0, 0)]),
        "truncated": single(TEXT)[:120],
    }
    states = {name: data + footer(len(original)) for name, data, original in (
        ("text", single(TEXT), TEXT), ("zeros", single(bytes(40000)), bytes(40000)), ("noise", single(NOISE), NOISE))}
    states |= {
        "empty": footer(0),
        "empty_com4": struct.pack(">iI", 5, 0) + b"COM4",
        "empty_comp": struct.pack(">I", 0) + b"COMP",
        "zlib_com5": zlib.compress(TEXT) + footer(len(TEXT), 6, 1),
        "zlib_com4": zlib.compress(TEXT) + struct.pack(">iI", 9, len(TEXT)) + b"COM4",
        "zlib_comp": zlib.compress(NOISE, 0) + struct.pack(">I", len(NOISE)) + b"COMP",
        "zlib_32767": zlib.compress(bytes(32767)) + struct.pack(">I", 32767) + b"COMP",
        "zlib_32768": zlib.compress(bytes(32768)) + struct.pack(">I", 32768) + b"COMP",
        "zlib_wrong_size": zlib.compress(TEXT) + struct.pack(">I", 5) + b"COMP",
        "claim_4gib": single(TEXT) + footer(0xFFFFFFFF),
        "claim_short": single(TEXT) + footer(10),
        "unknown_format": single(TEXT) + footer(len(TEXT), -1, 9),
        "footer_com6": b"\2" + bytes(8) + b"COM6",
        "plain_text": TEXT,
    }
    for folder, seeds in (("cabinet_image", images), ("compressed_state", states)):
        target = CORPUS / folder
        target.mkdir(parents=True, exist_ok=True)
        for name, data in seeds.items():
            (target / name).write_bytes(data)
        print(f"{folder}: {len(seeds)} seeds")


if __name__ == "__main__":
    main()
