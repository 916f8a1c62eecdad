#!/usr/bin/env python3
"""Writes the seed corpus of ini_edit_fuzz: python3 fuzz/make_ini_corpus.py."""
from pathlib import Path

CORPUS = Path(__file__).resolve().parent / "corpus" / "ini_edit"


def w(section, key, value):
    return b"w" + b"\2".join((section, key, value))


def k(section, key):
    return b"k" + section + b"\2" + key


def s(section):
    return b"s" + section


SEEDS = {
    "empty": (b"", w(b"S", b"K", b"V"), w(b"S", b"L", b""), k(b"S", b"K"), s(b"S")),
    "plain": (b"; c\r\n[S]\r\nk=v\r\n\r\n[T]\r\nk=w\r\n", w(b"S", b"n", b"1"), w(b"S", b"k", b"longer"), w(b"S", b"k", b""), s(b"S")),
    "bom": (b"\xef\xbb\xbf[S]\r\nk=v", w(b"S", b"k", b"x"), w(b"T", b"k", b"x"), s(b"S")),
    "bom_only": (b"\xef\xbb\xbf", w(b"S", b"k", b"x")),
    "ends": (b"[S]\rk=v\r\r\n\nl=w\n[T]\r", k(b"S", b"k"), w(b"S", b"m", b"3"), w(b"T", b"k", b"4")),
    "no_final_end": (b"[S]\nk=v", w(b"S", b"l", b"1"), w(b"T", b"l", b"1")),
    "room": (b"[S]\r\nk=v\r\n" + bytes(40), w(b"S", b"k", b"vv"), k(b"S", b"k")),
    "brackets": (b"[S]\n[odd\nk=[T]\n[T]x\n[]\n=e\n[T]\n", w(b"S", b"n", b"1"), w(b"", b"", b"e2"), s(b"S"), s(b"")),
    "twice": (b"[S]\nk=1\nk=2\n[S]\nk=3\n", k(b"S", b"k"), k(b"S", b"k"), s(b"S"), w(b"S", b"k", b"9")),
    "long_lines": (b"[S]\nk=" + b"v" * 1023 + b"\nl=" + b"w" * 1022 + b"\nm=1", w(b"S", b"k", b"1"), w(b"S", b"l", b"x" * 1022),
                   w(b"S", b"l", b"x" * 1023)),
    "refused": (b"[S]\n", w(b"S", b"a=b", b"1"), w(b"S", b"[k", b"]"), w(b"a]", b"k", b"v"), w(b"S", b"k", b"a\nb"), w(b"S", b"", b"")),
    "header_limit": (b"[" + b"s" * 257 + b"]\nk=v\n", w(b"s" * 257, b"k", b"1"), w(b"s" * 258, b"k", b"1"), s(b"s" * 258)),
    "comments": (b"[S]\n;k=1\n#k=2\n k=3\nk =4\nno entry\n", w(b"S", b"k", b"5"), w(b"S", b";k", b"6"), k(b"S", b"#k")),
}

CORPUS.mkdir(parents=True, exist_ok=True)
for name, pieces in SEEDS.items():
    data = b"\1".join(pieces)
    # Filled up to the sizes that are also tried on a file.
    (CORPUS / name).write_bytes(data + b"\1" * (-len(data) % 64))
