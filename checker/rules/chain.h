// Building a chain of certificates.
#pragma once

#include "handles/cert_chain_context.h"
#include "platform/crypto/crypto_service.h"

namespace tallow::rules {

/// Builds the chain of the certificate for the current time, with the certificates and CRLs of `store` and of the
/// system; `flags` are those of CertGetCertificateChain. Throws the converted last error, never 0.
ATL2::CCertChainContext buildChain(const _CERT_CONTEXT* certificate, void* store, DWORD flags);

}  // namespace tallow::rules
