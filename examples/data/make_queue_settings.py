#!/usr/bin/env python3
"""Writes queue-settings.json: what a driver might have stored for one print queue, always the same.

  make_queue_settings.py > queue-settings.json
  q9diag settings build queue-settings.json -o queue-settings.bin

The demo of q9diag has queue-settings.bin compiled in.
"""

import json
import random
import sys

NUMBERS = random.Random(20260101)


def feature(number):
    return {"type": "FEATURE", "number": number}


def named(name):
    return {"type": "NEWFEATURE", "name": name}


def option(number):
    return {"type": "OPTION", "specified": True, "option": {"type": "VALUE", "number": number}}


def integer(value, specified=True):
    return {"type": "INTEGER", "specified": specified, "value": value}


def text(value):
    return {"type": "STRING", "specified": True, "value": value}


def boolean(value):
    return {"type": "BOOLEAN", "specified": True, "value": value}


def dimension(millimetres):
    return {"type": "DIMENSION", "specified": True, "value": round(millimetres * 1000)}


def entries(kind, records):
    return {"type": "LIST", "specified": True, "kind": kind, "records": records}


def record(identifier, value):
    return {"id": identifier, "value": value}


PAPERS = [("A3", 297, 420), ("A4", 210, 297), ("A5", 148, 210), ("Letter", 215.9, 279.4), ("Legal", 215.9, 355.6),
          ("Tabloid", 279.4, 431.8), ("Executive", 184.1, 266.7), ("Envelope #10", 104.8, 241.3), ("Umschlag C5", 162, 229)]


def document_settings():
    """What one document is printed with."""
    records = [record(feature(258), option(3)), record(feature(260), option(1)), record(feature(261), integer(1)),
               record(feature(262), boolean(True)), record(feature(263), option(12)), record(feature(264), dimension(4.2)),
               record(feature(265), {"type": "RANGE", "specified": True, "low": 1, "high": 999}),
               record(feature(266), {"type": "RESOLUTION", "specified": True, "crossFeed": 600, "feed": 1200, "units": 1}),
               record(feature(267), {"type": "RANGEOFDIMENSION", "specified": True, "low": 76200, "high": 1219200}),
               record(feature(268), text("Confidential – do not copy")), record(feature(269), integer(0, specified=False))]
    for number in range(300, 420):
        kind = NUMBERS.randrange(4)
        value = (option(NUMBERS.randrange(1, 40)), integer(NUMBERS.randrange(-100, 1000)), boolean(NUMBERS.random() < 0.5),
                 dimension(NUMBERS.randrange(0, 5000) / 10))[kind]
        records.append(record(feature(number), value))
    records.append(record(feature(500), entries(1, [
        record({"type": "LISTOFVALUESITEM", "number": index}, entries(2, [
            record(feature(510), integer(first)), record(feature(511), integer(first + 1)), record(feature(258), option(2)),
            record(feature(512), {"type": "OPTION", "specified": True, "option": {"type": "NEWVALUE", "name": "Cover stock"}})]))
        for index, first in enumerate((1, 5, 9))])))
    records += [record(named(name), value) for name, value in (
        ("AccountId", text("4711")), ("AccountingMode", option(2)), ("BannerText", text("Größe ≥ A4 – 請確認 😀")),
        ("LastChanged", {"type": "DATETIME", "specified": True, "seconds": 1767225600}),
        ("UserComment", text("")))]
    return records


def device_settings():
    """What is installed in the device."""
    records = [record(feature(number), boolean(NUMBERS.random() < 0.7)) for number in range(1000, 1040)]
    records += [record(feature(number), option(NUMBERS.randrange(1, 9))) for number in range(1100, 1140)]
    records.append(record(feature(1200), entries(3, [
        record({"type": "LISTOFVALUESITEM", "number": index}, entries(4, [
            record(feature(1201), text(name)), record(feature(1202), dimension(width)), record(feature(1203), dimension(height))]))
        for index, (name, width, height) in enumerate(PAPERS)])))
    blob = bytes(NUMBERS.randrange(256) for _ in range(512))
    records.append(record(named("CalibrationTable"), {"type": "DATABLOB", "specified": True, "bytes": blob.hex().upper()}))
    return records


def capabilities():
    """What the system's dialogs were told about the device."""
    records = [record({"type": "CAPABILITY", "number": number, "capability": kind}, integer(NUMBERS.randrange(0, 500)))
               for number in range(1, 31) for kind in (1, 2)]
    records += [record({"type": "NEWCAPABILITY", "name": name, "capability": 1}, boolean(True))
                for name in ("Binding", "Finishing", "Watermark")]
    return records


json.dump({"form": "persistent", "driverVersion": "5.1009.1.0", "nameSpaces": [
    {"nameSpace": 1, "kind": 0, "attributes": document_settings()},
    {"nameSpace": 2, "kind": 0, "attributes": device_settings()},
    {"nameSpace": 3, "kind": 0, "attributes": capabilities()}]}, sys.stdout, indent=1, ensure_ascii=False)
sys.stdout.write("\n")
