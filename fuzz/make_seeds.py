#!/usr/bin/env python3
"""Writes the first samples of the targets that do not read a message into fuzz/corpus/.

Later runs of the targets add to them; -merge=1 keeps those that reach something new.
"""
import pathlib
import struct

CORPUS = pathlib.Path(__file__).resolve().parent / "corpus"
URL = b"http://127.0.0.1/ca.crl"


def edit(operation, element, argument=0, value=0, target=0):
    return bytes([operation | target << 4, element >> 8, element & 255, argument, value])


def entry(mark=b"tallowc1", stored=134000000000000000, url=URL, answer=b"answer", size=None):
    sizes = struct.pack("<QQQ", stored, len(url), len(answer) if size is None else size)
    return mark + sizes + url + answer


def head(status, *lines, body=b""):
    return "\r\n".join(["HTTP/1.1 " + status, *lines, "", ""]).encode() + body


EDITS = {
    "none": b"",
    "remove": b"".join(edit(4, element) for element in (3, 9)),
    "double": edit(5, 7),
    "exchange": edit(6, 8),
    "tag": edit(3, 15, 0, 0xA1),
    "times": edit(8, 4, 0, 11) + edit(8, 16, 0, 10),
    "wrap": edit(9, 8, 0, 0xA0),
    "add": edit(10, 9, 1, 2),
    "each_target": b"".join(edit(0, 6 + target, 1, 7, target) for target in range(4)),
    "last_target": edit(4, 20, 0, 0, 3) + edit(8, 12, 0, 16, 3),
}

# What only one rule of the checker rejects: a run without that rule gives a wrong verdict.
SIGNED_BY_CA = edit(0, 0, target=15)
VERDICT_EDITS = {
    "next_update_over": edit(8, 17, 0, 10) + edit(8, 19, 0, 10) + edit(0, 19, 3, ord("1")),
    "critical_entry_extension": edit(10, 18, 0xA1, 27),
    "other_issuer_key_hash": edit(0, 14, 3, 0x55),
    "ca_without_cert_sign": edit(0, 34, 1, 0x82, 2),
    "signed_by_ca": SIGNED_BY_CA,
    "signed_by_ca_without_cert_sign": SIGNED_BY_CA + edit(0, 34, 1, 0x82, 2),
}

SEEDS = {
    "verdict_resigned_fuzz": EDITS | VERDICT_EDITS,
    "chain_resigned_fuzz": EDITS,
    "request_verification_fuzz": EDITS,
    "settings_fuzz": {
        "numbers.toml": b"[crypto]\nmax_crl_bytes = 0x7FFFFFFF\nexchange_timeout_ms = -1\naccept_sha1 = 1\n",
        "policy.toml": b'[config.cades.ocsppolicy]\nNonceLength = "8"\nAllowedOCSPs = ["http://a/", "b"]\n'
                       b'ThisUpdateAccuracy = "d"\n',
        "trace.toml": b'[trace]\nenabled = false\nlevels = 127\nfile = ""\n',
        "broken.toml": b"[crypto\nurl_cache = ''\n",
        "names.toml": b'["a\\u202Eb"."c\\\\d"]\n"" = [1, "2", [3], {e.f.g = 4}]\n',
        "deep.toml": b"a" + b".a" * 40 + b" = " + b"[" * 40 + b"]" * 40 + b"\n",
        "other_values.toml": b"a = 1979-05-27T07:32:00Z\nb = nan\nc = 1e400\nd = '''\n'''\ne = \"\\u0000\"\n",
    },
    "side_file_fuzz": {
        "key.toml": b'key = "keys/own.pem"\n',
        "uri.toml": b'key = "pkcs11:object=a;type=private?pin-value=1"\nocsp = []\n',
        "addresses.toml": b'ocsp = ["http://127.0.0.1/", "", 5, "ldap://a"]\n',
        "other_types.toml": b'key = 5\nocsp = "http://127.0.0.1/"\n',
        "text.toml": b'key = "\\u0000\\uFFFD"\nocsp = ["\\u0000", "\\u00E4"]\n',
        "broken.toml": b"key = \n",
        "quoted_line_break.toml": b"key =f.\n",
    },
    "cache_entry_fuzz": {
        "whole": entry(),
        "empty_answer": entry(answer=b""),
        "other_mark": entry(mark=b"tallowc0"),
        "other_url": entry(url=URL.replace(b"ca", b"cb")),
        "too_long": entry(size=7),
        "overflow": entry(size=2**64 - len(URL)),
        "from_the_future": entry(stored=2**63),
        "short": entry()[:31],
    },
    "http_response_fuzz": {
        "exact": head("200 OK", "Content-Length: 2", body=b"ok"),
        "until_close": head("200 OK", body=b"ok"),
        "chunked": head("200 OK", "Transfer-Encoding: chunked", body=b"2\r\nok\r\n0\r\n\r\n"),
        "gzip": head("200 OK", "Transfer-Encoding: gzip, chunked", body=b"0\r\n\r\n"),
        "truncated": head("200 OK", "Content-Length: 9", body=b"ok"),
        "two_lengths": head("200 OK", "Content-Length: 2", "Content-Length: 3", body=b"ok?"),
        "more_than_length": head("200 OK", "Content-Length: 1", body=b"ok"),
        "redirect": head("302 Found", "Location: /next", "Content-Length: 0"),
        "redirect_to_itself": head("307 x", "Location: //127.0.0.1:1/", "Content-Length: 0"),
        "interim": head("100 Continue") + head("200 OK", "Content-Length: 2", body=b"ok"),
        "login": head("401 x", 'WWW-Authenticate: Basic realm="a"', "Content-Length: 0"),
        "folded": head("200 OK", "X: a", " b", "Content-Length: 2", body=b"ok"),
        "no_status": b"ok",
        "old": b"HTTP/1.0 200 OK\n\nok",
        "header_too_long": head("200 OK", "X: " + "a" * 3000),
        "body_too_long": head("200 OK", body=b"a" * 5000),
        "two_answers": head("200 OK", "Content-Length: 2", body=b"ok") * 2,
    },
}

for target, samples in SEEDS.items():
    folder = CORPUS / target
    folder.mkdir(parents=True, exist_ok=True)
    for name, octets in samples.items():
        (folder / name).write_bytes(octets)
