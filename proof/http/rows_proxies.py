"""Proxies that misbehave, for responders over http and, through a tunnel, over https. The responders are honest."""
from row import (BAD_ANSWER, BODY, BROKEN, HANG, LENGTH, LOST, REDIRECT, RESET, STATUS, TIMEOUT, TLS, Row, at_once,
                 forever, grouped, says)

LOGIN = ["--proxy-user", "name", "--proxy-password-file", "password"]
BASIC = "Proxy-Authenticate: Basic realm=\"r\"\r\n"
EMPTY = "Content-Length: 0\r\n\r\n"
TUNNEL = "HTTP/1.1 200 Connection established\r\n\r\n"


def refuse_logins(connection, challenge=BASIC):
    while True:
        connection.read_request()
        connection.send(b"HTTP/1.1 407 X\r\n" + challenge.encode() + EMPTY.encode())


def silent_after_challenge(connection):
    """Asks for the login, and does not answer the request that has it."""
    connection.read_request()
    connection.send(b"HTTP/1.1 407 X\r\n" + BASIC.encode() + EMPTY.encode())
    connection.read_request()
    connection.hang()


def tunnel_refused(status):
    return says(f"HTTP/1.1 {status} X\r\n" + EMPTY)


PLAIN = [
    Row("closes at once", says(), LOST),
    Row("resets", says(RESET), LOST),
    Row("is silent", says(HANG), TIMEOUT),
    Row("speaks another protocol", at_once("220 mail.example ESMTP\r\n", 0.2), BAD_ANSWER),
    Row("answers with 407", says("HTTP/1.1 407 X\r\n" + BASIC + LENGTH + "\r\n", BODY), STATUS, "proxy", http=407),
    Row("answers each login with 407", refuse_logins, STATUS, "proxy", http=407, options=LOGIN),
    Row("answers with 407 and names no scheme", says("HTTP/1.1 407 X\r\n" + EMPTY), STATUS, http=407, options=LOGIN),
    Row("offers an unknown scheme", says("HTTP/1.1 407 X\r\nProxy-Authenticate: Magic x=y\r\n" + EMPTY), STATUS,
        http=407, options=LOGIN),
    Row("sends a broken Digest challenge", lambda c: refuse_logins(c, "Proxy-Authenticate: Digest qop=\r\n"), STATUS,
        http=407, options=LOGIN),
    Row("sends a page for a login",
        says("HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nContent-Length: 6\r\n\r\n<html>"),
        "Asn1Error", "HTML", step="decoding"),
    Row("redirects to a page for a login", says("HTTP/1.1 302 X\r\nLocation: http://127.0.0.1:1/login\r\n" + EMPTY),
        REDIRECT),
    Row("fails with 502", says("HTTP/1.1 502 X\r\n" + LENGTH + "\r\n", BODY), STATUS, "502", http=502),
    Row("fails with 504", says("HTTP/1.1 504 X\r\n" + LENGTH + "\r\n", BODY), STATUS, "504", http=504),
]

TUNNELS = [
    Row("closes at once", says(), (LOST, TLS)),
    Row("resets", says(RESET), (LOST, TLS)),
    Row("is silent", says(HANG), TIMEOUT),
    Row("sends the head without end", says("HTTP/1.1 200 X\r\n", forever(b"X: y\r\n" * 500)), BAD_ANSWER),
    Row("is silent after the login", silent_after_challenge, TIMEOUT, options=LOGIN),
    Row("sends the head slowly", says("HTTP/1.1 200 X\r\n", forever(b"X: y\r\n", 0.1)), TIMEOUT),
    Row("sends an endless header line", says("HTTP/1.1 200 X\r\nX: ", forever(b"x" * 4096)), BROKEN),
    Row("is silent in the tunnel", says(TUNNEL, HANG), TIMEOUT),
    Row("closes the tunnel", says(TUNNEL), TLS),
    Row("resets the tunnel", says(TUNNEL, RESET), TLS),
    Row("sends noise in the tunnel", says(TUNNEL, b"\0" * 100), TLS),
    Row("speaks HTTP in the tunnel", says(TUNNEL, "HTTP/1.1 200 OK\r\n" + EMPTY), TLS),
    Row("sends a body with the tunnel", says("HTTP/1.1 200 X\r\nContent-Length: 5\r\n\r\nhello"), TLS),
    Row("sends endless 100 Continue", says(forever(b"HTTP/1.1 100 C\r\n\r\n" * 100)), STATUS),
    Row("speaks another protocol", at_once("SSH-2.0-Server\r\n", 0.2), BROKEN),
    Row("sends an endless body with 403", says("HTTP/1.1 403 X\r\n\r\n", forever(b"x" * 4096)), STATUS, http=403),
    Row("sends no end of the body with 403", says("HTTP/1.1 403 X\r\nContent-Length: 9\r\n\r\n", HANG), STATUS),
    Row("redirects the tunnel", says("HTTP/1.1 302 X\r\nLocation: http://127.0.0.1:1/\r\n" + EMPTY), STATUS, http=302),
    Row("answers each login with 407", refuse_logins, STATUS, http=407, options=LOGIN),
] + [
    Row(f"refuses with {status}", tunnel_refused(status), STATUS, f"refused to connect.*{status}", http=status)
    for status in (400, 403, 404, 407, 429, 500, 502, 503, 504, 600)
]

for kind, table in (("proxy", PLAIN), ("tunnel", TUNNELS)):
    for row in table:
        row.kind, row.name = kind, f"{kind}: {row.name}"
ROWS = grouped("proxies", PLAIN + TUNNELS)
