#!/usr/bin/env python3
"""Holds the documents against the code: every status in docs/errors.md, every setting in the example and its page."""
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]


def statuses():
    table = (ROOT / "handles/status_table.inc").read_text()
    return re.findall(r"TALLOW_STATUS\((\w+), (0x[0-9A-Fa-f]{8}),", table)


def settings_read():
    """The names of the keys that the code reads, from the literals it reads them by."""
    keys = set()
    listing = subprocess.run(["git", "ls-files", "*.cpp", "*.h"], cwd=ROOT, text=True, capture_output=True, check=True)
    for path in listing.stdout.split():
        if path.startswith(("tests/", "fuzz/", "bench/", "examples/")):
            continue
        text = (ROOT / path).read_text()
        keys.update(m.split("\\\\")[-1] for m in re.findall(r'"(\\\\[\w\\]+)"', text) if "\\\\" in m)
        if path.startswith(("client/policy/", "client/response/")):
            keys.update(re.findall(r'load\w*\([^;]*?L"(\w+)"', text, re.I))
    return {k for k in keys if k and k not in ("config", "cades")}


def main():
    errors = []
    page = (ROOT / "docs/errors.md").read_text()
    for symbol, number in statuses():
        if number.lower() not in page.lower():
            errors.append(f"docs/errors.md: {number} ({symbol}) is missing")
    example = (ROOT / "settings.example.toml").read_text()
    settings = (ROOT / "docs/settings.md").read_text()
    for key in sorted(settings_read()):
        if not re.search(rf"\b{key}\b", example):
            errors.append(f"settings.example.toml: {key} is missing")
        if not re.search(rf"\b{key}\b", settings):
            errors.append(f"docs/settings.md: {key} is missing")
    for document in sorted((ROOT / "docs").glob("*.md")):
        if len(document.read_text().splitlines()) > 250:
            errors.append(f"{document.name}: longer than 250 lines")
    print("\n".join(errors))
    return 1 if errors else 0


sys.exit(main())
