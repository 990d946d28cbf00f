#!/usr/bin/env python3
"""Holds the documents against the code: the page of statuses, and every setting in the example and on its page."""
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
LONGEST_PAGE = 250


def settings_read():
    """The names of the keys that the code reads, from the literals it reads them by."""
    keys = set()
    listing = subprocess.run(["git", "ls-files", "*.cpp", "*.h"], cwd=ROOT, text=True, capture_output=True, check=True)
    for path in listing.stdout.split():
        if path.startswith(("tests/", "fuzz/", "bench/", "examples/")):
            continue
        text = (ROOT / path).read_text()
        paths = re.findall(r'"(\\\\\w[\w\\]*\w)"', text)  # what ends in a backslash is a table
        keys.update(p.split("\\\\")[-1] for p in paths if "\\\\" in p[2:])
        if path.startswith(("client/policy/", "client/response/")):
            keys.update(re.findall(r'load\w*\([^;]*?L"(\w+)"', text, re.I))
    table = (ROOT / "platform/support/settings_table.inc").read_text()
    keys.update(re.findall(r'^TALLOW_SETTING\("[\w.]+", (\w+),', table, re.M))
    return keys - {"ocsppolicy"}


def settings_told(page):
    """The names in backticks; of a row with "`Name…`, each followed by `A` or `B`", all combinations."""
    names = set(re.findall(r"`(?:\w+\.)*(\w+)`", page))
    for line in page.splitlines():
        names.update(a + b for a in re.findall(r"`(\w+)…`", line) for b in re.findall(r"`(\w+)`", line.split("…")[-1]))
    return names


def example_in_readme():
    """What the README shows must stand in a program that is built."""
    block = re.search(r"```cpp\n(.*?)```", (ROOT / "README.md").read_text(), re.S)
    return block is not None and block[1] in (ROOT / "examples/check.cpp").read_text()


def main():
    errors = [] if example_in_readme() else ["README.md: its C++ does not stand in examples/check.cpp"]
    page = subprocess.run([ROOT / "scripts/update-errors", "--check"], text=True, capture_output=True, check=False)
    if page.returncode != 0:
        errors.append((page.stdout + page.stderr).strip())
    read = settings_read()
    shown = set(re.findall(r"^(?:# )?(\w+) =", (ROOT / "settings.example.toml").read_text(), re.M))
    told = settings_told((ROOT / "docs/settings.md").read_text())
    errors += [f"settings.example.toml: {key} is missing" for key in sorted(read - shown)]
    errors += [f"settings.example.toml: {key} is read by nobody" for key in sorted(shown - read)]
    errors += [f"docs/settings.md: {key} is missing" for key in sorted(read - told)]
    for document in [*sorted((ROOT / "docs").glob("*.md")), ROOT / "README.md"]:
        if len(document.read_text().splitlines()) > LONGEST_PAGE:
            errors.append(f"{document.name}: longer than {LONGEST_PAGE} lines")
        for target in re.findall(r"\]\(([^)#:]+)\)", document.read_text()):
            if not (document.parent / target).exists():
                errors.append(f"{document.name}: leads to {target}, which does not exist")
    print("\n".join(errors))
    return 1 if errors else 0


sys.exit(main())
