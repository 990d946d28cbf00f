// Whether an authorised responder signed a response: all checks that come before its entries.
#pragma once

#include <optional>

#include "cli/rejection.h"
#include "client/response/response.h"

namespace tallow::cli {

struct Proof {
    const _CERT_CONTEXT* signer = nullptr;  // owned by the response; null when it was not found
    std::optional<Rejection> rejection;
};

/// Checks form, response status, signature and the signer's certificate, in this order. `stores` is an array of `count`
/// stores with more certificates and CRLs. Afterwards CResponse::VerifySR knows for which entries the signer may
/// answer. Nonces and entries are not examined.
Proof proveResponse(const Orvane::PKI::OCSP::Client::CResponse& response, void** stores, unsigned long count);

}  // namespace tallow::cli
