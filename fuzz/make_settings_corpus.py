#!/usr/bin/env python3
"""Writes the seeds of the settings JSON's fuzz target into fuzz/corpus/settings_json."""

import json
import pathlib
import sys

FUZZ = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(FUZZ.parent / "tests" / "tool"))
import sample  # noqa: E402

attributes = sample.EVERY_KIND["nameSpaces"][1]["attributes"]
lists = sample.EVERY_KIND["nameSpaces"][2]["attributes"]
seeds = {
    "every-kind.json": json.dumps(sample.EVERY_KIND),
    "readable.json": json.dumps(dict(sample.EVERY_KIND, form="namespaces"), indent=1, ensure_ascii=False),
    "indexed.json": json.dumps({"form": "indexed", "attributes": attributes}),
    "raw.json": json.dumps({"schemaVersion": 1, "form": "raw", "attributes": lists[:2] + lists[:1]}),
    "record.json": json.dumps({"form": "record", **lists[0]}),
    "surrogates.json": json.dumps({"form": "record", "id": {"type": "NEWVALUE", "name": "\ud800\udfff\uffff"},
                                   "value": {"type": "STRING", "specified": False, "value": "\udc00\ud83d\ude00"}}),
    "twice.json": '{"form": "raw", "form": "raw", "attributes": []}',
    "deep.json": "[" * 300,
    "state.bin": b"b" + sample.name_spaces_bytes(sample.EVERY_KIND),
    "raw.bin": b"bABRL" + b"".join(map(sample.record_bytes, attributes)),
    "record.bin": b"b" + sample.record_bytes(lists[0]),
    "path-value.txt": "pnewcapability:a:b:1\nresolution:600x1200:1",
    "path-json.txt": 'pcapability:258:1\n{"type": "DATABLOB", "bytes": "0AFF"}',
    "path-length.txt": "pfeature:-1\nrangeofdimension:76.2mm:8.5in/100",
}
folder = FUZZ / "corpus" / "settings_json"
folder.mkdir(parents=True, exist_ok=True)
for name, contents in seeds.items():
    (folder / name).write_bytes(contents if isinstance(contents, bytes) else contents.encode("utf-8"))
