#!/usr/bin/env python3
"""Compares what the shared libraries export with the lists beside this file.

Only names outside our own naming are judged one by one: C functions and data. C++ names must belong to our namespaces;
templates of the standard library and other people's names must not leak out. --update rewrites the lists.
"""
import subprocess
import sys
from pathlib import Path

HERE = Path(__file__).resolve().parent
OUR_NAMESPACES = ("Orvane::", "ATL::", "ATL2::", "asn1data::", "schema::", "status::", "ASN1", "Asn1", "IsOCSPAuthorized")


def exported(library):
    out = subprocess.run(["nm", "-D", "--defined-only", "-C", library], text=True, capture_output=True, check=True)
    c_names, foreign = set(), set()
    for line in out.stdout.splitlines():
        name = line.split(maxsplit=2)[2]
        kind = line.split(maxsplit=2)[1]
        if "::" in name or "(" in name or " " in name:
            bare = name
            for prefix in ("vtable for ", "typeinfo for ", "typeinfo name for ", "VTT for ", "non-virtual thunk to "):
                bare = bare.removeprefix(prefix)
            if kind in "WVu":
                continue  # vague linkage: the same template or inline function may stand in any library
            if not bare.startswith(OUR_NAMESPACES):
                foreign.add(name)
        else:
            c_names.add(name)
    return c_names, foreign


def main():
    update = "--update" in sys.argv
    failed = False
    for argument in (a for a in sys.argv[1:] if not a.startswith("--")):
        name, library = argument.split("=", 1)
        c_names, foreign = exported(library)
        golden = HERE / f"{name}.symbols"
        if update:
            golden.write_text("".join(n + "\n" for n in sorted(c_names)))
            continue
        expected = set(golden.read_text().split())
        for symbol in sorted(c_names - expected):
            print(f"{name}: exports {symbol}, which {golden.name} does not list")
        for symbol in sorted(expected - c_names):
            print(f"{name}: no longer exports {symbol}")
        for symbol in sorted(foreign):
            print(f"{name}: leaks {symbol}")
        failed |= bool(c_names ^ expected or foreign)
    return 1 if failed else 0


sys.exit(main())
