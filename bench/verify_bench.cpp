// Verification: from the bytes of a response to the verdict about one certificate, without a network.
#include "bench/comparison.h"
#include "bench/material.h"
#include "bench/openssl_side.h"
#include "client/flat/verifying_response_handler.h"
#include "client/request/request.h"
#include "client/response/response.h"

namespace bench {

namespace {

using namespace Orvane;
using namespace Orvane::PKI::OCSP;

void opensslVerdict(const testkit::Bytes& der, X509_STORE* store, OCSP_CERTID* id) {
    const OcspBasicPtr basic = parseResponse(der);
    expect(OCSP_basic_verify(basic.get(), nullptr, store, 0) == 1);
    int status = -1;
    ASN1_GENERALIZEDTIME* thisUpdate = nullptr;
    ASN1_GENERALIZEDTIME* nextUpdate = nullptr;
    expect(OCSP_resp_find_status(basic.get(), id, &status, nullptr, nullptr, &thisUpdate, &nextUpdate) == 1);
    expect(status == V_OCSP_CERTSTATUS_GOOD && OCSP_check_validity(thisUpdate, nextUpdate, 300, -1) == 1);
}

void signatureAlone(const CBlob& der) {
    Client::CResponse response;
    response.Import(der.pbData(), der.cbData(), nullptr);
    expect(response.Verify(nullptr, nullptr) == 0);
}

void opensslSignature(const testkit::Bytes& der) {
    const OcspBasicPtr basic = parseResponse(der);
    expect(OCSP_basic_verify(basic.get(), nullptr, nullptr, OCSP_NOVERIFY) == 1);
}

void verdict(const CBlob& der, Client::CRequest& request) {
    Client::CResponse response;
    response.Import(der.pbData(), der.cbData(), nullptr);
    expect(Client::CVerifyingResponseHandler(request, nullptr, 0).OnResponse(response) == 0);
}

}  // namespace

void addVerifyTasks() {
    const Material& material = Material::shared();
    const testkit::Bytes der = material.response(1);
    const CBlob data = blob(der);
    addContender("decode, find signer, check signature", kOpenssl, [=] { opensslSignature(der); });
    addContender("decode, find signer, check signature", "client", [=] { signatureAlone(data); });

    const std::shared_ptr<X509_STORE> store(X509_STORE_new(), X509_STORE_free);
    X509_STORE_add_cert(store.get(), parseCertificate(material.root.certificate).get());
    const std::shared_ptr<OCSP_CERTID> opensslId(
        OCSP_cert_to_id(EVP_sha1(), parseCertificate(material.leaf.certificate).get(),
                        parseCertificate(material.root.certificate).get()),
        OCSP_CERTID_free);
    addContender("whole verdict on one certificate", kOpenssl,
                 [=] { opensslVerdict(der, store.get(), opensslId.get()); });
    ASN1::CAlgorithmIdentifierEx sha1(testkit::kSha1Oid);
    const auto request = std::make_shared<Client::CRequest>();
    request->put_SRCertID(CCertID(sha1, blob(material.leaf.certificate), blob(material.root.certificate)), 0);
    addContender("whole verdict on one certificate", "client", [=] { verdict(data, *request); });
}

}  // namespace bench
