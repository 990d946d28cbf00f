"""Servers of issuers' certificates and of CRLs that misbehave. The responder behind them says good.

Without the issuer no responder is asked, and without the CRL of its signer no response counts.
"""
from pki import tls_identity
from row import (BAD_ANSWER, BODY, BROKEN, GOOD, HANG, HEAD, LENGTH, LOST, MAX_BODY, RESET, START, TIMEOUT, TLS, Row,
                 body_part, forever, grouped, says, slowly)
from rows_bodies import CHUNKED, chunk, chunks, instead, size_line
from rows_redirects import https_server, to
from server import tls_context

FAULTS = [
    ("closes at once", says(), LOST), ("resets", says(RESET), LOST), ("is silent", says(HANG), TIMEOUT),
    ("sends less than it announced", says(HEAD, body_part(lambda body: body[:-1])), LOST),
    ("announces a length that is no number", says(START + "Content-Length: x\r\n\r\n", BODY), BAD_ANSWER),
    ("sends an octet each 20 ms", says(HEAD, slowly("", 0.02)), TIMEOUT),
    ("sends an endless body", says(START + "\r\n", forever(b"x" * 4096)), BAD_ANSWER),
    ("sends endless header lines", says("HTTP/1.1 200 OK\r\n", forever(b"X: y\r\n" * 500)), BAD_ANSWER),
    ("sends a faulty chunk", says(CHUNKED, BODY), BROKEN),
    ("sends no last chunk", chunks(chunk), LOST),
    ("compresses by Transfer-Encoding", says(START + "Transfer-Encoding: gzip\r\n\r\n", BODY), BAD_ANSWER),
    ("answers as HTTP/0.9", says(BODY), BAD_ANSWER),
    ("answers with 404", says("HTTP/1.1 404 X\r\n" + LENGTH + "\r\n", BODY), "FileNotFound"),
    ("answers with 500", says("HTTP/1.1 500 X\r\n" + LENGTH + "\r\n", BODY), BAD_ANSWER),
    ("redirects to itself", to("/"), "HttpRedirect"),
    ("redirects to a file", to("file:///etc/hostname"), "HttpRedirect"),
    ("redirects to a link-local address", to("http://169.254.169.254/"), "AddressNotContacted"),
    ("sends a page", instead(lambda _: b"<html>Not found</html>"), None),
    ("sends nothing", instead(lambda _: b""), None),
    ("sends half of it", instead(lambda body: body[:len(body) // 2]), None),
    ("announces less than it sends", says(START + "Content-Length: 100\r\n\r\n", BODY), None),
    ("sends zeros up to the limit", instead(lambda _: bytes(MAX_BODY)), None),
]

ACCEPTED = [
    ("is well-behaved", says(HEAD, BODY)), ("sends chunks", size_line("{x}")),
    ("closes at the end", says("HTTP/1.0 200 OK\r\n\r\n", BODY)),
    ("begins with 100 Continue", says("HTTP/1.1 100 Continue\r\n\r\n" + HEAD, BODY)),
]

# What the verdict is when something else arrived than expected.
WITHOUT = {"issuer": "NoSigner", "crl": "InvalidData"}

ROWS = grouped("downloads", [
    Row(f"{what}: {kind}", serve, expected or WITHOUT[kind], kind=kind)
    for kind in WITHOUT for what, serve, expected in FAULTS
] + [
    Row(f"{what}: {kind}", serve, GOOD, kind=kind) for kind in WITHOUT for what, serve in ACCEPTED
] + [
    Row(f"shows a certificate of another root: {kind}", says(HEAD, BODY), TLS, kind=kind,
        tls=lambda pki: tls_context(tls_identity(pki.root))) for kind in WITHOUT
] + [
    Row(f"speaks TLS: {kind}", says(HEAD, BODY), GOOD, kind=kind, tls=https_server) for kind in WITHOUT
])
