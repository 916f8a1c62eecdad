#!/usr/bin/env python3
"""Write the seed corpora of the attribute formats: fuzz/corpus/{attribute_record,attribute_lists,name_spaces}.

The seeds of persistent_block need the library's own compressor: `q9diag settings build` makes them.
"""
import pathlib
import struct

CORPUS = pathlib.Path(__file__).resolve().parent / "corpus"


def text(value):
    return struct.pack("<H", len(value)) + value.encode("utf-16-le")


def raw_list(*records):
    return b"ABRL" + b"".join(records)


def list_value(kind, *records):
    state = raw_list(*records)
    return b"\x0b\x00" + bytes([kind]) + struct.pack("<I", len(state)) + state


def feature(number):
    return b"\x02" + struct.pack("<i", number)


def item(index):
    return b"\x06" + struct.pack("<i", index)


def name_space(number):
    return b"\x09" + struct.pack("<i", number)


def integer(value):
    return b"\x03\x00" + struct.pack("<i", value)


def nested(depth):
    value = list_value(0)
    for _ in range(depth - 1):
        value = list_value(0, feature(1) + value)
    return feature(1) + value


IDENTIFIERS = {
    "feature": feature(258),
    "new_feature": b"\x03" + text("Duplex"),
    "value": b"\x04" + struct.pack("<i", -1),
    "new_value": b"\x05" + text("Long edge"),
    "item": item(3),
    "capability": b"\x07" + struct.pack("<hi", -2, 258),
    "new_capability": b"\x08" + struct.pack("<h", 1) + text("Staple"),
    "name_space": name_space(1),
}
VALUES = {
    "option": b"\x02\x00" + IDENTIFIERS["new_value"],
    "integer": integer(-1),
    "unspecified": b"\x03\x01" + struct.pack("<i", 0),
    "string": b"\x04\x00" + text("A4"),
    "boolean": b"\x05\x00\x01",
    "range": b"\x06\x00" + struct.pack("<ii", 1, 999),
    "dimensions": b"\x07\x00" + struct.pack("<ii", 100, 297000),
    "dimension": b"\x08\x00" + struct.pack("<i", 25400),
    "resolution": b"\x09\x00" + struct.pack("<iih", 1200, 600, 1),
    "blob": b"\x0a\x00" + struct.pack("<I", 3) + b"\x01\x02\x03",
    "list": list_value(5, item(0) + integer(1), item(1) + integer(2)),
    "date_time": b"\x0c\x00" + struct.pack("<q", 1709209800),
}


def write(folder, name, data):
    path = CORPUS / folder / name
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(data)


def main():
    everything = b"".join(i + v for i, v in zip(list(IDENTIFIERS.values()) * 2, VALUES.values()))
    for name, identifier in IDENTIFIERS.items():
        write("attribute_record", f"id_{name}", identifier + VALUES["integer"])
    for name, value in VALUES.items():
        write("attribute_record", f"value_{name}", IDENTIFIERS["feature"] + value)
    write("attribute_record", "everything", everything)
    for depth in (1, 6, 64, 65):
        write("attribute_record", f"nested_{depth}", nested(depth))
        write("attribute_lists", f"nested_{depth}", raw_list(nested(depth)))
    features = [feature(i) + v for i, v in enumerate(VALUES.values())]
    write("attribute_lists", "empty_raw", b"ABRL")
    write("attribute_lists", "empty_indexed", b"ABILABRL")
    write("attribute_lists", "raw", raw_list(everything))
    write("attribute_lists", "indexed", b"ABIL" + raw_list(*features))
    write("attribute_lists", "duplicate", b"ABIL" + raw_list(features[0], features[0]))
    write("attribute_lists", "unsorted", b"ABIL" + raw_list(*reversed(features)))
    write("attribute_lists", "many", b"ABIL" + raw_list(*(feature(i) + integer(i) for i in range(300))))
    head = b"ABNS" + struct.pack("<4H", 5, 1009, 1, 0) + b"ABIL"
    write("name_spaces", "empty", head + raw_list())
    write("name_spaces", "two", head + raw_list(name_space(1) + list_value(0, *features),
                                                name_space(2) + list_value(3)))
    write("name_spaces", "no_name_space", head + raw_list(features[0]))


if __name__ == "__main__":
    main()
