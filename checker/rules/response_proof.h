// Whether an authorised responder signed a response: all checks that come before its entries.
#pragma once

#include <optional>

#include "checker/rules/rejection.h"
#include "client/response/response.h"

namespace tallow::rules {

struct Proof {
    const _CERT_CONTEXT* signer = nullptr;  // owned by the response; null when it was not found
    std::optional<Rejection> rejection;
};

/// Finds the signer of a successful response and checks the signature and the signer's certificate, in this order.
/// `stores` is an array of `count` stores with more certificates and CRLs. Afterwards CResponse::VerifySR knows for
/// which entries the signer may answer. Form, nonces and entries are not examined.
Proof proveSigner(const Orvane::PKI::OCSP::Client::CResponse& response, void** stores, unsigned long count);

}  // namespace tallow::rules
