"""A settings document with every kind of identifier and value, and the bytes that the format fixes for it."""

import copy
import struct

VERSION = "5.1009.1.0"


def record(identifier, value):
    return {"id": identifier, "value": value}


def feature(number):
    return {"type": "FEATURE", "number": number}


EVERY_KIND = {
    "form": "persistent",
    "driverVersion": VERSION,
    "nameSpaces": [
        {"nameSpace": -3, "kind": 255, "attributes": []},
        {"nameSpace": 1, "kind": 0, "attributes": [
            record(feature(-2147483648), {"type": "INTEGER", "specified": True, "value": 2147483647}),
            record(feature(258), {"type": "OPTION", "specified": True, "option": {"type": "VALUE", "number": 7}}),
            record({"type": "NEWFEATURE", "name": ""}, {"type": "STRING", "specified": True, "value": ""}),
            record({"type": "NEWFEATURE", "name": "Größe 日本 😀"}, {"type": "STRING", "specified": True,
                                                                  "value": "tab\t\"quoted\" \u0000 \u001b[31m end"}),
            record({"type": "VALUE", "number": 5}, {"type": "BOOLEAN", "specified": False, "value": False}),
            record({"type": "NEWVALUE", "name": "N/A:1"}, {"type": "RANGE", "specified": True, "low": 5, "high": -5}),
            record({"type": "LISTOFVALUESITEM", "number": 0}, {"type": "RANGEOFDIMENSION", "specified": True,
                                                               "low": -2147483648, "high": 2147483647}),
            record({"type": "CAPABILITY", "number": 258, "capability": -32768},
                   {"type": "DIMENSION", "specified": True, "value": 25400}),
            record({"type": "NEWCAPABILITY", "name": "Duplex:er", "capability": 32767},
                   {"type": "RESOLUTION", "specified": True, "crossFeed": 600, "feed": 1200, "units": 1}),
            record({"type": "NAMESPACE", "number": 3}, {"type": "DATABLOB", "specified": True, "bytes": "0AFF00"}),
        ]},
        {"nameSpace": 2, "kind": 7, "attributes": [
            record(feature(1), {"type": "LIST", "specified": True, "kind": 9, "records": [
                record(feature(2), {"type": "LIST", "specified": True, "kind": 0, "records": []}),
                record(feature(2), {"type": "OPTION", "specified": True,
                                    "option": {"type": "NEWVALUE", "name": "Letter"}}),
            ]}),
            record(feature(2), {"type": "DATETIME", "specified": True, "seconds": 1767225600,
                                "utc": "2026-01-01T00:00:00Z"}),
            record(feature(3), {"type": "DATETIME", "specified": True, "seconds": -9223372036854775808}),
        ]},
    ],
}


def document():
    return copy.deepcopy(EVERY_KIND)


def counted(text):
    units = text.encode("utf-16-le", "surrogatepass")
    return struct.pack("<H", len(units) // 2) + units


def id_bytes(identifier):
    kind = ["FEATURE", "NEWFEATURE", "VALUE", "NEWVALUE", "LISTOFVALUESITEM", "CAPABILITY", "NEWCAPABILITY",
            "NAMESPACE"].index(identifier["type"]) + 2
    tag = bytes([kind])
    if "capability" in identifier:
        tag += struct.pack("<h", identifier["capability"])
    return tag + (counted(identifier["name"]) if "name" in identifier else struct.pack("<i", identifier["number"]))


def value_bytes(value):
    payload = {
        "OPTION": lambda: id_bytes(value["option"]),
        "INTEGER": lambda: struct.pack("<i", value["value"]),
        "STRING": lambda: counted(value["value"]),
        "BOOLEAN": lambda: bytes([value["value"]]),
        "RANGE": lambda: struct.pack("<ii", value["low"], value["high"]),
        "RANGEOFDIMENSION": lambda: struct.pack("<ii", value["low"], value["high"]),
        "DIMENSION": lambda: struct.pack("<i", value["value"]),
        "RESOLUTION": lambda: struct.pack("<iih", value["feed"], value["crossFeed"], value["units"]),
        "DATABLOB": lambda: struct.pack("<I", len(value["bytes"]) // 2) + bytes.fromhex(value["bytes"]),
        "LIST": lambda: list_bytes(value["kind"], value["records"]),
        "DATETIME": lambda: struct.pack("<q", value["seconds"]),
    }
    tag = list(payload).index(value["type"]) + 2
    return bytes([tag, not value.get("specified", True)]) + payload[value["type"]]()


def list_bytes(kind, records):
    state = b"ABRL" + b"".join(map(record_bytes, records))
    return struct.pack("<BI", kind, len(state)) + state


def record_bytes(entry):
    return id_bytes(entry["id"]) + value_bytes(entry["value"])


def name_spaces_bytes(whole):
    """The name-space state of a document, written from the format's description alone."""
    version = struct.pack("<4H", *map(int, whole["driverVersion"].split(".")))
    spaces = b"".join(b"\x09" + struct.pack("<i", s["nameSpace"]) + b"\x0b\x00" + list_bytes(s["kind"], s["attributes"])
                      for s in whole["nameSpaces"])
    return b"ABNS" + version + b"ABIL" + b"ABRL" + spaces
