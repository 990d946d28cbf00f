"""A PKI made by the package cryptography, and `openssl ocsp` as the responder."""
import datetime
import re
import subprocess
import types
from pathlib import Path

import pytest
import tallow
from cryptography import x509
from cryptography.hazmat.primitives import hashes, serialization
from cryptography.hazmat.primitives.asymmetric import ec
from cryptography.x509 import ocsp
from cryptography.x509.oid import ExtendedKeyUsageOID, NameOID

NOW = datetime.datetime.now(datetime.timezone.utc).replace(microsecond=0)
DAY = datetime.timedelta(days=1)
PEM, DER = serialization.Encoding.PEM, serialization.Encoding.DER


def named(name):
    return x509.Name([x509.NameAttribute(NameOID.COMMON_NAME, name)])


class Identity:
    """A certificate and its key, valid from 60 days ago on; a root without `issuer`."""

    def __init__(self, name, issuer=None, is_ca=False, is_responder=False):
        self.key = ec.generate_private_key(ec.SECP256R1())
        issuer = issuer or self
        builder = (x509.CertificateBuilder().subject_name(named(name)).public_key(self.key.public_key())
                   .issuer_name(named(name) if issuer is self else issuer.certificate.subject)
                   .serial_number(x509.random_serial_number())
                   .not_valid_before(NOW - 60 * DAY).not_valid_after(NOW + 60 * DAY)
                   .add_extension(x509.BasicConstraints(is_ca, None), True))
        if is_responder:
            builder = (builder.add_extension(x509.ExtendedKeyUsage([ExtendedKeyUsageOID.OCSP_SIGNING]), False)
                       .add_extension(x509.OCSPNoCheck(), False))
        self.certificate = builder.sign(issuer.key, hashes.SHA256())
        self.pem = self.certificate.public_bytes(PEM).decode()
        self.der = self.certificate.public_bytes(DER)


class Pki:
    def __init__(self):
        self.root = Identity("Root", is_ca=True)
        self.ca = Identity("CA", self.root, is_ca=True)
        self.delegate = Identity("Responder", self.ca, is_responder=True)
        crl = (x509.CertificateRevocationListBuilder().issuer_name(self.root.certificate.subject)
               .last_update(NOW - 50 * DAY).next_update(NOW + 50 * DAY).sign(self.root.key, hashes.SHA256()))
        self.crl = crl.public_bytes(PEM).decode()

    def trust(self):
        return tallow.Trust().add_roots(self.root.pem).add_crls(self.crl)

    def response(self, leaf, produced=NOW, revoked=None, nonce=None, lasting=DAY):
        """DER of a response that was signed at `produced`, as far as its times tell."""
        status = ocsp.OCSPCertStatus.REVOKED if revoked else ocsp.OCSPCertStatus.GOOD
        builder = (ocsp.OCSPResponseBuilder().responder_id(ocsp.OCSPResponderEncoding.NAME, self.delegate.certificate)
                   .add_response(leaf.certificate, self.ca.certificate, hashes.SHA1(), status, produced,
                                 produced + lasting, revoked, x509.ReasonFlags.key_compromise if revoked else None)
                   .certificates([self.delegate.certificate]))
        if nonce:
            builder = builder.add_extension(nonce, False)
        return builder.sign(self.delegate.key, hashes.SHA256()).public_bytes(DER)

    def exchange(self, leaf):
        """A responder without a network: answers what it is asked, with its nonce."""
        def answer(_url, request, _seconds_left):
            asked = ocsp.load_der_ocsp_request(request)
            return self.response(leaf, nonce=asked.extensions.get_extension_for_class(x509.OCSPNonce).value)
        return answer


@pytest.fixture(scope="session")
def documented():
    """The functions of docs/python.md, and its samples as text."""
    page = Path(__file__).parents[2] / "docs/python.md"
    blocks = re.findall(r"```python\n(.*?)```", page.read_text(), re.S)
    exec("\n".join(blocks), names := {})
    return names | {"blocks": blocks}


@pytest.fixture(scope="session")
def pki():
    return Pki()


@pytest.fixture(scope="session")
def responder(pki, tmp_path_factory):
    """`openssl ocsp` on a free port: its URL, and leaves by the state that it reports."""
    folder = tmp_path_factory.mktemp("responder")
    leaves = {state: Identity(state, pki.ca) for state in ("good", "revoked", "unknown")}
    times = [f"{time:%y%m%d%H%M%SZ}" for time in (NOW + DAY, NOW - DAY)]
    lines = [("V", times[0], "", leaves["good"]), ("R", times[0], times[1] + ",keyCompromise", leaves["revoked"])]
    (folder / "index").write_text("".join(
        f"{state}\t{end}\t{revoked}\t{leaf.certificate.serial_number:040X}\tunknown\t/CN=x\n"
        for state, end, revoked, leaf in lines))
    (folder / "ca").write_text(pki.ca.pem)
    (folder / "signer").write_text(pki.delegate.pem)
    (folder / "key").write_bytes(pki.delegate.key.private_bytes(PEM, serialization.PrivateFormat.PKCS8,
                                                                serialization.NoEncryption()))
    process = subprocess.Popen(["openssl", "ocsp", "-port", "0", "-timeout", "5", "-nmin", "5", "-index", "index", "-CA", "ca",
                                "-rsigner", "signer", "-rkey", "key"], cwd=folder, text=True,
                               stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    try:
        accepts = next(line for line in process.stdout if "PID=" in line)
        url = f"http://127.0.0.1:{accepts.split(' PID=')[0].rsplit(':', 1)[1]}/"
        yield types.SimpleNamespace(url=url, **leaves)
    finally:
        process.kill()
        process.wait()
