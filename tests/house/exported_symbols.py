#!/usr/bin/env python3
"""Compares what the shared libraries export with the lists beside this file.

  exported_symbols.py [--update] tallow=build/debug/libtallow.so ...

They must not import what ends a process without memory, such as the registration of a destructor for a thread.
C functions and data are listed one by one, C++ by class and by free function: what a class offers is its header's
business, but a class that loses its mark vanishes as a whole. Names outside our namespaces must not leak out. Symbols
of vague linkage (templates, inline functions) may stand in any library and are left alone. Every symbol has a version of
abi/*.map, except in the modules, which no program links. --update rewrites the lists.
"""
import re
import subprocess
import sys
from pathlib import Path

HERE = Path(__file__).resolve().parent
NAMESPACES = {"Orvane", "PKI", "OCSP", "Client", "ASN1", "ATL", "ATL2", "asn1data", "schema", "status", "tallow",
              "text"}
GLOBAL_NAMES = ("ASN1", "Asn1", "IsOCSPAuthorized", "DateAdd", "operator==(ASN1", "operator!=(ASN1")
OPTIONAL = ("crypto_begin_check", "crypto_check_time_left", "crypto_end_check", "crypto_forget_response",
            "support_settings_error", "support_settings_keys")
MODULES = ("tallow-http", "tallow-redis")
PREFIXES = r"^(vtable for|typeinfo for|typeinfo name for|VTT for|(non-)?virtual thunk to|guard variable for) "


def symbols(library):
    """Names and the versions that programs record with them."""
    out = subprocess.run(["nm", "-D", "--defined-only", "-C", library], text=True, capture_output=True, check=True)
    for line in out.stdout.splitlines():
        _, kind, name = line.split(maxsplit=2)
        if kind not in "WVuA":  # A: the versions themselves
            name, _, version = name.partition("@@")
            yield re.sub(PREFIXES, "", name.replace("[abi:cxx11]", "")), version


def entry_of(name):
    """The class of a member, the name of a free function; a C name as it is."""
    bare = name.split("(", 1)[0]
    parts = bare.split("::")
    for i, part in enumerate(parts[:-1]):
        if part not in NAMESPACES:
            return "::".join(parts[: i + 1])
    return name.split(" ", 1)[0] if "operator" not in bare and "::" not in bare else bare


def is_ours(name):
    return "::" not in name.split("(", 1)[0] and (re.fullmatch(r"\w+", name) or name.startswith(GLOBAL_NAMES)) \
        or name.split("::", 1)[0] in NAMESPACES or name.startswith(GLOBAL_NAMES)


def optional_but_required(library):
    """Functions of the platform that a replacement may lack, which the library must therefore link weakly."""
    out = subprocess.run(["nm", "-D", "--undefined-only", library], text=True, capture_output=True, check=True)
    return [s for s in OPTIONAL if f"U {s}" in out.stdout or f"w {s}" not in out.stdout]


def registers_thread_destructors(library):
    """The C library ends the process when it has no memory to do so: a thread_local object must be trivial."""
    out = subprocess.run(["nm", "-D", "--undefined-only", library], text=True, capture_output=True, check=True)
    return "__cxa_thread_atexit" in out.stdout


def main():
    update = "--update" in sys.argv
    errors = []
    for argument in (a for a in sys.argv[1:] if not a.startswith("--")):
        name, library = argument.split("=", 1)
        versions = dict(symbols(library))
        exported = set(versions)
        entries = {entry_of(s).split("(", 1)[0] for s in exported}
        errors += [f"{name}: leaks {s}" for s in sorted(exported) if not is_ours(s)]
        errors += [f"{name}: {s} has no version" for s in sorted(exported)
                   if not versions[s] and name not in MODULES]
        if registers_thread_destructors(library):
            errors.append(f"{name}: has a thread_local object with a destructor")
        if name == "tallow":
            errors += [f"{name}: requires {s}, or no longer uses it" for s in optional_but_required(library)]
        golden = HERE / f"{name}.symbols"
        if update:
            golden.write_text("".join(e + "\n" for e in sorted(entries)))
            continue
        expected = set(golden.read_text().splitlines())
        errors += [f"{name}: exports {e}, which {golden.name} does not list" for e in sorted(entries - expected)]
        errors += [f"{name}: no longer exports {e}" for e in sorted(expected - entries)]
    print("\n".join(errors))
    return 1 if errors else 0


sys.exit(main())
