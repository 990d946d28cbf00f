// Finds the issuer of a certificate by building a chain.
#pragma once

#include "handles/cert_context.h"
#include "platform/crypto/crypto_service.h"

namespace Orvane::PKI::OCSP::Client {

/// The issuer of `cert`: the second element of its first chain, or the certificate itself when it is self-signed. Empty
/// when there is none, or when its key does not verify the certificate. Throws the converted last error when the chain
/// cannot be built, kFail when the certificate cannot be duplicated.
[[nodiscard]] ATL2::CCertContext issuerByChain(const _CERT_CONTEXT* cert);

}  // namespace Orvane::PKI::OCSP::Client
