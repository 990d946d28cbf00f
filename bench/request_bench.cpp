// Requests: identifiers, and requests with a new nonce.
#include <vector>

#include "asn1/algorithms/big_integer.h"
#include "asn1/codec/octet_string.h"
#include "bench/comparison.h"
#include "bench/material.h"
#include "bench/openssl_side.h"
#include "client/request/request.h"
#include "message/request_message.h"
#include "platform/crypto/crypto_service.h"

namespace bench {

namespace {

using namespace Orvane;
using namespace Orvane::PKI::OCSP;

OcspCertIdPtr opensslIdentifier(const testkit::Bytes& certificate, const testkit::Bytes& issuer) {
    return OcspCertIdPtr(
        OCSP_cert_to_id(EVP_sha1(), parseCertificate(certificate).get(), parseCertificate(issuer).get()));
}

void opensslRequest(const OCSP_CERTID* id) {
    const OcspRequestPtr request(OCSP_REQUEST_new());
    expect(OCSP_request_add0_id(request.get(), OCSP_CERTID_dup(id)) != nullptr);
    expect(OCSP_request_add1_nonce(request.get(), nullptr, 16) == 1);
    unsigned char* encoded = nullptr;
    expect(i2d_OCSP_REQUEST(request.get(), &encoded) > 0);
    OPENSSL_free(encoded);
}

void messageRequest(const CCertID& id, HCRYPTPROV provider) {
    CRequestMessage message(false);
    CSingleRequestList list;
    list.emplace_back(CReqCert(id));
    message.put_requestList(list);
    CExtNonce nonce;
    nonce.put_nonce(ASN1::toOctetString(ASN1::MakeRandomBigInteger(provider, 16)));
    ASN1::CExtensions extensions;
    extensions.push_back(ASN1::CExtension(nonce, false));
    message.put_requestExtensions(&extensions);
    expect(message.encode().cbData() > 0);
}

void clientRequest(const CCertID& id) {
    Client::CRequest request;
    request.put_SRCertID(id, 0);
    request.put_UseNonce(true);
    request.put_UseAcceptableResponses(false);
    unsigned long size = 0;
    request.Export(nullptr, &size);
    std::vector<unsigned char> encoded(size);
    request.Export(encoded.data(), &size);
    expect(size > 0);
}

}  // namespace

void addRequestTasks() {
    const Material& material = Material::shared();
    const testkit::Bytes certificate = material.leaf.certificate;
    const testkit::Bytes issuer = material.root.certificate;
    ASN1::CAlgorithmIdentifierEx sha1(testkit::kSha1Oid);
    sha1.put_parameters(blob({0x05, 0x00}));
    addContender("identifier from two certificates", kOpenssl,
                 [=] { expect(opensslIdentifier(certificate, issuer) != nullptr); });
    const CBlob certificateData = blob(certificate);
    const CBlob issuerData = blob(issuer);
    addContender("identifier from two certificates", "message",
                 [=] { expect(CCertID(sha1, certificateData, issuerData).get_issuerKeyHash().cbData() == 20); });

    const std::shared_ptr<OCSP_CERTID> opensslId(opensslIdentifier(certificate, issuer));
    const CCertID id(sha1, certificateData, issuerData);
    HCRYPTPROV provider = 0;
    expect(CryptAcquireContextA(&provider, nullptr, nullptr, 75, CRYPT_VERIFYCONTEXT) != FALSE);
    addContender("build request with nonce", kOpenssl, [=] { opensslRequest(opensslId.get()); });
    addContender("build request with nonce", "message", [=] { messageRequest(id, provider); });
    addContender("build request with nonce", "client", [=] { clientRequest(id); });
}

}  // namespace bench
