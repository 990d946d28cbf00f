#!/usr/bin/env python3
"""Holds every #include against the table of allowed directions; a new edge is a change of the table.

  include_directions.py FILE, where each line of FILE is the path of a public header
"""
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]

SERVICES = {"platform/crypto/crypto_service.h", "platform/support/support_service.h"}
PLATFORM_HEADERS = {"platform/crypto/crypto_service.h", "platform/crypto/redis_service.h"}
STATUS = {"handles/status.h", "handles/exception.h", "handles/last_error.h"}
# Directories divided into families, from the lowest up: each may include itself and those before it.
FAMILIES = {
    "asn1": ["codec", "text", "algorithms", "names", "extensions", "attributes", "status"],
    "platform/crypto": ["base", "keys", "certificates", "signing", "network", "chains"],
}
BELOW_ASN1 = {"schema", "asn1rt", "foundation", "handles"} | SERVICES
BELOW_CLIENT = {"message", "asn1", "foundation", "handles"} | SERVICES
CLIENT = {"client/request", "client/transport", "client/response", "client/policy", "client/flat"}

# Directory: the directories and files that it may include, besides itself, the standard library and export.h.
ALLOWED = {
    "asn1rt": set(),
    "schema": {"asn1rt"},
    "schema/compiler": set(),
    "handles": SERVICES,
    "foundation": STATUS | {"platform/support/support_service.h"},
    "message": {"asn1", "foundation", "handles", "platform/crypto/crypto_service.h", "schema"},
    "client/policy": {"foundation", "handles", "platform/support/support_service.h"},
    "client/shared": BELOW_CLIENT,
    "client/request": BELOW_CLIENT | {"client/shared", "client/policy", "client/flat"},
    "client/response": BELOW_CLIENT | {"client/shared", "client/policy", "client/request"},
    "client/transport": BELOW_CLIENT | {"client/shared", "client/policy", "client/request", "client/response"},
    "client/flat": BELOW_CLIENT | {"client/request", "client/response"},
    "platform/support": set(),
    "platform/crypto": {"platform/support"},
    "checker/text": {"asn1", "foundation", "handles", "client/policy"} | SERVICES,
    "checker/rules": BELOW_CLIENT | {"client/response", "client/policy", "checker/text"},
    "checker": BELOW_CLIENT | CLIENT | {"checker/text", "checker/rules"},
    "cli/server": {"checker", "handles"},
    "cli": BELOW_CLIENT | CLIENT | PLATFORM_HEADERS | {"checker", "cli/server", "platform/support/settings_table.inc"},
    "python": {"checker/checker.h"},
    "examples": BELOW_CLIENT | CLIENT | {"checker"},
    "bench": {"schema", "asn1rt", "tests/support"},
    "fuzz": BELOW_CLIENT | CLIENT | {"checker", "schema", "asn1rt", "cli", "platform", "tests/support",
                                     "tests/platform/trust_fixture.h", "tests/message/response_readings.h"},
    "proof": BELOW_CLIENT | CLIENT | {"checker", "tests/support"},
    "tests/support": set(),
    "tests/scripted_service": {"tests/support"},
}
for parent, families in FAMILIES.items():
    below = BELOW_ASN1 if parent == "asn1" else {"platform/support", *PLATFORM_HEADERS}
    for position, family in enumerate(families):
        ALLOWED[f"{parent}/{family}"] = below | {f"{parent}/{lower}" for lower in families[:position]}
# Tests see what they test, private headers included, and besides it what is installed.
for subject in ("asn1rt", "schema", "handles", "foundation", "asn1", "message", "client", "checker", "platform", "cli",
                "package"):
    ALLOWED[f"tests/{subject}"] = {subject, "tests/support", "tests/scripted_service", "tests/data", "schema", "asn1rt"}
# Programs that use the library from outside see what is installed.
OUTSIDE = {"cli", "cli/server", "examples", "python"}
# Code that is not delivered: any public header, and any third-party one.
UNDELIVERED = {"tests", "fuzz", "bench", "proof"}
# Third-party headers, and the only directories that may use them.
FOREIGN = {
    "openssl/": {"platform/crypto", "cli/server"},
    "curl/": {"platform/crypto/network"},
    "hiredis/": {"platform/crypto/network"},
    "toml++/": {"platform"},
    "CLI/": {"cli"},
    "nlohmann/": {"cli"},
    "pybind11/": {"python"},
}


def folder_of(path):
    return next((f for f in sorted(ALLOWED, key=len, reverse=True) if path.startswith(f + "/")), None)


def is_below(target, places):
    return any(target == place or target.startswith(place + "/") for place in places)


def includes(path):
    """Line number, whether the header is not ours, and its path; <tallow/...> is how the examples write ours, and the
    bare name a header beside them: they are also built without the root of the sources on the include path."""
    for number, line in enumerate((ROOT / path).read_text().splitlines(), 1):
        match = re.match(r'\s*#\s*include\s+(["<])([^">]+)[">]', line)
        if match:
            is_installed = path.startswith("examples/") and match[2].startswith("tallow/")
            beside = f"examples/{match[2]}"
            if path.startswith("examples/") and match[1] == '"' and (ROOT / beside).exists():
                yield number, False, beside
                continue
            yield number, match[1] == "<" and not is_installed, match[2][len("tallow/") * is_installed:]


def mistakes(path, folder, public):
    own = path.removesuffix(".cpp") + ".h"
    first = True
    for number, is_system, target in includes(path):
        where = f"{path}:{number}: {target}"
        if first and path.endswith(".cpp") and (ROOT / own).exists() and target != own:
            yield f"{where}: a source includes its own header first"
        first = False
        if is_system and target.startswith("tallow/"):
            yield f"{where}: code of this tree includes by the path from its root"
        is_delivered = not is_below(folder, UNDELIVERED)
        for prefix, users in FOREIGN.items():
            if is_delivered and target.startswith(prefix) and not is_below(folder, users):
                yield f"{where}: this library stays inside {', '.join(sorted(users))}"
        if is_system or target in ("export.h", "tallow.h", "checker.h", "checker_c.h") or (not is_delivered and target in public):
            continue
        home = folder_of(target)
        if home != folder and not is_below(target, ALLOWED[folder]):
            yield f"{where}: {folder} may not include it"
        if path in public and target not in public:
            yield f"{where}: a public header includes public headers only"
        if folder in OUTSIDE and home not in OUTSIDE and target not in public:
            yield f"{where}: is not installed"


def main():
    public = set(Path(sys.argv[1]).read_text().split())
    files = subprocess.run(["git", "ls-files", "*.h", "*.cpp", "*.c"], cwd=ROOT, text=True, capture_output=True,
                           check=True)
    errors = [m for path in files.stdout.split() if folder_of(path) and (ROOT / path).exists()
              for m in mistakes(path, folder_of(path), public)]
    print("\n".join(errors))
    return 1 if errors else 0


sys.exit(main())
