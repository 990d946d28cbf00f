"""Connections that are used again: closed, reset or forgotten meanwhile, with answers left over; and several addresses.

Each row with four certificates is one process, which asks the same server four times.
"""
from row import (BAD_ANSWER, BODY, BROKEN, GOOD, HALF_CLOSE, HANG, HEAD, LENGTH, LOST, RESET, REVOKED, START, STATUS,
                 TIMEOUT, Row, forever, grouped, honest, play, says)

ALL_GOOD = [GOOD] * 4
IDLE_OVER = "HTTP/1.1 408 Request Timeout\r\nContent-Length: 0\r\nConnection: close\r\n\r\n"


def after_each(*parts):
    """Answers each request, and does `parts` before the next one."""
    def serve(connection):
        while True:
            connection.read_request()
            play(connection, [HEAD, BODY, *parts], connection.answer())
    return serve


def second(*parts):
    """Answers the first request of each connection, and the second one with `parts`."""
    def serve(connection):
        connection.read_request()
        play(connection, [HEAD, BODY], connection.answer())
        connection.read_request()
        play(connection, parts, connection.answer())
    return serve


def request(number, *parts):
    """Answers all requests of the server but one, which gets `parts`."""
    def serve(connection):
        while True:
            connection.read_request()
            is_it = connection.server.requests == number
            play(connection, parts if is_it else [HEAD, BODY], connection.answer())
            if is_it:
                return
    return serve


def message(body):
    return HEAD.replace("{n}", str(len(body))).encode() + body


def prepared(connection, number):
    """A message with a valid good response, without a nonce, about the certificate of this number."""
    pki = connection.server.responder.pki
    return message(pki.response(pki.leaves[number % len(pki.leaves)]))


def good_for_next(connection, _body):
    connection.send(prepared(connection, connection.server.requests))


def good_for_this(connection, _body):
    connection.send(prepared(connection, connection.server.requests - 1))


def answers_with_next(connection):
    """Answers each request together with the next one, which was not asked yet."""
    while True:
        connection.read_request()
        connection.send(message(connection.answer()) + prepared(connection, connection.server.requests))


def previous_answers(connection):
    """Answers each request with the answer to the one before."""
    last = None
    while True:
        connection.read_request()
        answer = connection.answer()
        play(connection, [HEAD, BODY], last or answer)
        last = answer


def first_connection(serve_first, serve_others):
    return lambda connection: (serve_others if connection.number else serve_first)(connection)


KEPT = [
    Row("keeps the connection", honest, ALL_GOOD, connections=1),
    Row("closes after each answer", says(HEAD, BODY), ALL_GOOD, connections=4),
    Row("announces that it closes, and does not", says(START + LENGTH + "Connection: close\r\n\r\n", BODY, HANG),
        ALL_GOOD, connections=4),
    Row("keeps connections of HTTP/1.0", says(
        "HTTP/1.0 200 OK\r\nConnection: keep-alive\r\n" + LENGTH + "\r\n", BODY, HANG), ALL_GOOD, connections=4),
    Row("permits one request for each connection", says(
        START + LENGTH + "Keep-Alive: timeout=5, max=1\r\n\r\n", BODY), ALL_GOOD),
    Row("closes while the connection is idle", says(HEAD, BODY, 0.01), ALL_GOOD),
    Row("resets while the connection is idle", says(HEAD, BODY, 0.01, RESET), ALL_GOOD),
    Row("half-closes while the connection is idle", says(HEAD, BODY, 0.01, HALF_CLOSE, HANG), ALL_GOOD),
    Row("closes when the second request arrives", second(), ALL_GOOD),
    Row("resets when the second request arrives", second(RESET), ALL_GOOD),
    Row("half-closes when the second request arrives", second(HALF_CLOSE, HANG), ALL_GOOD),
    Row("forgets the connection", second(HANG), ALL_GOOD, slow=True),
    Row("sends a line break after each answer", after_each("\r\n"), ALL_GOOD),
    Row("sends 408 while the connection is idle", says(HEAD, BODY, 0.01, IDLE_OVER), ALL_GOOD),
    Row("sends 408 when the second request arrives", second(IDLE_OVER), ALL_GOOD),
    Row("sends a line break when the second request arrives", second("\r\n", HEAD, BODY), ALL_GOOD),
    Row("sends no HTTP when the second request arrives", second(BODY), ALL_GOOD),
    Row("sends a line break before each answer but the first", first_connection(second("\r\n", HEAD, BODY), says(
        "\r\n", HEAD, BODY)), [GOOD] + [BAD_ANSWER] * 3),
    Row("sends 100 Continue after each answer", after_each("HTTP/1.1 100 Continue\r\n\r\n"), ALL_GOOD),
]

# The second certificate is revoked: what is left over says good.
LEFT_OVER = [
    Row("sends an answer to the next question with each answer", answers_with_next, [GOOD, REVOKED, GOOD, GOOD],
        kind="many", revoked=(1,)),
    Row("sends an answer of its own when the second request arrives", request(2, good_for_this),
        [GOOD, "NonceMismatch", GOOD, GOOD], kind="many", revoked=(1,), options=["--nonce", "require"], step="nonce"),
    Row("sends an answer to the next question after an error", request(
        1, "HTTP/1.1 404 X\r\nContent-Length: 0\r\n\r\n", good_for_next), [STATUS, REVOKED, GOOD, GOOD], kind="many",
        revoked=(1,)),
    Row("sends an answer to the next question after 204", request(
        1, "HTTP/1.1 204 X\r\n\r\n", good_for_next), [STATUS, REVOKED, GOOD, GOOD], kind="many", revoked=(1,)),
]

FAILING = [
    Row("closes in the head of the second answer", request(2, "HTTP/1.1 200 OK\r\nConte"), [GOOD, LOST, GOOD, GOOD]),
    Row("closes in the body of the second answer", request(2, HEAD, "0"), [GOOD, LOST, GOOD, GOOD]),
    Row("resets in the body of the second answer", request(2, HEAD, "0", RESET), [GOOD, LOST, GOOD, GOOD]),
    Row("sends an endless second answer", request(2, START, "\r\n", forever(b"x" * 4096)),
        [GOOD, BAD_ANSWER, GOOD, GOOD]),
    Row("sends a wrong length with the second answer", request(2, START + "Content-Length: x\r\n\r\n", BODY),
        [GOOD, BAD_ANSWER, GOOD, GOOD]),
    Row("sends a faulty chunk as the second answer", request(2, START + "Transfer-Encoding: chunked\r\n\r\n", BODY),
        [GOOD, BROKEN, GOOD, GOOD]),
    Row("fails with 503 once", request(2, "HTTP/1.1 503 X\r\n" + LENGTH + "\r\n", BODY), [GOOD, STATUS, GOOD, GOOD]),
    Row("closes all connections after the first", first_connection(
        second(), says()), [GOOD, LOST, LOST, LOST]),
]

SWAPPED = [
    Row("answers with the answer to the question before", previous_answers, [GOOD] + ["NonceMismatch"] * 3, kind="many",
        step="nonce"),
]

ADDRESSES = [
    Row("listens on IPv6", honest, GOOD, host="::1"),
    Row("closes on IPv6", says(), LOST, host="::1"),
    Row("is silent on IPv6", says(HANG), TIMEOUT, host="::1"),
    Row("cuts the body on IPv6", says(HEAD, "0"), LOST, host="::1"),
    Row("listens on the IPv4 address of a name only", honest, GOOD, named_host="localhost"),
    Row("listens on the IPv6 address of a name only", honest, GOOD, host="::1", named_host="localhost"),
    Row("is an IPv4 address in IPv6", honest, GOOD, named_host="[::ffff:127.0.0.1]"),
    Row("is named by a certificate that may not name it", honest, "AddressNotContacted", kind="named",
        settings={"refuse_private_addresses": True}),
    Row("is the first of three silent responders", says(HANG), TIMEOUT, kind="named", check_seconds=2,
        settings={"exchange_timeout_ms": 900},
        others={"second": Row("", says(HANG), GOOD), "third": Row("", says(HANG), GOOD)}),
    Row("fails, and the second responder of the certificate answers", says(), GOOD, kind="named",
        others={"second": Row("", honest, GOOD)}),
]

for row in KEPT + FAILING:
    row.kind = "many"
ROWS = grouped("connections", KEPT + LEFT_OVER + FAILING + SWAPPED + ADDRESSES)
