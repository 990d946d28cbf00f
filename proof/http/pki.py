"""A small PKI made by the package cryptography, with valid responses for whatever is asked."""
import datetime
import ipaddress
import secrets
import threading

from cryptography import x509
from cryptography.hazmat.primitives import hashes, serialization
from cryptography.hazmat.primitives.asymmetric import ec
from cryptography.x509 import ocsp
from cryptography.x509.oid import AuthorityInformationAccessOID as Access
from cryptography.x509.oid import ExtendedKeyUsageOID, NameOID

PEM, DER = serialization.Encoding.PEM, serialization.Encoding.DER
NOW = datetime.datetime.utcnow().replace(microsecond=0)
DAY = datetime.timedelta(days=1)


def named(name):
    return x509.Name([x509.NameAttribute(NameOID.COMMON_NAME, name)])


def at(method, url):
    return x509.AccessDescription(method, x509.UniformResourceIdentifier(url))


class Identity:
    """A certificate and its key; self-signed without `issuer`."""

    def __init__(self, name, issuer=None, extensions=(), is_ca=False, days=(-30, 30), key=None):
        self.key = key or ec.generate_private_key(ec.SECP256R1())
        builder = (x509.CertificateBuilder().subject_name(named(name)).public_key(self.key.public_key())
                   .issuer_name(issuer.certificate.subject if issuer else named(name))
                   .serial_number(secrets.randbits(63) + 1)
                   .not_valid_before(NOW + days[0] * DAY).not_valid_after(NOW + days[1] * DAY)
                   .add_extension(x509.BasicConstraints(is_ca, None), True))
        for extension in extensions:
            builder = builder.add_extension(extension, False)
        self.certificate = builder.sign(issuer.key if issuer else self.key, hashes.SHA256())
        self.pem = self.certificate.public_bytes(PEM)
        self.der = self.certificate.public_bytes(DER)

    @property
    def key_pem(self):
        return self.key.private_bytes(PEM, serialization.PrivateFormat.PKCS8, serialization.NoEncryption())


def tls_identity(issuer, hosts=("127.0.0.1", "::1", "localhost"), usage=ExtendedKeyUsageOID.SERVER_AUTH, **parts):
    """The certificate of an https server for these hosts."""
    names = [x509.DNSName(host) if host[-1].isalpha() else x509.IPAddress(ipaddress.ip_address(host)) for host in hosts]
    extensions = [x509.ExtendedKeyUsage([usage])] + ([x509.SubjectAlternativeName(names)] if names else [])
    return Identity("server", issuer, extensions, **parts)


class Pki:
    """Root, CA, delegate and leaves; `tls` is a root that only https servers have."""

    def __init__(self):
        self.root = Identity("Root", is_ca=True)
        self.ca = Identity("CA", self.root, is_ca=True)
        self.delegate = self.make_delegate([x509.OCSPNoCheck()])
        self.leaves = [Identity(f"leaf {number}", self.ca) for number in range(4)]
        self.tls = Identity("TLS root", is_ca=True)
        self.tls_server = tls_identity(self.tls)
        self.root_crl = self.crl(self.root)

    def make_delegate(self, extensions):
        return Identity("Responder", self.ca, [x509.ExtendedKeyUsage([ExtendedKeyUsageOID.OCSP_SIGNING]), *extensions])

    def crl(self, issuer, last=-1, following=1):
        """The DER of an empty CRL."""
        return (x509.CertificateRevocationListBuilder().issuer_name(issuer.certificate.subject)
                .last_update(NOW + last * DAY).next_update(NOW + following * DAY)
                .add_extension(x509.CRLNumber(1), False).sign(issuer.key, hashes.SHA256()).public_bytes(DER))

    def leaf_of(self, responders=(), issuers=()):
        """A leaf that names these addresses."""
        access = [at(Access.OCSP, url) for url in responders] + [at(Access.CA_ISSUERS, url) for url in issuers]
        return Identity("leaf", self.ca, [x509.AuthorityInformationAccess(access)])

    def delegate_with_crl(self, url):
        """A delegate that must be checked with the CRL at `url`."""
        point = x509.DistributionPoint([x509.UniformResourceIdentifier(url)], None, None, None)
        return self.make_delegate([x509.CRLDistributionPoints([point])])

    def request(self, leaf):
        """The DER of a request with a nonce."""
        return (ocsp.OCSPRequestBuilder().add_certificate(leaf.certificate, self.ca.certificate, hashes.SHA1())
                .add_extension(x509.OCSPNonce(secrets.token_bytes(16)), False).build().public_bytes(
                    serialization.Encoding.DER))

    def response(self, leaf, request=None, is_revoked=False, delegate=None):
        """The DER of a valid response about `leaf`, with the nonce of the request if one is given."""
        delegate = delegate or self.delegate
        status = ocsp.OCSPCertStatus.REVOKED if is_revoked else ocsp.OCSPCertStatus.GOOD
        builder = (ocsp.OCSPResponseBuilder().responder_id(ocsp.OCSPResponderEncoding.NAME, delegate.certificate)
                   .add_response(leaf.certificate, self.ca.certificate, hashes.SHA1(), status,
                                 datetime.datetime.utcnow() - datetime.timedelta(seconds=5), NOW + DAY,
                                 NOW - DAY if is_revoked else None, None)
                   .certificates([delegate.certificate]))
        nonces = [] if request is None else [extension.value for extension in request.extensions
                                             if isinstance(extension.value, x509.OCSPNonce)]
        for nonce in nonces:
            builder = builder.add_extension(nonce, False)
        return builder.sign(delegate.key, hashes.SHA256()).public_bytes(DER)


class Responder:
    """Answers each request truthfully: leaves are good, but for those in `revoked`."""

    def __init__(self, pki, leaves=(), revoked=(), delegate=None):
        self.pki, self.delegate, self.revoked = pki, delegate, set(revoked)
        self.leaves = {leaf.certificate.serial_number: leaf for leaf in [*pki.leaves, *leaves]}
        self.lock = threading.Lock()
        self.asked = []  # serial numbers, in the order of the requests

    def answer(self, der):
        """The DER of the response; of no octets when no request is recognised."""
        try:
            request = ocsp.load_der_ocsp_request(der)
        except ValueError:
            return b""
        with self.lock:
            self.asked.append(request.serial_number)
        leaf = self.leaves[request.serial_number]
        return self.pki.response(leaf, request, leaf in self.revoked, self.delegate)
