"""Connections that give no head, heads that are none, floods of header lines, and HTTP statuses other than 200."""
from row import (BAD_ANSWER, BODY, BROKEN, GOOD, HALF_CLOSE, HANG, HEAD, LENGTH, LOST, RESET, START, STATUS, TIMEOUT,
                 UNREACHED, Row, at_once, forever, grouped, says, slowly)


def line(start):
    """A complete response with this status line."""
    return says(start + "\r\n" + LENGTH + "\r\n", BODY)


def with_lines(*lines):
    """A complete response with more header lines."""
    return says(START + LENGTH + "".join(text + "\r\n" for text in lines) + "\r\n", BODY)


def refuse_connections(connection):
    connection.reset()


SILENCE = [
    Row("closes the connection at once", at_once(), LOST),
    Row("resets the connection at once", refuse_connections, (LOST, UNREACHED)),
    Row("closes after the request", says(), LOST),
    Row("resets after the request", says(RESET), LOST),
    Row("half-closes after the request, and is silent", says(HALF_CLOSE, HANG), LOST),
    Row("is silent", says(HANG), TIMEOUT, "gave no complete answer within 1 s"),
    Row("does not read the request", at_once(HANG), TIMEOUT),
    Row("ends after an empty line", says("\r\n"), BAD_ANSWER),
    Row("is silent after the status line", says("HTTP/1.1 200 OK\r\n", HANG), TIMEOUT),
    Row("is silent in a header line", says("HTTP/1.1 200 OK\r\nContent-Le", HANG), TIMEOUT),
    Row("is silent after the head", says(HEAD, HANG), TIMEOUT),
    Row("closes in the status line", says("HTTP/1.1 20"), BROKEN),
    Row("closes after the status line", says("HTTP/1.1 200 OK\r\n"), LOST, "end of the header"),
    Row("closes in a header line", says("HTTP/1.1 200 OK\r\nContent-Le"), LOST, "end of the header"),
    Row("closes after the header lines", says(START), LOST, "end of the header"),
    Row("closes after a redirect without an end", says("HTTP/1.1 302 X\r\nLocation: /\r\n"), LOST, "end of the header"),
    Row("closes after the head", says(HEAD), LOST),
    Row("resets in a header line", says("HTTP/1.1 200 OK\r\nContent-Le", RESET), LOST),
    Row("sends the head an octet each 50 ms", says(slowly(HEAD, 0.05)), TIMEOUT),
    Row("sends a header line each 100 ms, without end", says("HTTP/1.1 200 OK\r\n", forever(b"X: y\r\n", 0.1)),
        TIMEOUT),
    Row("is silent beyond the time limit of the check", says(HANG), TIMEOUT, "time limit of the check, 1 s",
        check_seconds=1),
]

HEADS = [
    Row("speaks SMTP", at_once("220 mail.example ESMTP\r\n", 0.2), BAD_ANSWER),
    Row("speaks SSH", at_once("SSH-2.0-Server\r\n", HANG), BAD_ANSWER),
    Row("sends a TLS alert", says(b"\x15\x03\x03\x00\x02\x02\x28"), BAD_ANSWER),
    Row("answers as HTTP/0.9", says(BODY), BAD_ANSWER),
    Row("answers as ICY", line("ICY 200 OK"), BAD_ANSWER),
    Row("has no blank after the version", line("HTTP/1.1200 OK"), BAD_ANSWER),
    Row("has a blank before the status line", line(" HTTP/1.1 200 OK"), BAD_ANSWER),
    Row("has a status of two digits", line("HTTP/1.1 20 OK"), BAD_ANSWER),
    Row("has a status of four digits", line("HTTP/1.1 2000 OK"), BAD_ANSWER),
    Row("has a status that is a word", line("HTTP/1.1 OK OK"), BAD_ANSWER),
    Row("has a negative status", line("HTTP/1.1 -200 OK"), BAD_ANSWER),
    Row("has the status 000", line("HTTP/1.1 000 OK"), BAD_ANSWER),
    Row("has version 4.2", line("HTTP/4.2 200 OK"), BAD_ANSWER),
    Row("has version 1", line("HTTP/1 200 OK"), BAD_ANSWER),
    Row("has no version", line("HTTP 200 OK"), BAD_ANSWER),
    Row("answers in HTTP/2 frames", says(b"\x00\x00\x06\x04\x00\x00\x00\x00\x00\x00\x03\x00\x00\x00\x64"), BAD_ANSWER),
    Row("switches protocols", says("HTTP/1.1 101 Switching Protocols\r\nUpgrade: h2c\r\n\r\n", BODY), STATUS,
        http=101),
    Row("has a NUL in a header line", with_lines("X: a\0b"), BAD_ANSWER),
    Row("has a header line without a colon", with_lines("no colon here"), BAD_ANSWER),
    Row("has only 100 Continue, and is silent", says("HTTP/1.1 100 Continue\r\n\r\n", HANG), TIMEOUT),
    Row("has only 100 Continue, and closes", says("HTTP/1.1 100 Continue\r\n\r\n"), LOST),
    Row("sends a header line of 9000 octets", with_lines("X: " + "x" * 9000), BAD_ANSWER, "max_header_bytes"),
    Row("sends 2000 header lines", with_lines(*["X: y"] * 2000), BAD_ANSWER, "max_header_bytes"),
    Row("sends an endless header line", says("HTTP/1.1 200 OK\r\nX: ", forever(b"x" * 4096)), BAD_ANSWER,
        "too long to be read"),
    Row("sends endless header lines", says("HTTP/1.1 200 OK\r\n", forever(b"X: y\r\n" * 500)), BAD_ANSWER,
        "max_header_bytes"),
    Row("sends an endless status line", says("HTTP/1.1 200 ", forever(b"x" * 4096)), BAD_ANSWER),
    Row("sends endless empty lines", says(forever(b"\r\n" * 1000)), BAD_ANSWER),
    Row("sends 100 Continue without end", says(forever(b"HTTP/1.1 100 Continue\r\n\r\n" * 100)), BAD_ANSWER,
        "max_header_bytes"),
    Row("sends 103 Early Hints without end", says(forever(b"HTTP/1.1 103 E\r\nLink: <x>\r\n\r\n" * 100)), BAD_ANSWER,
        "max_header_bytes"),
    Row("sends 100 Continue each 100 ms", says(forever(b"HTTP/1.1 100 Continue\r\n\r\n", 0.1)), TIMEOUT),
]

# Each with a valid response as the body, which must not count. 400 and 500 may be about the nonce: see below.
STATUSES = [
    Row(f"answers with {status}", line(f"HTTP/1.1 {status} X"), STATUS, f"HTTP status {status}", http=status)
    for status in (201, 202, 203, 206, 207, 226, 299, 300, 305, 306, 400, 401, 402, 403, 404, 405, 406, 407, 408, 409,
                   410,
                   411, 412, 413, 414, 415, 416, 417, 418, 421, 422, 425, 426, 428, 429, 431, 451, 499, 500, 501, 502,
                   503, 504, 505, 506, 507, 508, 511, 520, 599, 600, 999)
] + [
    Row("answers with 204 and a body", line("HTTP/1.1 204 No Content"), STATUS, "204", http=204),
    Row("answers with 205 and a body", line("HTTP/1.1 205 Reset Content"), STATUS, "205", http=205),
    Row("answers with 304 and a body", line("HTTP/1.1 304 Not Modified"), STATUS, "304", http=304),
    Row("asks for a login", says("HTTP/1.1 401 X\r\nWWW-Authenticate: Basic realm=\"r\"\r\n" + LENGTH + "\r\n", BODY),
        STATUS, "put a login", http=401),
    Row("wants to be asked later", says("HTTP/1.1 503 X\r\nRetry-After: 3600\r\n" + LENGTH + "\r\n", BODY), STATUS,
        "try again later", http=503),
    Row("refuses, and cuts its page", says("HTTP/1.1 403 X\r\nContent-Length: 9\r\n\r\nNo"), STATUS, "403", http=403),
    Row("refuses, and resets in its page", says("HTTP/1.1 403 X\r\nContent-Length: 9\r\n\r\nNo", 0.1, RESET), STATUS,
        "403", http=403),
    Row("has a status text with control characters", line("HTTP/1.1 404 \x1b[2J\x07"), STATUS, "404", http=404),
]

ACCEPTED = [
    Row("is well-behaved", line("HTTP/1.1 200 OK"), GOOD),
    Row("speaks HTTP/1.0", line("HTTP/1.0 200 OK"), GOOD),
    Row("gives no reason phrase", line("HTTP/1.1 200"), GOOD),
    Row("gives a long reason phrase", line("HTTP/1.1 200 " + "very " * 100 + "good"), GOOD),
    Row("ends lines with LF only", says("HTTP/1.1 200 OK\nContent-Length: {n}\n\n", BODY), GOOD),
    Row("writes header names in capitals", says("HTTP/1.1 200 OK\r\nCONTENT-LENGTH:{n}\r\n\r\n", BODY), GOOD),
    Row("folds a header line", with_lines("X: a", "  b"), GOOD),
    Row("sends 7000 octets of header lines", with_lines(*["X: " + "y" * 95] * 70), GOOD),
    Row("begins with 100 Continue", says("HTTP/1.1 100 Continue\r\n\r\n" + HEAD, BODY), GOOD),
    Row("begins with 102 and 103", says("HTTP/1.1 102 P\r\n\r\nHTTP/1.1 103 E\r\nLink: <x>\r\n\r\n" + HEAD, BODY),
        GOOD),
    Row("sets cookies", with_lines("Set-Cookie: a=b", "Set-Cookie2: c=d"), GOOD),
    Row("announces the end of the connection", with_lines("Connection: close"), GOOD),
    Row("offers another protocol", with_lines("Upgrade: h2c", "Alt-Svc: h2=\":1\"", "Connection: Upgrade"), GOOD),
    Row("answers half a second later", says(0.5, HEAD, BODY), GOOD),
]

CONNECTING = [
    Row("listens at no port", says(), UNREACHED, "Connection refused", path="/", kind="closed"),
    Row("accepts no connection", says(), TIMEOUT, "within 1 s .setting connect_timeout_ms", kind="full",
        settings={"connect_timeout_ms": 1000, "exchange_timeout_ms": 20000}),
    Row("accepts no connection within the exchange", says(), TIMEOUT, "exchange_timeout_ms", kind="full"),
]

ROWS = grouped("heads", SILENCE + HEADS + STATUSES + ACCEPTED + CONNECTING)
