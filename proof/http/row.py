"""A row: one behaviour of a server, and what the command must say about it."""
import dataclasses
from typing import Any, Callable

# Limits that the settings of every row give; the rows rely on them. A row that stalls has STALL_SECONDS for an
# exchange; all others have time enough on a busy machine, and end by themselves.
STALL_SECONDS = 1
LONG_SECONDS = 20
MAX_REDIRECTS = 3
MAX_BODY = 65536
MAX_HEADER = 8192

# Statuses by their symbols in docs/errors.md. GOOD and REVOKED are verdicts.
GOOD, REVOKED = "good", "revoked"
TIMEOUT, LOST, BAD_ANSWER = "HttpTimeout", "HttpConnectionLost", "HttpBadAnswer"
TLS, REDIRECT, UNREACHED = "HttpForbidden", "HttpRedirect", "HttpCannotConnect"
STATUS, PRIVATE, NO_RESPONSE = "HttpStatus", "AddressNotContacted", "Asn1Error"
BROKEN = (LOST, BAD_ANSWER, "HttpInternal")  # which of them depends on the release of libcurl

# Parts of a behaviour.
BODY = object()   # a valid good response to the request
RESET, HANG, HALF_CLOSE = object(), object(), object()

START = "HTTP/1.1 200 OK\r\nContent-Type: application/ocsp-response\r\n"
LENGTH = "Content-Length: {n}\r\n"
HEAD = START + LENGTH + "\r\n"


def play(connection, parts, body):
    """Sends texts and octets, waits for numbers of seconds, calls functions. In texts {n} is the size of the body, and
    {name} the address of the server of that name."""
    for part in parts:
        if part is BODY:
            connection.send(body)
        elif part is RESET:
            connection.reset()
        elif part is HANG:
            connection.hang()
        elif part is HALF_CLOSE:
            connection.half_close()
        elif isinstance(part, str):
            text = part.replace("{n}", str(len(body)))
            for name, url in connection.server.names.items():
                text = text.replace("{" + name + "}", url)
            connection.send(text.encode("latin-1"))
        elif isinstance(part, bytes):
            connection.send(part)
        elif isinstance(part, (int, float)):
            connection.pause(part)
        else:
            part(connection, body)


def says(*parts):
    """Reads one request, does `parts`, and closes the connection."""
    def serve(connection):
        connection.read_request()
        play(connection, parts, connection.answer())
    return serve


def at_once(*parts):
    """Does `parts` without waiting for a request."""
    return lambda connection: play(connection, parts, b"")


def honest(connection):
    """A responder without a fault, which keeps the connection."""
    while True:
        connection.read_request()
        play(connection, [HEAD, BODY], connection.answer())


def forever(octets, pause=0.0):
    """A part that sends the same octets without end."""
    def send(connection, _body):
        while True:
            connection.send(octets)
            connection.pause(pause)
    return send


def slowly(text, pause):
    """A part that sends `text`, and then the body, octet by octet."""
    def send(connection, body):
        for octet in text.replace("{n}", str(len(body))).encode() + body:
            connection.send(bytes([octet]))
            connection.pause(pause)
    return send


def body_part(change):
    """A part that sends what `change` makes of the body."""
    return lambda connection, body: connection.send(change(body))


@dataclasses.dataclass
class Row:
    """`expected` is the status of the last attempt or download, by its symbol in docs/errors.md, or a verdict; a tuple
    of statuses when each is right, a list for several certificates. An https server has the context that `tls` makes
    of the PKI."""
    name: str
    serve: Callable
    expected: Any
    text: str = ""                 # regular expression that the message must contain
    step: str = "exchange"         # which the attempt reached (docs/json.md)
    http: int = None               # HTTP status that is reported; None: any
    kind: str = "responder"        # what the server is: bench.py
    check_seconds: int = 0         # the time limit of the check decides, and not that of one exchange
    settings: dict = dataclasses.field(default_factory=dict)  # of [crypto]
    policy: dict = dataclasses.field(default_factory=dict)
    options: list = dataclasses.field(default_factory=list)
    path: str = "/"
    host: str = "127.0.0.1"        # that the server listens on
    named_host: str = None         # in its address; None: `host`
    scheme: str = None             # in its address; None: that of the server
    tls: Callable = None
    shakes: bool = True            # the server makes the TLS handshake before `serve`
    connections: int = None        # how many the server sees in the check; None: any
    others: dict = dataclasses.field(default_factory=dict)    # more servers: {name: Row}
    revoked: tuple = ()            # leaves that the responder calls revoked
    slow: bool = False             # left out by --quick
    group: str = ""                # the module, for the summary

    @property
    def stalls(self):
        return self.expected == TIMEOUT and not self.check_seconds

    @property
    def is_accepted(self):
        return set(self.expected if isinstance(self.expected, list) else [self.expected]) <= {GOOD, REVOKED}

    @property
    def seconds(self):
        """The time limit of the whole run."""
        return self.check_seconds or (STALL_SECONDS if self.stalls else LONG_SECONDS)


def grouped(group, rows):
    for row in rows:
        row.group = group
    return rows
