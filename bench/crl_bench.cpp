// Verdicts when the responder's certificate has to be looked up in a CRL with 100,000 entries, which was read before.
#include <memory>
#include <string>

#include "bench/material.h"
#include "bench/openssl_side.h"
#include "bench/row.h"
#include "bench/verdict.h"
#include "tests/support/http_server.h"

namespace bench {

namespace {

using namespace Orvane::PKI::OCSP;

Bytes largeCrl(const testkit::Identity& issuer) {
    constexpr unsigned kEntries = 100000;
    testkit::CrlSpec spec;
    for (unsigned i = 0; i < kEntries; ++i) {
        spec.revokedSerials.push_back({0x11, static_cast<std::uint8_t>(i >> 16), static_cast<std::uint8_t>(i >> 8),
                                       static_cast<std::uint8_t>(i), 0x21, 0x22, 0x23, 0x24});
    }
    return testkit::makeCrl(issuer, spec);
}

std::shared_ptr<X509_STORE> storeWithCrl(const Bytes& root, const Bytes& crl) {
    using X509CrlPtr = std::unique_ptr<X509_CRL, testkit::FreeWith<X509_CRL_free>>;
    std::shared_ptr<X509_STORE> store = storeWith(root);
    expect(X509_STORE_add_crl(store.get(), testkit::fromDer<X509CrlPtr>(crl, d2i_X509_CRL).get()) == 1 &&
           X509_STORE_set_flags(store.get(), X509_V_FLAG_CRL_CHECK) == 1);
    return store;
}

// The CRL is in a store of the machine, or at the distribution point of the responder's certificate. The first verdict
// reads or downloads it while the row warms up. OpenSSL has it in memory in both cases.
Row crlRow(bool isDownloaded) {
    struct Parts {
        std::unique_ptr<testkit::HttpServer> server;
        std::unique_ptr<Machine> machine;
        std::shared_ptr<X509_STORE> store;
        OcspCertIdPtr opensslId;
        std::shared_ptr<Client::CRequest> request;
    };
    const Pki& pki = Pki::of(KeyKind::kEcP256);
    const auto parts = std::make_shared<Parts>();
    const Bytes crl = largeCrl(pki.root);
    testkit::CertificateSpec spec;
    spec.commonName = "responder";
    spec.extendedKeyUsage = "OCSPSigning";
    spec.keyUsage = "critical,digitalSignature";
    if (isDownloaded) {
        parts->server = std::make_unique<testkit::HttpServer>(
            [=](const testkit::HttpRequest&) { return testkit::HttpReply{.body = crl}; });
        spec.crlUrls = {parts->server->url("/root.crl")};
    }
    parts->machine = std::make_unique<Machine>(pki.root, isDownloaded ? std::nullopt : std::optional(crl));
    parts->store = storeWithCrl(pki.root.certificate, crl);
    parts->opensslId = identifierOf(pki.leaf.certificate, pki.root.certificate);
    parts->request = requestOf(pki);
    const Bytes der = responseOf(testkit::issue(pki.root, spec), entriesOf(pki, 1));
    return {.openssl = [=](std::size_t) { opensslVerdict(der, parts->store.get(), parts->opensslId.get()); },
            .tallow = [=](std::size_t) { verdict(der, *parts->request); }};
}

}  // namespace

void addCrlRows() {
    addRow("further verdict, CRL of 100,000 entries from a distribution point", [] { return crlRow(true); });
    addRow("further verdict, CRL of 100,000 entries in a store", [] { return crlRow(false); });
}

}  // namespace bench
