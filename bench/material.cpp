#include "bench/material.h"

#include <stdexcept>

#include "bench/fresh_keys.h"

namespace bench {

namespace {

testkit::CertificateSpec specOf(const std::string& name, const testkit::Key& key) {
    testkit::CertificateSpec spec;
    spec.commonName = name;
    spec.key = key;
    return spec;
}

testkit::Identity responderOf(const testkit::Identity& root, const testkit::Key& key) {
    testkit::CertificateSpec spec = specOf("responder", key);
    spec.extendedKeyUsage = "OCSPSigning";
    spec.keyUsage = "critical,digitalSignature";
    spec.ocspNoCheck = true;
    return testkit::issue(root, spec);
}

Pki make(KeyKind kind) {
    Pki pki{.kind = kind, .root = {}, .leaf = {}, .responder = {}};
    testkit::CertificateSpec root = specOf("bench root", testkit::Key::make(kind));
    root.ca = true;
    pki.root = testkit::selfSigned(root);
    pki.leaf = testkit::issue(pki.root, specOf("leaf", testkit::Key::make(kind)));
    pki.responder = responderOf(pki.root, testkit::Key::make(kind));
    return pki;
}

}  // namespace

const Pki& Pki::of(KeyKind kind) {
    static const Pki rsa = make(KeyKind::kRsa2048);
    static const Pki ec = make(KeyKind::kEcP256);
    return kind == KeyKind::kRsa2048 ? rsa : ec;
}

testkit::Identity Pki::freshResponder() const {
    return responderOf(root, kind == KeyKind::kRsa2048 ? freshRsaKey() : testkit::Key::make(kind));
}

std::vector<Bytes> Pki::freshCertificates(std::size_t count) const {
    std::vector<Bytes> certificates(count);
    for (Bytes& certificate : certificates) {
        certificate = freshResponder().certificate;
    }
    return certificates;
}

std::vector<testkit::EntrySpec> entriesOf(const Pki& pki, unsigned count) {
    const testkit::CertIdSpec asked = testkit::certIdOf(pki.leaf, pki.root);
    testkit::CertIdSpec other = asked;
    std::vector<testkit::EntrySpec> entries;
    for (unsigned i = 1; i < count; ++i) {
        other.serial = {0x10,
                        static_cast<std::uint8_t>(i >> 16),
                        static_cast<std::uint8_t>(i >> 8),
                        static_cast<std::uint8_t>(i),
                        0x55,
                        0x66,
                        0x77,
                        0x11};
        entries.emplace_back(other);
    }
    entries.emplace_back(asked);
    for (testkit::EntrySpec& entry : entries) {
        entry.raw = entry.encode();  // encoded once, even for many responses
    }
    return entries;
}

Bytes responseOf(const testkit::Identity& signer, std::vector<testkit::EntrySpec> entries, bool includeSigner) {
    testkit::ResponseSpec spec(signer, std::move(entries));
    spec.includeSigner = includeSigner;
    return testkit::buildResponse(spec);
}

Machine::Machine(const testkit::Identity& root, const std::optional<Bytes>& crl)
    : settings_(testkit::machineSettings(folder_)) {
    folder_.write("machine/ROOT/root.pem", root.certificatePem());
    if (crl) {
        folder_.write("machine/CA/root.crl", *crl);
    }
    if (settings_.result() != 0) {
        throw std::runtime_error("the settings were not read");
    }
}

}  // namespace bench
