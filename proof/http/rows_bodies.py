"""Wrong lengths, chunks with faults, codings, sizes, and bodies that are no valid response."""
import base64
import gzip
import zlib

from row import (BAD_ANSWER, BODY, BROKEN, GOOD, HANG, HEAD, LENGTH, LOST, MAX_BODY, NO_RESPONSE, RESET, START, TIMEOUT,
                 Row, body_part, forever, grouped, says, slowly)

CHUNKED = START + "Transfer-Encoding: chunked\r\n\r\n"


def length(text):
    """A complete body with this header line in the place of its length."""
    return says(START + text + "\r\n\r\n", BODY)


def chunk(body, size=None):
    return f"{len(body) if size is None else size:x}\r\n".encode() + body + b"\r\n"


def chunks(make):
    """A chunked body, the octets that `make` makes of the response."""
    return says(CHUNKED, body_part(make))


def size_line(text):
    """One chunk whose line with the size is `text`."""
    return chunks(lambda body: text.replace("{x}", f"{len(body):x}").encode() + b"\r\n" + body + b"\r\n0\r\n\r\n")


def coded(header, make):
    """What `make` makes of the body, with its right length and one more header line."""
    def send(connection, body):
        body = make(body)
        connection.send((START + f"Content-Length: {len(body)}\r\n{header}\r\n\r\n").encode() + body)
    return says(send)


def instead(make):
    """A complete and correct message whose body is `make` of the response."""
    return coded("X: y", make)


def deflate(body):
    return zlib.compress(body)


def unclosed(body):
    """Each octet as a chunk; the end is missing."""
    return b"".join(chunk(body[i:i + 1]) for i in range(len(body)))


LENGTHS = [
    Row("sends less than it announced, and closes", says(HEAD, body_part(lambda body: body[:-1])), LOST),
    Row("sends less than it announced, and resets", says(HEAD, body_part(lambda body: body[:-1]), RESET), LOST),
    Row("sends less than it announced, and is silent", says(HEAD, body_part(lambda body: body[:-1]), HANG), TIMEOUT),
    Row("sends one octet of the body", says(HEAD, body_part(lambda body: body[:1])), LOST),
    Row("announces ten gigabytes", length("Content-Length: 10000000000"), LOST),
    Row("announces 2^63 octets", length("Content-Length: 9223372036854775808"), BAD_ANSWER, "no number"),
    Row("announces 2^64 octets more than it sends", length("Content-Length: 18446744073709552270"), BAD_ANSWER),
    Row("announces a negative length", length("Content-Length: -1"), BAD_ANSWER, "Content-Length"),
    Row("announces a length with a sign", length("Content-Length: +{n}"), BAD_ANSWER, "no number"),
    Row("announces a length with a unit", length("Content-Length: {n} octets"), BAD_ANSWER, "no number"),
    Row("announces a hexadecimal length", length("Content-Length: 0x2A0"), BAD_ANSWER, "no number"),
    Row("announces an empty length", length("Content-Length:"), BAD_ANSWER, "Content-Length"),
    Row("announces a list of lengths", length("Content-Length: {n}, {n}"), BAD_ANSWER, "no number"),
    Row("announces less than it sends", length("Content-Length: 100"), NO_RESPONSE, "cut", step="decoding", http=200),
    Row("announces no octet, and sends some", length("Content-Length: 0"), NO_RESPONSE, "empty", step="decoding"),
    Row("announces two lengths, the second one right", length("Content-Length: 10\r\nContent-Length: {n}"), BAD_ANSWER,
        "differ"),
    Row("announces two lengths, the first one right", length("Content-Length: {n}\r\nContent-Length: 10"), BAD_ANSWER,
        "differ"),
    Row("closes within a body without a length", says(START + "\r\n", body_part(lambda body: body[:-1])), NO_RESPONSE,
        "cut", step="decoding"),
    Row("sends a body without a length, and resets", says(START + "\r\n", BODY, RESET), LOST),
    Row("sends a body without a length, and does not close", says(START + "\r\n", BODY, HANG), TIMEOUT),
]

CHUNKS = [
    Row("sends no last chunk, and closes", chunks(chunk), LOST),
    Row("sends no last chunk, and is silent", says(CHUNKED, body_part(chunk), HANG), TIMEOUT),
    Row("closes in a chunk", chunks(lambda body: chunk(body)[:-10]), LOST),
    Row("closes in the line of the last chunk", chunks(lambda body: chunk(body) + b"0"), LOST),
    Row("closes before the line after the last chunk", chunks(lambda body: chunk(body) + b"0\r\n"), LOST),
    Row("sends a chunk size that is no number", size_line("zz"), BROKEN),
    Row("sends an empty line in place of a chunk size", size_line(""), BROKEN),
    Row("sends a negative chunk size", size_line("-{x}"), BROKEN),
    Row("sends a chunk size with a sign", size_line("+{x}"), BROKEN),
    Row("sends a chunk size with 0x", size_line("0x{x}"), BROKEN),
    Row("sends a chunk size of 2^64 octets more", size_line("10000000000000{x}"), BROKEN),
    Row("sends a chunk size of 2^68", size_line("100000000000000000"), BROKEN),
    Row("sends a chunk longer than its size", chunks(lambda body: chunk(body, len(body) - 4) + b"0\r\n\r\n"), BROKEN),
    Row("sends a chunk shorter than its size", chunks(lambda body: chunk(body, len(body) + 4) + b"0\r\n\r\n"), LOST),
    Row("sends chunks without chunks", says(CHUNKED, BODY), BROKEN),
    Row("sends the last chunk first", chunks(lambda body: b"0\r\n\r\n" + chunk(body)), NO_RESPONSE, "empty",
        step="decoding"),
    Row("sends a chunk more than the limit", chunks(lambda body: chunk(body + bytes(MAX_BODY)) + b"0\r\n\r\n"),
        BAD_ANSWER,
        "max_response_bytes"),
    Row("sends endless chunks", says(CHUNKED, forever(chunk(b"\x30" * 1000))), BAD_ANSWER, "max_response_bytes"),
    Row("sends endless chunks of one octet", says(CHUNKED, forever(chunk(b"\x30") * 1000)), BAD_ANSWER,
        "max_response_bytes"),
    Row("sends a chunk each 100 ms", says(CHUNKED, forever(chunk(b"\x30"), 0.1)), TIMEOUT),
    Row("sends an endless chunk size", says(CHUNKED, forever(b"0" * 1000)), BROKEN),
    Row("sends an endless chunk extension", says(CHUNKED, "5;", forever(b"x" * 1000)), BAD_ANSWER,
        "chunks that take"),
    Row("sends endless chunks with long extensions", says(CHUNKED, forever(b"1;" + b"x" * 5000 + b"\r\n0\r\n")),
        BAD_ANSWER, "chunks that take"),
    Row("sends an endless trailer line", says(CHUNKED, body_part(chunk), "0\r\nX: ", forever(b"x" * 1000)), BROKEN),
    Row("sends endless trailers", says(CHUNKED, body_part(chunk), "0\r\n", forever(b"X: y\r\n" * 200)), BAD_ANSWER,
        "max_header_bytes"),
]

CODINGS = [
    Row(f"sends Transfer-Encoding: {coding}", says(START + f"Transfer-Encoding: {coding}\r\n\r\n", body_part(make)),
        BAD_ANSWER)
    for coding, make in (("gzip", gzip.compress), ("deflate", deflate), ("x-gzip", gzip.compress),
                         ("gzip, chunked", lambda body: chunk(gzip.compress(body)) + b"0\r\n\r\n"),
                         ("chunked, gzip", lambda body: gzip.compress(chunk(body) + b"0\r\n\r\n")),
                         ("chunked, chunked", lambda body: chunk(chunk(body)) + b"0\r\n\r\n"),
                         ("br", bytes), ("xchunked", bytes), ("chunked;q=1", bytes), ("identity, gzip", gzip.compress))
] + [
    Row("compresses with gzip", coded("Content-Encoding: gzip", gzip.compress), NO_RESPONSE, "binary", step="decoding"),
    Row("compresses with deflate", coded("Content-Encoding: deflate", deflate), NO_RESPONSE, step="decoding"),
    Row("sends a compressed megabyte of zeros", coded("Content-Encoding: gzip",
                                                      lambda _: gzip.compress(bytes(1 << 20))),
        NO_RESPONSE, step="decoding"),
    Row("sends a compressed response in chunks", says(
        START + "Content-Encoding: gzip\r\nTransfer-Encoding: chunked\r\n\r\n",
        body_part(lambda body: chunk(gzip.compress(body)) + b"0\r\n\r\n")), NO_RESPONSE, step="decoding"),
]

SIZES = [
    Row("sends an endless body", says(START + "\r\n", forever(b"\x30" * 4096)), BAD_ANSWER, "max_response_bytes"),
    Row("sends an endless body of the announced length", says(START + "Content-Length: 60000\r\n\r\n",
                                                              forever(b"\x30", 0.1)), TIMEOUT),
    Row("sends one octet above the limit", instead(lambda body: body + bytes(MAX_BODY + 1 - len(body))), BAD_ANSWER,
        "max_response_bytes"),
    Row("sends zeros after the response up to the limit", instead(lambda body: body + bytes(MAX_BODY - len(body))),
        NO_RESPONSE, "octets follow", step="decoding"),
    Row("sends the body an octet each 20 ms", says(HEAD, slowly("", 0.02)),
        TIMEOUT),
    Row("sends no body", says("HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n"), NO_RESPONSE, "empty", step="decoding"),
]

CONTENT = [
    Row(f"sends {what}", instead(make), NO_RESPONSE, text, step="decoding", http=200)
    for what, make, text in (
        ("a page", lambda _: b"<!DOCTYPE html><html><body>Welcome</body></html>", "HTML"),
        ("JSON", lambda _: b'{"status": "good"}', "JSON"),
        ("text", lambda _: b"good", "text"),
        ("the response in PEM", lambda body: b"-----BEGIN OCSP RESPONSE-----\n" + base64.encodebytes(body) +
         b"-----END OCSP RESPONSE-----\n", "PEM"),
        ("the response in base64", base64.b64encode, "text"),
        ("half of the response", lambda body: body[:len(body) // 2], "cut"),
        ("the response after a line break", lambda body: b"\r\n" + body, ""))
] + [
    Row("returns the request", says(lambda connection, _: connection.send(
        START.encode() + b"Content-Length: %d\r\n\r\n" % len(connection.request) + connection.request)), NO_RESPONSE,
        "another kind", step="decoding"),
    Row("sends the response twice", instead(lambda body: body * 2), NO_RESPONSE, "octets follow", step="decoding"),
    Row("sends the response and a line break", instead(lambda body: body + b"\r\n"), NO_RESPONSE, "octets follow",
        step="decoding"),
] + [
    Row(f"refuses with {what}", instead(lambda _, octet=octet: bytes([0x30, 3, 10, 1, octet])), "NotSuccessful", what,
        step="decoding", http=200)
    for octet, what in ((1, "malformedRequest"), (2, "internalError"), (3, "tryLater"), (5, "sigRequired"),
                        (6, "unauthorized"))
]

ACCEPTED = [
    Row("sends a body until it closes", says("HTTP/1.0 200 OK\r\n\r\n", BODY), GOOD),
    Row("sends one chunk", chunks(lambda body: chunk(body) + b"0\r\n\r\n"), GOOD),
    Row("sends chunks of one octet", chunks(lambda body: unclosed(body) + b"0\r\n\r\n"), GOOD),
    Row("sends chunk extensions", size_line("{x};name=\"value\""), GOOD),
    Row("sends chunk sizes with zeros before them", size_line("00000{x}"), GOOD),
    Row("sends trailers", chunks(lambda body: chunk(body) + b"0\r\nX: y\r\n\r\n"), GOOD),
    Row("writes Chunked in capitals", says(START + "Transfer-Encoding: CHUNKED\r\n\r\n",
                                           body_part(lambda body: chunk(body) + b"0\r\n\r\n")), GOOD),
    Row("sends the identity coding", says(START + LENGTH + "Content-Encoding: identity\r\n\r\n", BODY), GOOD),
    Row("announces the length twice", length("Content-Length: {n}\r\nContent-Length: {n}"), GOOD),
    Row("sends more than it announced", says(HEAD, BODY, "HTTP/1.1 200 OK\r\n\r\n"), GOOD),
    Row("sends the body in small segments", says(HEAD, slowly("", 0.0)), GOOD),
    Row("calls the response a page", says("HTTP/1.1 200 OK\r\nContent-Type: text/html\r\n" + LENGTH + "\r\n", BODY),
        GOOD),
    Row("names no type", says("HTTP/1.1 200 OK\r\n" + LENGTH + "\r\n", BODY), GOOD),
]

ROWS = grouped("bodies", LENGTHS + CHUNKS + CODINGS + SIZES + CONTENT + ACCEPTED)
