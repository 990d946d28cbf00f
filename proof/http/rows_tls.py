"""TLS with a fault: certificates, versions, handshakes and records that are cut or changed."""
import ssl

from cryptography.hazmat.primitives.asymmetric import rsa
from cryptography.x509.oid import ExtendedKeyUsageOID

from pki import Identity, tls_identity
from row import (BAD_ANSWER, BODY, GOOD, HANG, HEAD, LOST, NO_RESPONSE, RESET, START, TIMEOUT, TLS, Row, at_once,
                 body_part, forever, grouped, honest, says)
from server import Ended, tls_context


def well(pki):
    return tls_context(pki.tls_server)


def identity(**parts):
    """The context of a certificate that the TLS root issued."""
    return lambda pki: tls_context(tls_identity(pki.tls, **parts))


def version(version_of_tls):
    def context(pki):
        return tls_context(pki.tls_server, ciphers="ALL:@SECLEVEL=0", minimum_version=version_of_tls,
                           maximum_version=version_of_tls)
    return context


def sealed(change):
    """A part after which sealed octets are changed on their way."""
    def begin(connection, _body):
        connection.mangle = change
    return begin


def flipped(octets):
    return octets[:-1] + bytes([octets[-1] ^ 1])


def unannounced(connection, _body):
    """From here on the connection is closed without close_notify."""
    connection.notifies = False


def raw(octets):
    """A part that sends octets past TLS."""
    return lambda connection, _body: connection.peer.sendall(octets)


def shakes_with(change):
    """Makes the handshake, with `change` applied to what it sends, and answers."""
    def serve(connection):
        connection.notifies = False
        connection.mangle = change
        connection.handshake()
        honest(connection)
    return serve


def cut_after(number):
    """Sends so many octets of the handshake, and closes."""
    def serve(connection):
        connection.notifies = False
        sent = 0

        def part(octets):
            nonlocal sent
            rest = octets[:max(number - sent, 0)]
            sent += len(octets)
            if len(rest) < len(octets):
                connection.peer.sendall(rest)
                raise Ended
            return octets
        connection.mangle = part
        connection.handshake()
    return serve


def plain(*parts):
    """Sends octets in place of a handshake."""
    def serve(connection):
        connection.notifies = False
        for part in parts:
            if part is HANG:
                connection.hang()
            elif part is RESET:
                connection.reset()
            elif callable(part):
                part(connection, b"")
            else:
                connection.peer.sendall(part)
    return serve


def endless(octets, pause=0.0):
    def send(connection, _body):
        while True:
            connection.peer.sendall(octets)
            connection.pause(pause)
    return send


def record(kind, content, version_octets=b"\x03\x03"):
    return bytes([kind]) + version_octets + len(content).to_bytes(2, "big") + content


def read_hello(connection, _body):
    connection.peer.recv(65536)


def wanting_client(pki):
    context = well(pki)
    context.verify_mode = ssl.CERT_REQUIRED
    return context


CERTIFICATES = [
    Row(f"shows a certificate that {what}", honest, TLS, text, tls=tls)
    for what, text, tls in (
        ("has expired", "expired", identity(days=(-30, -1))),
        ("is not valid yet", "not yet valid", identity(days=(1, 30))),
        ("is for another address", "subject name", identity(hosts=["127.0.0.2"])),
        ("is for another name", "subject name", identity(hosts=["other.example"])),
        ("has the address as a DNS name", "subject name", identity(hosts=["127.0.0.1.example"])),
        ("names no host", "subject name", identity(hosts=[])),
        ("another root issued", "issuer certificate", lambda pki: tls_context(tls_identity(pki.root))),
        ("is self-signed", "self.signed", lambda pki: tls_context(tls_identity(None))),
        ("another root of the same name issued", "", lambda pki: tls_context(tls_identity(
            Identity("TLS root", is_ca=True)))),
        ("is that of a client", "", identity(usage=ExtendedKeyUsageOID.CLIENT_AUTH)),
        ("is that of a responder", "", identity(usage=ExtendedKeyUsageOID.OCSP_SIGNING)),
        ("one that is no CA issued", "", lambda pki: tls_context(tls_identity(pki.tls_server))),
        ("has an RSA key of 1024 bits", "", lambda pki: tls_context(tls_identity(pki.tls, key=rsa.generate_private_key(
            65537, 1024)), ciphers="ALL:@SECLEVEL=0")))
]

HANDSHAKES = [
    Row("speaks TLS 1.0", honest, TLS, tls=version(ssl.TLSVersion.TLSv1)),
    Row("speaks TLS 1.1", honest, TLS, tls=version(ssl.TLSVersion.TLSv1_1)),
    Row("has only weak ciphers", honest, TLS, tls=lambda pki: tls_context(
        pki.tls_server, ciphers="aNULL:@SECLEVEL=0", maximum_version=ssl.TLSVersion.TLSv1_2)),
    Row("asks for the client's certificate", honest, (TLS, LOST), tls=wanting_client),
    Row("is silent in the handshake", plain(HANG), TIMEOUT, tls=well, shakes=False),
    Row("is silent after the hello of the client", plain(read_hello, HANG), TIMEOUT, tls=well, shakes=False),
    Row("closes after the hello of the client", plain(read_hello), TLS, tls=well, shakes=False),
    Row("resets after the hello of the client", plain(read_hello, RESET), TLS, tls=well, shakes=False),
    Row("sends a fatal alert", plain(read_hello, record(21, b"\x02\x28")), TLS, tls=well, shakes=False),
    Row("sends warnings without end", plain(read_hello, endless(record(21, b"\x01\x5a"))), TLS, tls=well, shakes=False),
    Row("sends empty records without end", plain(read_hello, endless(record(22, b""))), TLS, tls=well, shakes=False),
    Row("sends a record without end", plain(read_hello, b"\x16\x03\x03\x40\x00", endless(b"\x02", 0.05)), TIMEOUT,
        tls=well, shakes=False),
    Row("sends change cipher spec without end", plain(read_hello, endless(record(20, b"\x01"))), TLS, tls=well,
        shakes=False),
    Row("sends a record that is too long", plain(read_hello, record(22, b"\x02" * 20000)), TLS, tls=well, shakes=False),
    Row("sends a hello of 16 MiB", plain(read_hello, endless(record(22, b"\x02\xff\xff\xff" + b"\0" * 16000))), TLS,
        tls=well, shakes=False),
    Row("answers in plain HTTP", plain(b"HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n"), TLS, "TLS", tls=well,
        shakes=False),
    Row("sends noise", plain(read_hello, bytes(range(256)) * 8), TLS, tls=well, shakes=False),
    Row("cuts the hello", cut_after(40), TLS, tls=well, shakes=False),
    Row("cuts the certificate", cut_after(400), TLS, tls=well, shakes=False),
    Row("changes an octet of the handshake", shakes_with(flipped), TLS, tls=well, shakes=False),
    Row("does not speak TLS at all", at_once(HANG), TIMEOUT, scheme="https"),
    Row("speaks HTTP where TLS is asked for", at_once("HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n"), TLS, "TLS",
        scheme="https"),
    Row("speaks TLS where HTTP is asked for", honest, (LOST, BAD_ANSWER), tls=well, scheme="http"),
]

RECORDS = [
    Row("cuts a body without a length without close_notify", says(
        START + "\r\n", body_part(lambda body: body[:-1]), unannounced), (LOST, NO_RESPONSE), step=None, tls=well),
    Row("cuts a body with a length", says(HEAD, body_part(lambda body: body[:-1]), unannounced), LOST, tls=well),
    Row("cuts a body with a length, with close_notify", says(HEAD, body_part(lambda body: body[:-1])), LOST, tls=well),
    Row("cuts a record", says(HEAD, unannounced, sealed(lambda octets: octets[:-1]), BODY), LOST, tls=well),
    Row("stops in a record", says(HEAD, sealed(lambda octets: octets[:-1]), BODY, sealed(lambda _: b""), HANG), TIMEOUT,
        tls=well),
    Row("changes an octet of a record", says(HEAD, unannounced, sealed(flipped), BODY), LOST, tls=well),
    Row("changes an octet of a record of TLS 1.2", says(HEAD, unannounced, sealed(flipped), BODY), LOST,
        tls=version(ssl.TLSVersion.TLSv1_2)),
    Row("sends a record twice", says(START + "Content-Length: 2000\r\n\r\n", unannounced,
                                     sealed(lambda octets: octets * 2),
                                     BODY), LOST, tls=well),
    Row("continues in plain text", says(HEAD, unannounced, lambda connection, body: connection.peer.sendall(body)),
        LOST,
        tls=well),
    Row("sends a plain alert in place of the body", says(HEAD, unannounced, raw(record(21, b"\x01\x00"))), LOST,
        tls=well),
    Row("resets in the body", says(HEAD, "0", RESET), LOST, tls=well),
    Row("sends an endless body over TLS", says(START + "\r\n", forever(b"x" * 4096)), BAD_ANSWER, tls=well),
    Row("sends an octet of the body each 100 ms", says(START + "Content-Length: 60000\r\n\r\n", forever(b"x", 0.1)),
        TIMEOUT, tls=well),
    Row("sends an octet of the body each millisecond", says(
        START + "Content-Length: 60000\r\n\r\n", forever(b"x", 0.001)), TIMEOUT, tls=well),
    Row("is silent after the request over TLS", says(HANG), TIMEOUT, tls=well),
    Row("closes after the request over TLS", says(), LOST, tls=well),
    Row("sends empty records over TLS without end", says(HEAD, raw(b""), forever(b"")), TIMEOUT, tls=well),
]

ACCEPTED = [
    Row("speaks TLS 1.2", honest, GOOD, tls=version(ssl.TLSVersion.TLSv1_2)),
    Row("speaks TLS 1.3", honest, GOOD, tls=version(ssl.TLSVersion.TLSv1_3)),
    Row("closes without close_notify after the whole body", says(HEAD, BODY, unannounced), GOOD, tls=well),
    Row("ends a body without a length with close_notify", says(START + "\r\n", BODY), GOOD, tls=well),
    Row("speaks TLS on IPv6", honest, GOOD, tls=well, host="::1"),
    Row("speaks TLS by name", honest, GOOD, tls=well, named_host="localhost"),
    Row("keeps the connection of TLS", honest, [GOOD] * 4, tls=well, kind="many", connections=1),
    Row("closes the idle connection of TLS", says(HEAD, BODY, 0.01), [GOOD] * 4, tls=well, kind="many"),
    Row("closes the idle connection of TLS without close_notify", says(HEAD, BODY, 0.01, unannounced), [GOOD] * 4,
        tls=well, kind="many"),
]

ROWS = grouped("tls", CERTIFICATES + HANDSHAKES + RECORDS + ACCEPTED)
