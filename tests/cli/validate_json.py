#!/usr/bin/env python3
"""Holds JSON documents against the installed schemas.

  validate_json.py SCHEMAS FILE...   each line of a *.jsonl file is a document

The file of a schema is named after the first words of its documents' "schema", up to ".line" and "/": check.json.
"""
import json
import sys
from pathlib import Path

from jsonschema import Draft202012Validator


def validator_of(folder, document):
    name = document["schema"].removeprefix("tallow.").partition("/")[0].removesuffix(".line")
    schema = json.loads((folder / (name + ".json")).read_text(encoding="utf-8"))
    Draft202012Validator.check_schema(schema)
    return Draft202012Validator(schema)


def main():
    folder = Path(sys.argv[1])
    num_faults = 0
    for name in sys.argv[2:]:
        text = Path(name).read_text(encoding="ascii")
        for part in text.splitlines() if name.endswith(".jsonl") else [text]:
            document = json.loads(part)
            for fault in validator_of(folder, document).iter_errors(document):
                print(f"{name}: {fault.json_path}: {fault.message}")
                num_faults += 1
    return 1 if num_faults else 0


if __name__ == "__main__":
    sys.exit(main())
