// Owners of OpenSSL's OCSP objects, and its decoders with a check of the result.
#pragma once

#include <openssl/ocsp.h>

#include <cstdlib>
#include <memory>

#include "tests/support/bytes.h"
#include "tests/support/openssl_ptr.h"

namespace bench {

using OcspResponsePtr = std::unique_ptr<OCSP_RESPONSE, testkit::FreeWith<OCSP_RESPONSE_free>>;
using OcspBasicPtr = std::unique_ptr<OCSP_BASICRESP, testkit::FreeWith<OCSP_BASICRESP_free>>;
using OcspRequestPtr = std::unique_ptr<OCSP_REQUEST, testkit::FreeWith<OCSP_REQUEST_free>>;
using OcspCertIdPtr = std::unique_ptr<OCSP_CERTID, testkit::FreeWith<OCSP_CERTID_free>>;
using testkit::parseCertificate;
using X509StorePtr = std::unique_ptr<X509_STORE, testkit::FreeWith<X509_STORE_free>>;

/// A contender that did not do its task must not look fast.
inline void expect(bool condition) {
    if (!condition) {
        std::abort();
    }
}

inline OcspBasicPtr parseResponse(const testkit::Bytes& der) {
    const auto response = testkit::fromDer<OcspResponsePtr>(der, d2i_OCSP_RESPONSE);
    OcspBasicPtr basic(OCSP_response_get1_basic(response.get()));
    expect(basic != nullptr);
    return basic;
}

}  // namespace bench
