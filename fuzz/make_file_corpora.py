#!/usr/bin/env python3
"""Writes the seed corpora of encrypted_framing_fuzz, crc_file_fuzz and compressed_file_fuzz:
python3 fuzz/make_file_corpora.py (needs the Python package "cryptography").

Everything is built here from the formats' description, independently of the library.
"""
import hashlib
import struct
import zlib

from cryptography.hazmat.primitives.ciphers import Cipher, algorithms, modes

from make_cabinet_corpora import CORPUS, NOISE, TEXT, footer, single

SALT = b"12345678"


def encrypt(password, text, padding=None):
    derived = hashlib.pbkdf2_hmac("sha256", password, SALT, 1, 48)
    count = 16 - len(text) % 16
    padded = text + (bytes([count]) * count if padding is None else padding)
    engine = Cipher(algorithms.AES(derived[:32]), modes.CBC(derived[32:])).encryptor()
    return engine.update(padded) + engine.finalize()


def crc_file(data, limit=0, crc=None, reserved=b"\0\0\0\0"):
    return struct.pack("<II", limit, zlib.crc32(data) if crc is None else crc) + reserved + data


def main():
    framed = b"Salted__" + SALT
    encrypted = {
        "framed": b"\1" + framed + encrypt(b"secret 1", TEXT[:40]),
        "framed_empty": b"\5" + framed + encrypt(b"password", b""),
        "bare": b"\2" + encrypt(b"secret 1", TEXT[:16]),
        "bare_unset": b"\0" + encrypt(b"secret 1", TEXT[:16]),
        "prefix_is_data": b"\2" + framed + encrypt(b"secret 1", TEXT[:20]),
        "wrong_password": b"\5" + framed + encrypt(b"secret 1", TEXT[:40]),
        "padding_0": b"\2" + encrypt(b"secret 1", TEXT[:15], b"\0"),
        "padding_17": b"\2" + encrypt(b"secret 1", TEXT[:15], b"\x11"),
        "padding_uneven": b"\2" + encrypt(b"secret 1", TEXT[:13], b"\2\3\3"),
        "padding_16": b"\2" + encrypt(b"secret 1", b"", b"\x10" * 16),
        "no_salt": b"\1Salted__1234", "no_ciphertext": b"\1" + framed, "short_block": b"\1" + framed + bytes(15),
        "half_prefix": b"\3Salted",
    }
    files = {
        "hello": crc_file(b"hello"), "empty": crc_file(b""), "text": crc_file(TEXT), "noise": crc_file(NOISE),
        "limit_exact": crc_file(b"hello", 5), "limit_short": crc_file(b"hello", 4), "limit_wraps": crc_file(b"hello", 0xFFFFFFF8),
        "limit_highest": crc_file(b"hello", 0xFFFFFFFF), "wrong_sum": crc_file(b"hello", crc=1),
        "reserved_used": crc_file(b"hello", reserved=b"\1\2\3\4"), "header_short": crc_file(b"")[:-1], "nothing": bytes(4),
    }
    compressed = {
        "text": single(TEXT) + footer(len(TEXT)), "noise": single(NOISE) + footer(len(NOISE)), "empty": footer(0),
        "zeros": single(bytes(40000)) + footer(40000), "claim_short": single(TEXT) + footer(10),
        "claim_long": single(TEXT) + footer(len(TEXT) + 1), "claim_4gib": single(TEXT) + footer(0xFFFFFFFF),
        "zlib": zlib.compress(TEXT) + struct.pack(">I", len(TEXT)) + b"COMP", "plain": TEXT, "format_9": single(TEXT) + footer(len(TEXT), -1, 9),
    }
    for folder, seeds in (("encrypted_framing", encrypted), ("crc_file", files), ("compressed_file", compressed)):
        target = CORPUS / folder
        target.mkdir(parents=True, exist_ok=True)
        for name, data in seeds.items():
            (target / name).write_bytes(data)
        print(f"{folder}: {len(seeds)} seeds")


if __name__ == "__main__":
    main()
