// The verdict on one certificate from the bytes of a response, as the library makes it: decode, find and verify the
// signer, check the entry.
#pragma once

#include <memory>

#include "bench/material.h"
#include "bench/row.h"
#include "client/flat/verifying_response_handler.h"
#include "client/request/request.h"
#include "client/response/response.h"

namespace bench {

/// The request that the responses are verified for: it names the leaf of `pki`.
inline std::shared_ptr<Orvane::PKI::OCSP::Client::CRequest> requestOf(const Pki& pki) {
    using namespace Orvane;
    const auto request = std::make_shared<PKI::OCSP::Client::CRequest>();
    request->put_SRCertID(PKI::OCSP::CCertID(ASN1::CAlgorithmIdentifierEx(testkit::kSha1Oid),
                                             blob(pki.leaf.certificate), blob(pki.root.certificate)),
                          0);
    return request;
}

inline void verdict(const Bytes& der, Orvane::PKI::OCSP::Client::CRequest& request) {
    using namespace Orvane::PKI::OCSP::Client;
    CResponse response;
    response.Import(der.data(), der.size(), nullptr);
    expect(CVerifyingResponseHandler(request, nullptr, 0).OnResponse(response) == 0);
}

}  // namespace bench
