#!/usr/bin/env python3
"""Writes one source for each public header, which includes it alone; compiling them proves that each stands alone."""
import sys
from pathlib import Path

target, *headers = sys.argv[1:]
root = Path(target)
root.mkdir(parents=True, exist_ok=True)
for header in headers:
    source = root / (header.replace("/", "_") + ".cpp")
    text = f'#include "{header}"\n'
    if not source.exists() or source.read_text() != text:
        source.write_text(text)
