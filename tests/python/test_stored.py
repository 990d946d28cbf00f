"""Responses that were kept, and requests that were received."""
import datetime

import pytest
import tallow
from conftest import DAY, NOW, Identity
from tallow import Answer


@pytest.fixture(scope="module")
def leaf(pki):
    return Identity("leaf", pki.ca)


def test_stored_response_counts_until_its_next_update(pki, leaf):
    checker = tallow.Checker(pki.trust())
    certificates = {"certificate": leaf.pem, "issuer": pki.ca.pem}
    old, = checker.verify(pki.response(leaf, NOW - 19 * DAY), **certificates)
    assert old.answer is Answer.UNPROVEN and "nextUpdate" in old.why()
    current = pki.response(leaf)
    now = datetime.datetime.now(datetime.timezone(datetime.timedelta(hours=-10)))
    for time, answer in ((None, Answer.GOOD), (now, Answer.GOOD), (now - DAY, Answer.UNPROVEN)):
        verdict, = checker.verify(current, **certificates, at=time)
        assert verdict.answer is answer and verdict.response == (current if answer is Answer.GOOD else b""), \
            (time, verdict.why())


def test_revocation_counts_from_its_time_on(pki, leaf, documented):
    checker = tallow.Checker(pki.trust())
    answer = pki.response(leaf, NOW, revoked=NOW - 10 * DAY)
    before = checker.proved_at(NOW - 11 * DAY, leaf.pem, pki.ca.pem, answer)
    assert (before.answer, before.status, before.revoked_at) == (Answer.GOOD, 0, NOW - 10 * DAY), before.why()
    after = checker.proved_at(NOW, leaf.pem, pki.ca.pem, answer)
    assert after.answer is Answer.REVOKED and after.status != 0
    was_good = documented["was_good"]
    assert was_good(pki.trust(), leaf.pem, pki.ca.pem, answer, NOW - 11 * DAY)
    assert not was_good(pki.trust(), leaf.pem, pki.ca.pem, answer, NOW - 9 * DAY)
    too_early = checker.proved_at(NOW - 70 * DAY, leaf.pem, pki.ca.pem, answer)
    assert too_early.answer is Answer.UNPROVEN


def test_times_that_mean_nothing_are_refused(pki, leaf):
    checker = tallow.Checker(pki.trust())
    answer = pki.response(leaf)
    for time in (datetime.datetime.now(), datetime.datetime(9999, 1, 1, tzinfo=datetime.timezone.utc)):
        with pytest.raises(ValueError, match="the datetime"):
            checker.proved_at(time, leaf.pem, pki.ca.pem, answer)
    for timeout in (float("nan"), float("inf"), 0, datetime.timedelta(days=-1)):
        with pytest.raises(ValueError):
            tallow.Checker(pki.trust(), timeout=timeout)
    for option in ({"timeout": True}, {"verify_chain": None}, {"downloads": "no"}, {"responders": "http://a/"}):
        with pytest.raises(TypeError):
            tallow.Checker(pki.trust(), **option)


def test_request_is_read_and_matched(pki, leaf):
    checker = tallow.Checker(pki.trust(), responders=["http://a.invalid/"])
    question = checker.ask(leaf.pem, pki.ca.pem)
    received = checker.receive(question.request)
    assert received.signer is tallow.Signer.UNSIGNED and received.status == 0
    assert [asked.serial for asked in received.asked] == [leaf.certificate.serial_number]
    answer = pki.exchange(leaf)("", question.request, 0)
    assert checker.verify(answer, issuer=pki.ca.pem, request=question.request)[0].answer is Answer.GOOD
    other = checker.ask(leaf.pem, pki.ca.pem)
    assert checker.verify(answer, issuer=pki.ca.pem, request=other.request)[0].answer is Answer.UNPROVEN
    assert checker.issuer_of(leaf.pem, pki.ca.pem) == pki.ca.der and checker.issuer_of(leaf.pem) is None


def test_unusable_arguments_are_named(pki, leaf):
    calls = [
        lambda: tallow.Trust().add_roots(leaf.pem),
        lambda: tallow.Trust().add_crls(b""),
        lambda: tallow.Checker(pki.trust()).ask(leaf.pem, pki.root.pem),
        lambda: tallow.Checker(pki.trust(), hash_oid="1.2.3"),
    ]
    for call in calls:
        with pytest.raises(tallow.BadInput) as caught:
            call()
        assert isinstance(caught.value, ValueError) and 0 < caught.value.status < 2**32 and str(caught.value)
