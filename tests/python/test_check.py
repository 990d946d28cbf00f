"""Checks of certificates, against `openssl ocsp` and with an exchange of the caller's own."""
import asyncio
import concurrent.futures
import gc
import http.server
import subprocess
import sys
import threading
import urllib.parse
import weakref

import pytest
import tallow
from conftest import DAY, NOW, Identity
from tallow import Answer, Freshness, Nonce, Step


def test_responder_decides_between_good_revoked_and_unknown(pki, responder):
    checker = tallow.Checker(pki.trust(), responders=[responder.url], timeout=20)
    leaves = [responder.good, responder.revoked, responder.unknown]
    verdicts = checker.check_many([leaf.pem for leaf in leaves], pki.ca.der)
    assert [v.answer for v in verdicts] == [Answer.GOOD, Answer.REVOKED, Answer.UNKNOWN], [v.why() for v in verdicts]
    for leaf, verdict in zip(leaves, verdicts):
        assert verdict.serial == leaf.certificate.serial_number
        assert (verdict.status == 0) == (verdict.answer is Answer.GOOD)
        assert verdict.reached is Step.PROVEN and verdict.freshness is Freshness.NONCE_MATCHED
        assert verdict.authority is tallow.Authority.DELEGATE and verdict.signer_certificate == pki.delegate.der
        assert (verdict.responder, len(verdict.attempts), verdict.attempts[0].status) == (responder.url, 1, 0)
    assert verdicts[1].reason is tallow.Reason.KEY_COMPROMISE and verdicts[1].revoked_at == NOW - DAY
    assert verdicts[0].revoked_at is None and verdicts[0].this_update.utcoffset() == 0 * DAY
    assert checker.fetch_staple(leaves[0].pem, pki.ca.pem).freshness is Freshness.NONCE_NOT_SENT
    assert repr(verdicts[0]) == "<Verdict GOOD 'CN=good'>"


def test_nothing_is_proven_without_trust_answer_or_nonce(pki, responder):
    leaf = responder.good
    url = [responder.url]
    other_root = tallow.Trust().add_roots(Identity("Root", is_ca=True).pem).add_crls(pki.crl)

    def without_nonce(*_):
        return pki.response(leaf)

    rows = [
        ("wrong root", other_root, {"responders": url}, Step.SIGNER),
        ("no CRL for the CA", tallow.Trust().add_roots(pki.root.pem), {"responders": url}, Step.SIGNER),
        ("no server", pki.trust(), {"responders": ["http://127.0.0.1:1/"]}, Step.EXCHANGE),
        ("no responder", pki.trust(), {}, Step.INPUT),
        ("no nonce", pki.trust(), {"responders": url, "nonce": Nonce.REQUIRE, "exchange": without_nonce}, Step.NONCE),
    ]
    for name, trust, options, reached in rows:
        verdict = tallow.Checker(trust, **options).check(leaf.pem, pki.ca.pem)
        assert verdict.answer is Answer.UNPROVEN and verdict.status != 0 and verdict.response == b"", name
        assert verdict.reached is reached and verdict.cause in verdict.why(), (name, verdict.why())
    lenient = tallow.Checker(pki.trust(), responders=url, exchange=without_nonce).check(leaf.pem, pki.ca.pem)
    assert lenient.answer is Answer.GOOD and lenient.freshness is Freshness.NONCE_NOT_RETURNED
    assert "certificate" in tallow.Checker(pki.trust()).check("leaf.pem").cause


def test_asyncio_programs_ask_and_judge(pki, responder, documented):
    exchanges = []

    async def post(url, request):
        place = urllib.parse.urlparse(url)
        reader, writer = await asyncio.open_connection(place.hostname, place.port)
        head = f"POST / HTTP/1.0\r\nContent-Type: application/ocsp-request\r\nContent-Length: {len(request)}\r\n\r\n"
        writer.write(head.encode() + request)
        _, answer = (await reader.read()).split(b"\r\n\r\n", 1)
        writer.close()
        exchanges.append((request, answer))
        return answer

    checker = tallow.Checker(pki.trust(), responders=[responder.url])
    leaves = [responder.good, responder.revoked]

    async def check_all():
        checks = (documented["check"](checker, leaf.pem, pki.ca.pem, post) for leaf in leaves)
        return await asyncio.wait_for(asyncio.gather(*checks), 30)

    assert [v.answer for v in asyncio.run(check_all())] == [Answer.GOOD, Answer.REVOKED]
    question = checker.ask(leaves[0].pem, pki.ca.pem)
    mixed = checker.judge(question, exchanges[0][1])
    assert (mixed.answer, mixed.reached, mixed.unverified) == (Answer.UNPROVEN, Step.NONCE, exchanges[0][1])


def test_threads_check_at_the_same_time(pki):
    """The server answers only when all requests have come, so checks one after the other would fail."""
    leaf = Identity("leaf", pki.ca)
    together = threading.Barrier(3, timeout=20)

    class Handler(http.server.BaseHTTPRequestHandler):
        def do_POST(self):
            request = self.rfile.read(int(self.headers["Content-Length"]))
            together.wait()
            self.send_response(200)
            self.end_headers()
            self.wfile.write(pki.exchange(leaf)("", request, 0))

        def log_message(self, *_):
            pass

    with http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler) as server:
        threading.Thread(target=server.serve_forever).start()
        checker = tallow.Checker(pki.trust(), responders=[f"http://127.0.0.1:{server.server_port}/"], timeout=30)
        with concurrent.futures.ThreadPoolExecutor(together.parties) as pool:
            verdicts = list(pool.map(lambda _: checker.check(leaf.pem, pki.ca.pem), range(together.parties)))
        server.shutdown()
    assert [v.answer for v in verdicts] == 3 * [Answer.GOOD], [v.why() for v in verdicts]


def test_exchange_is_called_until_one_answers(pki):
    leaf = Identity("leaf", pki.ca)
    calls = []

    def exchange(url, request, seconds_left):
        assert 0 < seconds_left <= 9
        calls.append(url)
        if url.endswith("good"):
            return bytearray(pki.exchange(leaf)(url, request, seconds_left))
        if url.endswith("text"):
            return "good"
        raise ConnectionError("the tunnel\nis closed")

    urls = [f"http://responder.invalid/{name}" for name in ("text", "error", "good", "never")]
    verdict = tallow.Checker(pki.trust(), responders=urls, exchange=exchange, timeout=9).check(leaf.pem, pki.ca.pem)
    assert verdict.answer is Answer.GOOD and calls == urls[:3]
    assert "exchange returned str" in verdict.attempts[0].reason
    assert "ConnectionError: the tunnel" in verdict.attempts[1].reason and "\n" not in verdict.attempts[1].reason


@pytest.mark.parametrize("kind", [KeyboardInterrupt, SystemExit])
def test_exchange_can_end_the_program(pki, kind):
    calls = []

    def exchange(url, *_):
        calls.append(url)
        raise kind

    checker = tallow.Checker(pki.trust(), responders=["http://a.invalid/", "http://b.invalid/"], exchange=exchange)
    with pytest.raises(kind):
        checker.check(Identity("leaf", pki.ca).pem, pki.ca.pem)
    assert len(calls) == 1


def test_checker_that_refers_to_itself_is_freed(pki):
    class Client:
        def __init__(self):
            self.checker = tallow.Checker(pki.trust(), exchange=self.exchange)

        def exchange(self, *_):
            return None

    client = weakref.ref(Client())
    gc.collect()
    assert client() is None


def test_program_may_end_while_daemon_threads_check(pki):
    program = """
import sys, threading, time, tallow
trust = tallow.Trust().add_roots(sys.argv[1])
checker = tallow.Checker(trust, responders=["http://a.invalid/"], exchange=lambda *_: time.sleep(0.01))
def check_forever():
    while True:
        checker.check(sys.argv[2], sys.argv[1])
for _ in range(4):
    threading.Thread(target=check_forever, daemon=True).start()
time.sleep(0.2)
"""
    ended = subprocess.run([sys.executable, "-c", program, pki.root.pem, pki.ca.pem], timeout=60, capture_output=True)
    assert (ended.returncode, ended.stderr) == (0, b"")


def test_child_of_fork_ends_while_a_thread_of_its_parent_checks(pki):
    program = """
import os, sys, threading, tallow
trust = tallow.Trust().add_roots(sys.argv[1])
begun, over = threading.Event(), threading.Event()
def exchange(*_):
    begun.set()
    over.wait()
checker = tallow.Checker(trust, responders=["http://a.invalid/"], exchange=exchange, timeout=50)
thread = threading.Thread(target=checker.check, args=(sys.argv[2], sys.argv[1]))
thread.start()
begun.wait()
child = os.fork()
if child == 0:
    sys.exit(0)
os.waitpid(child, 0)
over.set()
thread.join()
"""
    ended = subprocess.run([sys.executable, "-c", program, pki.root.pem, pki.ca.pem], timeout=30, capture_output=True)
    assert (ended.returncode, ended.stderr) == (0, b"")
