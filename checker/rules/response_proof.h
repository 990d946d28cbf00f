// Whether an authorised responder signed a response: all checks that come before its entries.
#pragma once

#include <optional>
#include <span>

#include "checker/rules/rejection.h"
#include "client/response/response.h"

namespace tallow::rules {

struct Proof {
    const _CERT_CONTEXT* signer = nullptr;  // owned by the response; null when it was not found
    std::optional<Rejection> rejection;
};

/// Finds the signer of a successful response and checks the signature and the signer's certificate, in this order.
/// `stores` contain more certificates and CRLs. Afterwards CResponse::VerifySR knows for which entries the signer may
/// answer. Form, nonces and entries are not examined. The rejection has no text when the certificate is rejected.
Proof proveSigner(const Orvane::PKI::OCSP::Client::CResponse& response, std::span<void*> stores);

}  // namespace tallow::rules
