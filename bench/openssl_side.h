// What several families let OpenSSL do, and the owners of its OCSP objects.
#pragma once

#include <openssl/ocsp.h>

#include <memory>

#include "bench/row.h"
#include "tests/support/bytes.h"
#include "tests/support/openssl_ptr.h"

namespace bench {

using OcspResponsePtr = std::unique_ptr<OCSP_RESPONSE, testkit::FreeWith<OCSP_RESPONSE_free>>;
using OcspBasicPtr = std::unique_ptr<OCSP_BASICRESP, testkit::FreeWith<OCSP_BASICRESP_free>>;
using OcspRequestPtr = std::unique_ptr<OCSP_REQUEST, testkit::FreeWith<OCSP_REQUEST_free>>;
using OcspCertIdPtr = std::unique_ptr<OCSP_CERTID, testkit::FreeWith<OCSP_CERTID_free>>;
using testkit::parseCertificate;
using X509StorePtr = std::unique_ptr<X509_STORE, testkit::FreeWith<X509_STORE_free>>;

inline OcspBasicPtr parseResponse(const testkit::Bytes& der) {
    const auto response = testkit::fromDer<OcspResponsePtr>(der, d2i_OCSP_RESPONSE);
    OcspBasicPtr basic(OCSP_response_get1_basic(response.get()));
    expect(basic != nullptr);
    return basic;
}

inline OcspCertIdPtr identifierOf(const testkit::Bytes& certificate, const testkit::Bytes& issuer) {
    OcspCertIdPtr id(OCSP_cert_to_id(EVP_sha1(), parseCertificate(certificate).get(), parseCertificate(issuer).get()));
    expect(id != nullptr);
    return id;
}

/// A store that trusts `root`.
inline std::shared_ptr<X509_STORE> storeWith(const testkit::Bytes& root) {
    std::shared_ptr<X509_STORE> store(X509_STORE_new(), X509_STORE_free);
    expect(X509_STORE_add_cert(store.get(), parseCertificate(root).get()) == 1);
    return store;
}

/// The comparable verdict: decode, verify signature and signer, find the entry, check that it is good and current.
inline void opensslVerdict(const testkit::Bytes& der, X509_STORE* store, OCSP_CERTID* id) {
    const OcspBasicPtr basic = parseResponse(der);
    expect(OCSP_basic_verify(basic.get(), nullptr, store, 0) == 1);
    int status = -1;
    ASN1_GENERALIZEDTIME* thisUpdate = nullptr;
    ASN1_GENERALIZEDTIME* nextUpdate = nullptr;
    expect(OCSP_resp_find_status(basic.get(), id, &status, nullptr, nullptr, &thisUpdate, &nextUpdate) == 1);
    expect(status == V_OCSP_CERTSTATUS_GOOD && OCSP_check_validity(thisUpdate, nextUpdate, 300, -1) == 1);
}

}  // namespace bench
