"""A server on a free port whose behaviour is a function of each connection, over TCP or TLS."""
import socket
import ssl
import struct
import tempfile
import threading
import time
from pathlib import Path

LONGEST_SECONDS = 30  # of a connection; rows end much sooner


class Ended(Exception):
    """The row is over, or the client has gone."""


class Connection:
    """One connection of a client. What a behaviour sends arrives unchanged."""

    def __init__(self, server, peer, number):
        self.server, self.number, self.peer = server, number, peer
        self.waiting = b""  # received, not yet read
        self.request = b""  # the body of the last request
        self.head = ""      # its request line and header lines
        peer.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        peer.settimeout(LONGEST_SECONDS)

    def pause(self, seconds):
        if self.server.stopping.wait(seconds):
            raise Ended

    def hang(self):
        self.pause(LONGEST_SECONDS)

    def send(self, octets):
        if self.server.stopping.is_set():
            raise Ended
        self.peer.sendall(octets)

    def receive(self):
        """Some octets; none at the end of the connection."""
        return self.peer.recv(65536)

    def read_request(self):
        """Reads one request; its body. Raises Ended when none comes."""
        while b"\r\n\r\n" not in self.waiting:
            self.read_more()
        head, _, self.waiting = self.waiting.partition(b"\r\n\r\n")
        self.head = head.decode("latin-1")
        size = next((int(line.split(":")[1]) for line in self.head.lower().split("\r\n")
                     if line.startswith("content-length:")), 0)
        while len(self.waiting) < size:
            self.read_more()
        self.request, self.waiting = self.waiting[:size], self.waiting[size:]
        self.server.heads.append(self.head)
        self.server.requests += 1
        return self.request

    def read_more(self):
        octets = self.receive()
        if not octets:
            raise Ended
        self.waiting += octets

    def answer(self):
        """The valid response to the request that was read."""
        return self.server.responder.answer(self.request)

    def half_close(self):
        self.peer.shutdown(socket.SHUT_WR)

    def reset(self):
        """Ends the connection with RST."""
        self.peer.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self.peer.close()
        raise Ended

    def close(self):
        raise Ended


class TlsConnection(Connection):
    """TLS whose records pass through memory, so that they can be cut and changed."""

    def __init__(self, server, peer, number):
        super().__init__(server, peer, number)
        self.sealed_in, self.sealed_out = ssl.MemoryBIO(), ssl.MemoryBIO()
        self.tls = server.tls.wrap_bio(self.sealed_in, self.sealed_out, server_side=True)
        self.mangle = None    # applied to sealed octets on their way
        self.notifies = True  # sends close_notify at the end

    def flush(self):
        sealed = self.sealed_out.read()
        if sealed:
            self.peer.sendall(self.mangle(sealed) if self.mangle else sealed)

    def drive(self, step):
        while True:
            try:
                result = step()
                self.flush()
                return result
            except ssl.SSLWantReadError:
                self.flush()
                octets = self.peer.recv(65536)
                if not octets:
                    raise Ended from None
                self.sealed_in.write(octets)

    def handshake(self):
        self.drive(self.tls.do_handshake)

    def send(self, octets):
        if self.server.stopping.is_set():
            raise Ended
        self.tls.write(octets)
        self.flush()

    def receive(self):
        return self.drive(lambda: self.tls.read(65536))

    def end_tls(self):
        """Sends close_notify."""
        try:
            self.tls.unwrap()
        except ssl.SSLError:
            pass
        self.flush()


def tls_context(identity, **attributes):
    """Of a server with this certificate; `attributes` are those of ssl.SSLContext."""
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    with tempfile.TemporaryDirectory() as folder:
        path = Path(folder) / "identity.pem"
        path.write_bytes(identity.key_pem + identity.pem)
        if "ciphers" in attributes:  # with @SECLEVEL they decide which keys can be loaded
            context.set_ciphers(attributes.pop("ciphers"))
        context.load_cert_chain(path)
    for name, value in attributes.items():
        setattr(context, name, value)
    return context


class Server:
    """Listens at once. `serve(connection)` runs in a thread for each connection, which ends with it."""

    def __init__(self, serve, responder, host="127.0.0.1", tls=None, shakes=True, accepts=True):
        self.serve, self.responder, self.host, self.tls, self.shakes = serve, responder, host, tls, shakes
        self.stopping = threading.Event()
        self.heads = []        # of all requests
        self.requests = 0      # since the run of the command began
        self.connections = []  # all that were accepted
        self.names = {}        # addresses by the names that behaviours know
        self.failures = []     # exceptions of the behaviour that are none of the network
        self.listener = socket.socket(socket.AF_INET6 if ":" in host else socket.AF_INET)
        self.listener.bind((host, 0))
        self.listener.listen(64 if accepts else 0)
        self.port = self.listener.getsockname()[1]
        self.threads = [threading.Thread(target=self.accept, daemon=True)]
        if accepts:
            self.threads[0].start()

    def url(self, path="/", scheme=None, host=None):
        host = host or (f"[{self.host}]" if ":" in self.host else self.host)
        return f"{scheme or ('https' if self.tls else 'http')}://{host}:{self.port}{path}"

    def accept(self):
        while not self.stopping.is_set():
            try:
                peer, _ = self.listener.accept()
            except OSError:
                return
            connection = (TlsConnection if self.tls else Connection)(self, peer, len(self.connections))
            self.connections.append(connection)
            self.threads.append(threading.Thread(target=self.run, args=[connection], daemon=True))
            self.threads[-1].start()

    def run(self, connection):
        try:
            if self.tls and self.shakes:
                connection.handshake()
            self.serve(connection)
            if self.tls and connection.notifies:
                connection.end_tls()
        except (Ended, OSError):  # ssl.SSLError is an OSError
            pass
        except Exception as failure:  # pylint: disable=broad-except
            self.failures.append(failure)
        finally:
            self.end(connection)

    @staticmethod
    def end(connection):
        """Closes it; octets of the client that were not read must not turn the end into RST."""
        try:
            connection.peer.shutdown(socket.SHUT_WR)
            connection.peer.settimeout(0.05)
            end = time.monotonic() + 1
            while time.monotonic() < end and connection.peer.recv(65536):
                pass
        except OSError:
            pass
        connection.peer.close()

    def stop(self):
        self.stopping.set()
        try:
            self.listener.shutdown(socket.SHUT_RDWR)  # wakes the thread that accepts
        except OSError:
            pass
        self.listener.close()
        for connection in self.connections:
            try:
                connection.peer.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass
        for thread in self.threads[1:]:
            thread.join(2)
