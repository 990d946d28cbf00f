#!/usr/bin/env python3
"""Serves the files of the demonstration PKI on loopback, to GET and POST alike: a POST gets a pre-signed response.

  serve.py PORT               serves this directory
  serve.py --answers PORT...  exits with 0 when something listens on all ports
"""
import http.server
import socket
import sys
from pathlib import Path

TYPES = {".ocsp": "application/ocsp-response", ".crl": "application/pkix-crl", ".der": "application/pkix-cert"}


class Files(http.server.BaseHTTPRequestHandler):
    def do_GET(self):
        path = Path(Path(self.path).name)
        if path.suffix not in TYPES or not path.is_file():
            self.send_error(404)
            return
        content = path.read_bytes()
        self.send_response(200)
        self.send_header("Content-Type", TYPES[path.suffix])
        self.send_header("Content-Length", str(len(content)))
        self.end_headers()
        self.wfile.write(content)

    def do_POST(self):
        self.rfile.read(min(int(self.headers.get("Content-Length", 0)), 1 << 16))
        self.do_GET()


def answers(port):
    with socket.socket() as client:
        return client.connect_ex(("127.0.0.1", port)) == 0


if sys.argv[1] == "--answers":
    sys.exit(0 if all(answers(int(port)) for port in sys.argv[2:]) else 1)
http.server.ThreadingHTTPServer(("127.0.0.1", int(sys.argv[1])), Files).serve_forever()
