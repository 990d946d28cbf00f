// Building a chain of certificates.
#pragma once

#include "handles/cert_chain_context.h"
#include "platform/crypto/crypto_service.h"

namespace tallow::cli {

/// The chain of the certificate, now, with the certificates and CRLs of `store` beside those of the system; `flags` are
/// those of CertGetCertificateChain. Throws the converted last error.
ATL2::CCertChainContext buildChain(const _CERT_CONTEXT* certificate, void* store, DWORD flags);

}  // namespace tallow::cli
