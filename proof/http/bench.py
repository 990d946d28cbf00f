"""Runs the command against the servers of one row, and compares what it says with the row.

The kinds of a row:
  responder   the server is named with --url; `tallow send` is run as well
  many        the same for four certificates in one process
  closed      no server listens at the address
  full        the connection is never accepted
  named       the certificate names the server
  issuer      the certificate names the server as that of its issuer's certificate
  crl         the certificate of the responder names the server as that of its CRL
  proxy       the server is a proxy; the responder behind it is honest
  tunnel      the same for a responder over https
"""
import dataclasses
import json
import os
import re
import shlex
import signal
import socket
import subprocess
import threading
import time

from row import (GOOD, LONG_SECONDS, MAX_BODY, MAX_HEADER, MAX_REDIRECTS, REVOKED, STALL_SECONDS, honest)
from pki import Responder
from server import Server, tls_context

TOLERANCE_SECONDS = 0.1
KILLED_AFTER_SECONDS = 60  # beyond the limit; on a busy machine much of it is waiting
EXITS = {GOOD: 0, REVOKED: 1}
NO_ANSWER = 3
CONTROL = re.compile(r"[\x00-\x09\x0b-\x1f\x7f-\x9f]")


@dataclasses.dataclass
class Run:
    """What one run of the command did."""
    arguments: list
    exit_status: int
    out: str
    err: str
    seconds: float
    waited: float     # for the processor, with the delay of a timer
    computed: float   # seconds of processor time


def is_verdict(expected):
    return isinstance(expected, str) and expected in EXITS


class Fixed:
    """In the place of a responder, for servers of files."""

    def __init__(self, content):
        self.content = content

    def answer(self, _request):
        return self.content


def seconds_in_queue(task):
    """How long this process or thread was ready to run and did not; 0 where the system does not say."""
    try:
        with open(f"/proc/{task}/schedstat", encoding="ascii") as file:
            return int(file.read().split()[1]) / 1e9
    except (OSError, IndexError, ValueError):
        return 0.0


class Bench:
    """The directory, settings and servers of one row."""

    def __init__(self, row, materials, folder, timer):
        self.row, self.pki, self.folder, self.timer = row, materials.pki, folder, timer
        self.command, self.statuses, self.overhead = materials.command, materials.statuses, materials.overhead
        self.problems, self.runs, self.servers = [], [], {}
        self.connections_of_check = 0
        self.late = 0.0  # the most that a run ended after its limit, without the time that it did not run

    def problem(self, text):
        self.problems.append(text)

    # ---- What the row needs

    def write(self, name, content):
        (self.folder / name).write_bytes(content if isinstance(content, bytes) else content.encode())
        return name

    def write_settings(self):
        row = self.row
        bundle = self.folder / self.write("tls.pem", self.pki.tls.pem)
        exchange = STALL_SECONDS if row.stalls else LONG_SECONDS
        crypto = {"exchange_timeout_ms": exchange * 1000, "connect_timeout_ms": LONG_SECONDS * 1000,
                  "max_response_bytes": MAX_BODY, "max_header_bytes": MAX_HEADER, "max_redirects": MAX_REDIRECTS,
                  "max_crl_bytes": MAX_BODY, "chain_fetch_timeout_ms": exchange * 1000, "system_roots": False,
                  "system_bundle": str(bundle), "url_cache": "", **row.settings}
        tables = {"crypto": crypto, "config.cades.ocsppolicy": row.policy}
        self.write("settings.toml", "".join(
            f"[{table}]\n" + "".join(f"{key} = {json.dumps(value)}\n" for key, value in values.items())
            for table, values in tables.items()))

    def start(self, name, row, responder):
        tls = row.tls(self.pki) if row.tls else None
        self.servers[name] = Server(row.serve, responder, row.host, tls, row.shakes, row.kind != "full")
        return self.servers[name]

    def start_servers(self, responder):
        main = self.start("self", self.row, responder)
        for name, other in self.row.others.items():
            self.start(name, other, responder)
        names = {}
        for name, server in self.servers.items():
            names[name] = server.url().rstrip("/")
            names[name + "_port"] = str(server.port)
        for server in self.servers.values():
            server.names = names
        return main

    def url(self):
        row = self.row
        return self.servers["self"].url(row.path, row.scheme, row.named_host)

    # ---- Running the command

    def run(self, arguments):
        limit = self.row.seconds
        for server in self.servers.values():
            server.requests = 0
        environment = {"HOME": str(self.folder), "LC_ALL": "C.UTF-8"}
        for name in ("ASAN_OPTIONS", "UBSAN_OPTIONS"):
            if name in os.environ:
                environment[name] = os.environ[name]
        with open(self.folder / "out", "wb") as out, open(self.folder / "err", "wb") as err:
            queued, start = seconds_in_queue("thread-self"), time.monotonic()
            process = subprocess.Popen([self.command, *arguments], cwd=self.folder, env=environment, stdout=out,
                                       stderr=err, stdin=subprocess.DEVNULL)
            killer = threading.Timer(limit + KILLED_AFTER_SECONDS, process.kill)
            killer.start()
            os.waitid(os.P_PID, process.pid, os.WEXITED | os.WNOWAIT)
            end = time.monotonic()
            waited = seconds_in_queue(process.pid) + seconds_in_queue("thread-self") - queued
            _, status, usage = os.wait4(process.pid, 0)
            killer.cancel()
            process.returncode = os.waitstatus_to_exitcode(status)
        run = Run(arguments, process.returncode, *[(self.folder / name).read_bytes().decode(errors="replace")
                                                   for name in ("out", "err")],
                  end - start, waited + self.timer.longest_delay(start, end), usage.ru_utime + usage.ru_stime)
        self.runs.append(run)
        late = run.seconds - run.waited - self.overhead - limit
        self.late = max(self.late, late)
        if run.exit_status == -signal.SIGKILL:
            self.problem(f"{arguments[0]} does not end")
        elif run.exit_status < 0:
            self.problem(f"{arguments[0]} crashed with signal {-run.exit_status}")
        elif late > TOLERANCE_SECONDS:
            self.problem(f"{arguments[0]} ended {1000 * late:.0f} ms after the time limit of {limit} s")
        return run

    def common(self, with_url=True):
        return ["--settings", "settings.toml", "--timeout", str(self.row.check_seconds or LONG_SECONDS),
                *self.row.options, *(["--url", self.url()] if with_url else [])]

    def check(self, *arguments, with_url=True):
        """Runs `tallow check`; the objects of all certificates, none after a problem."""
        run = self.run(["check", "--json", "--trust", "root.pem", "--crl", "root.crl", *self.common(with_url),
                        *arguments])
        try:
            return run, json.loads(run.out)["certificates"]
        except (ValueError, KeyError):
            self.problem(f"check prints no result, exit status {run.exit_status}: {run.out[:200]} {run.err[:400]}")
            return run, []

    # ---- Comparing

    def symbol(self, code):
        """The symbol of a status; reports a status that is not documented."""
        if code is not None and code not in self.statuses:
            self.problem(f"the status {code} is not in docs/errors.md")
        return self.statuses.get(code, code)

    def compare_exit(self, run, expected):
        verdicts = expected if isinstance(expected, list) else [expected]
        statuses = [EXITS[verdict] if is_verdict(verdict) else NO_ANSWER for verdict in verdicts]
        wanted = 1 if 1 in statuses else max(statuses)
        if run.exit_status >= 0 and run.exit_status != wanted:
            self.problem(f"{run.arguments[0]} has the exit status {run.exit_status}, not {wanted}: {run.err[:400]}")
        failed = sum(status == NO_ANSWER for status in statuses)
        lines = [line for line in run.err.splitlines() if line]
        if run.exit_status >= 0 and len(lines) != failed:
            self.problem(f"{run.arguments[0]} prints {len(lines)} lines for {failed} failures: {run.err[:600]}")
        if CONTROL.search(run.err):
            self.problem(f"{run.arguments[0]} prints control characters: {run.err[:400]!r}")

    def compare_failure(self, expected, code, text, what):
        found = self.symbol(code)
        if found not in (expected if isinstance(expected, tuple) else (expected,)):
            self.problem(f"{what} has the status {found}, not {expected}: {text}")
        if not text or (self.row.text and not re.search(self.row.text, text)):
            self.problem(f"{what} does not say /{self.row.text}/: {text}")

    def compare_certificate(self, found, expected):
        """One object of `certificates`."""
        if is_verdict(expected):
            if found["status"] != expected:
                self.problem(f"{found['status']}, not {expected}: {found.get('error', {}).get('text')}")
            return
        if found["status"] != "error":
            self.problem(f"{found['status'].upper()} in place of the error {expected}")
            return
        self.symbol(found["error"]["code"])
        attempts = found.get("attempts", [])
        if any(attempt["status"] == "accepted" for attempt in attempts):
            self.problem("an attempt counts as accepted")
        if self.row.kind in ("issuer", "crl"):
            self.compare_download(found, expected)
            return
        if not attempts:
            self.problem(f"no attempt: {found['error']}")
            return
        last = [attempt for attempt in attempts if attempt["status"] != "skipped"][-1]
        self.compare_failure(expected, last.get("code"), last.get("text", ""), "the attempt")
        if self.row.step and last["step"] != self.row.step:
            self.problem(f"the attempt reached the step {last['step']}, not {self.row.step}: {last.get('text')}")
        if self.row.http is not None and last["httpStatus"] != self.row.http:
            self.problem(f"the HTTP status is {last['httpStatus']}, not {self.row.http}")

    def compare_download(self, found, expected):
        mine = [load for load in found.get("downloads", []) if load["url"] == self.url()]
        if not mine:
            self.problem(f"nothing was downloaded: {found['error']}")
        elif mine[-1]["status"] == "received":  # what arrived is of another kind, and only the verdict says so
            self.compare_failure(expected, found["error"]["code"], found["error"]["text"], "the result")
        else:
            self.compare_failure(expected, mine[-1].get("code"), mine[-1].get("text", ""), "the download")

    def compare_send(self, run):
        """`send` verifies nothing, but must not take a failed exchange for a response."""
        arrived = is_verdict(self.row.expected) or self.row.step != "exchange"
        saved = self.folder / "sent.der"
        if arrived:
            return  # what the body is worth is the question of `check`
        self.compare_exit(run, self.row.expected)
        if self.row.step and saved.exists():
            self.problem(f"send wrote {saved.stat().st_size} octets of a failed exchange")
        code = re.search(r"\((0x[0-9A-F]{8})\)$", run.err.strip())
        self.compare_failure(self.row.expected, code and code[1], run.err, "send")

    # ---- Kinds of rows

    def run_row(self):
        self.write_settings()
        for name, content in (("root.pem", self.pki.root.pem), ("ca.pem", self.pki.ca.pem),
                              ("root.crl", self.pki.root_crl), ("password", "secret\n")):
            self.write(name, content)
        for number, leaf in enumerate(self.pki.leaves):
            self.write(f"leaf{number}.pem", leaf.pem)
        try:
            getattr(self, "run_" + self.row.kind)()
            if self.row.connections is not None and self.connections_of_check != self.row.connections:
                self.problem(f"{self.connections_of_check} connections, not {self.row.connections}")
            for failure in (failure for server in self.servers.values() for failure in server.failures):
                self.problem(f"the behaviour failed: {failure!r}")
        finally:
            for server in self.servers.values():
                server.stop()

    def compare_check(self, run, certificates, expected):
        self.connections_of_check = len(self.servers["self"].connections)
        self.compare_exit(run, expected)
        each = expected if isinstance(expected, list) else [expected]
        if certificates and len(certificates) != len(each):
            self.problem(f"{len(certificates)} results for {len(each)} certificates")
        for found, verdict in zip(certificates, each):
            self.compare_certificate(found, verdict)

    def honest_responder(self, responder, **how):
        server = Server(honest, responder, **how)
        self.servers["responder"] = server
        return server

    def run_responder(self):
        self.start_servers(Responder(self.pki))
        self.ask_once()

    def ask_once(self):
        """With `check`, and with `send`."""
        self.compare_check(*self.check("--issuer", "ca.pem", "--save-response", "response.der", "leaf0.pem"),
                           self.row.expected)
        saved = self.folder / "response.der"
        if not is_verdict(self.row.expected) and self.row.step == "exchange" and saved.exists():
            self.problem(f"check wrote {saved.stat().st_size} octets of a failed exchange")
        self.write("request.der", self.pki.request(self.pki.leaves[0]))
        self.compare_send(self.run(["send", *self.common(), "-o", "sent.der", "request.der"]))

    def run_closed(self):
        self.start_servers(Responder(self.pki))
        self.servers["self"].stop()
        self.ask_once()

    def run_full(self):
        server = self.start_servers(Responder(self.pki))
        waiting = [socket.socket() for _ in range(4)]
        for client in waiting:  # they fill the queue, so that no further connection is established
            client.setblocking(False)
            client.connect_ex((server.host, server.port))
        self.ask_once()
        for client in waiting:
            client.close()

    def run_many(self):
        revoked = [self.pki.leaves[number] for number in self.row.revoked]
        self.start_servers(Responder(self.pki, revoked=revoked))
        self.compare_check(*self.check("--issuer", "ca.pem", *[f"leaf{i}.pem" for i in range(4)]), self.row.expected)

    def run_named(self):
        responder = Responder(self.pki)
        self.start_servers(responder)
        urls = [self.url()] + [server.url() for name, server in self.servers.items() if name != "self"]
        leaf = self.pki.leaf_of(urls)
        responder.leaves[leaf.certificate.serial_number] = leaf
        self.write("leaf.pem", leaf.pem)
        self.compare_check(*self.check("--issuer", "ca.pem", "leaf.pem", with_url=False), self.row.expected)

    def run_issuer(self):
        self.start_servers(Fixed(self.pki.ca.der))
        responder = Responder(self.pki)
        behind = self.honest_responder(responder)
        leaf = self.pki.leaf_of([behind.url()], [self.url()])
        responder.leaves[leaf.certificate.serial_number] = leaf
        self.write("leaf.pem", leaf.pem)
        self.compare_check(*self.check("leaf.pem", with_url=False), self.row.expected)

    def run_crl(self):
        self.start_servers(Fixed(self.pki.crl(self.pki.ca)))
        behind = self.honest_responder(Responder(self.pki, delegate=self.pki.delegate_with_crl(self.url())))
        self.compare_check(*self.check("--issuer", "ca.pem", "--url", behind.url(), "leaf0.pem", with_url=False),
                           self.row.expected)

    def run_proxy(self, **how):
        responder = Responder(self.pki)
        self.start_servers(responder)
        behind = self.honest_responder(responder, **how)
        self.servers["self"].names["behind_port"] = str(behind.port)
        arguments = ["--proxy", self.url(), "--url", behind.url()]
        self.compare_check(*self.check("--issuer", "ca.pem", *arguments, "leaf0.pem", with_url=False),
                           self.row.expected)

    def run_tunnel(self):
        self.run_proxy(tls=tls_context(self.pki.tls_server))

    # ---- What reproduces it

    def files(self):
        lines = "\n".join(shlex.join([str(self.command), *run.arguments]) for run in self.runs)
        heads = "\n\n".join(f"{name}: {head}" for name, server in self.servers.items() for head in server.heads)
        outputs = {f"{run.arguments[0]}.{what}": getattr(run, what) for run in self.runs for what in ("out", "err")}
        return {"runs": lines + "\n", "requests": heads + "\n", **outputs,
                "settings.toml": (self.folder / "settings.toml").read_text()}
