#!/usr/bin/env python3
"""Holds every #include against the table of allowed directions; a new edge is a change of the table."""
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]

SERVICES = {"platform/crypto/crypto_service.h", "platform/support/support_service.h"}
STATUS = {"handles/status.h", "handles/exception.h", "handles/last_error.h"}
CLIENT = {"client/request", "client/transport", "client/response", "client/policy", "client/flat"}

# Folder: folders and files that its sources may include besides itself, the standard library and export.h. A rule
# "sources:X" holds for .cpp files and private headers (*_impl.h, *_traits.h, *_lists.h, codec.h and their like).
ALLOWED = {
    "asn1rt": set(),
    "schema": {"asn1rt"},
    "handles": SERVICES,
    "foundation": STATUS | {"platform/support/support_service.h"},
    "asn1": {"schema", "asn1rt", "foundation", "handles"} | SERVICES,
    "message": {"asn1", "foundation", "handles", "platform/crypto/crypto_service.h", "schema"},
    "client/policy": {"foundation", "handles", "platform/support/support_service.h"},
    "client/request": {"message", "asn1", "foundation", "handles"} | SERVICES | CLIENT,
    "client/transport": {"message", "asn1", "foundation", "handles"} | SERVICES | CLIENT,
    "client/response": {"message", "asn1", "foundation", "handles"} | SERVICES | CLIENT,
    "client/flat": {"message", "asn1", "foundation", "handles"} | SERVICES | CLIENT,
    "platform/support": set(),
    "platform/crypto": {"platform/support/support_service.h", "platform/support/never_destroyed.h"},
    "cli": {"client", "message", "asn1", "foundation", "handles"} | SERVICES,
    "schema/compiler": set(),
}
# Third-party headers, and who alone may use them.
FOREIGN = {
    "openssl/": {"platform/crypto"},
    "curl/": {"platform/crypto"},
    "toml++/": {"platform"},
    "CLI/": {"cli"},
    "nlohmann/": {"cli"},
}
# Of the schema, the client sees nothing; the message model's public headers do not either.
PUBLIC_WITHOUT_SCHEMA = {"message", "asn1"}


def folder_of(path):
    for folder in sorted(ALLOWED, key=len, reverse=True):
        if path.startswith(folder + "/"):
            return folder
    return None


def public_headers():
    headers = set()
    for listing in ROOT.glob("**/CMakeLists.txt"):
        if "build" in listing.relative_to(ROOT).parts[:1]:
            continue
        text = listing.read_text()
        for names in re.findall(r"PUBLIC_HEADERS\s+([^)]*?)(?:\n\s*LINK|\))", text):
            for name in names.split():
                headers.add(str((listing.parent / name).relative_to(ROOT)))
    return headers


def main():
    files = subprocess.run(["git", "ls-files", "*.h", "*.cpp"], cwd=ROOT, text=True, capture_output=True, check=True)
    public = public_headers()
    errors = []
    for path in files.stdout.split():
        folder = folder_of(path)
        if folder is None:
            continue
        for number, line in enumerate((ROOT / path).read_text().splitlines(), 1):
            match = re.match(r'\s*#\s*include\s+(["<])([^">]+)[">]', line)
            if not match:
                continue
            quote, target = match.groups()
            where = f"{path}:{number}: {target}"
            for prefix, users in FOREIGN.items():
                if target.startswith(prefix) and not any(folder == u or folder.startswith(u + "/") for u in users):
                    errors.append(f"{where}: this library stays inside {', '.join(sorted(users))}")
            if quote == "<":
                continue
            target_folder = folder_of(target) or target.rsplit("/", 1)[0]
            allowed = ALLOWED[folder]
            if not (target == "export.h" or target_folder == folder or target in allowed
                    or any(target.startswith(a + "/") for a in allowed)):
                errors.append(f"{where}: {folder} may not include it")
            if path in public and target != "export.h" and target not in public:
                errors.append(f"{where}: a public header includes public headers only")
    print("\n".join(errors))
    return 1 if errors else 0


sys.exit(main())
