// Requests: from two certificates to the encoded request with a new nonce.
#include <memory>
#include <vector>

#include "bench/material.h"
#include "bench/openssl_side.h"
#include "bench/row.h"
#include "client/request/request.h"
#include "platform/crypto/crypto_service.h"

namespace bench {

namespace {

using namespace Orvane;
using namespace Orvane::PKI::OCSP;
using ContextPtr = std::unique_ptr<const _CERT_CONTEXT, testkit::FreeWith<CertFreeCertificateContext>>;

constexpr int kNonceSize = 16;  // octets

ContextPtr contextOf(const Bytes& der) {
    ContextPtr context(CertCreateCertificateContext(X509_ASN_ENCODING, der.data(), static_cast<DWORD>(der.size())));
    expect(context != nullptr);
    return context;
}

void opensslRequest(OcspCertIdPtr id) {
    const OcspRequestPtr request(OCSP_REQUEST_new());
    expect(id != nullptr && OCSP_request_add0_id(request.get(), id.release()) != nullptr);
    expect(OCSP_request_add1_nonce(request.get(), nullptr, kNonceSize) == 1);
    unsigned char* encoded = nullptr;
    expect(i2d_OCSP_REQUEST(request.get(), &encoded) > 0);
    OPENSSL_free(encoded);
}

void clientRequest(Client::CRequest& request) {
    request.put_UseNonce(true);
    request.put_UseAcceptableResponses(false);
    unsigned long size = 0;
    request.Export(nullptr, &size);
    std::vector<unsigned char> encoded(size);
    request.Export(encoded.data(), &size);
    expect(size > 0);
}

Row openedRow() {
    const Pki& pki = Pki::of(KeyKind::kRsa2048);
    const std::shared_ptr<X509> certificate = parseCertificate(pki.leaf.certificate);
    const std::shared_ptr<X509> issuer = parseCertificate(pki.root.certificate);
    const std::shared_ptr<const _CERT_CONTEXT> certificateContext = contextOf(pki.leaf.certificate);
    const std::shared_ptr<const _CERT_CONTEXT> issuerContext = contextOf(pki.root.certificate);
    return {.openssl =
                [=](std::size_t) {
                    opensslRequest(OcspCertIdPtr(OCSP_cert_to_id(EVP_sha1(), certificate.get(), issuer.get())));
                },
            .tallow =
                [=](std::size_t) {
                    Client::CRequest request(certificateContext.get(), issuerContext.get());
                    clientRequest(request);
                }};
}

// The certificate that is asked about is another one for each call; the issuer stays.
Row newRow() {
    constexpr std::size_t kMaxCertificates = 40;
    const Pki& pki = Pki::of(KeyKind::kRsa2048);
    const Bytes issuer = pki.root.certificate;
    const auto fresh = std::make_shared<std::vector<Bytes>>();
    return {.openssl = [=](std::size_t call) { opensslRequest(identifierOf(fresh->at(call), issuer)); },
            .tallow =
                [=](std::size_t call) {
                    Client::CRequest request(contextOf(fresh->at(call)).get(), contextOf(issuer).get());
                    clientRequest(request);
                },
            .prepare = [=, &pki](std::size_t calls) { *fresh = pki.freshCertificates(calls); },
            .maxCalls = kMaxCertificates};
}

Row identifierRow() {
    const Pki& pki = Pki::of(KeyKind::kRsa2048);
    const std::shared_ptr<OCSP_CERTID> opensslId = identifierOf(pki.leaf.certificate, pki.root.certificate);
    const CCertID id(ASN1::CAlgorithmIdentifierEx(testkit::kSha1Oid), blob(pki.leaf.certificate),
                     blob(pki.root.certificate));
    return {.openssl = [=](std::size_t) { opensslRequest(OcspCertIdPtr(OCSP_CERTID_dup(opensslId.get()))); },
            .tallow =
                [=](std::size_t) {
                    Client::CRequest request;
                    request.put_SRCertID(id, 0);
                    clientRequest(request);
                }};
}

}  // namespace

void addRequestRows() {
    addRow("request with nonce from two opened certificates", openedRow);
    addRow("request with nonce from two encoded certificates, one new", newRow);
    addRow("request with nonce from an identifier", identifierRow);
}

}  // namespace bench
