// What requests and responses share where they build chains and keep certificates.
#pragma once

#include <cstdint>

#include "foundation/blob.h"
#include "handles/cert_chain_context.h"
#include "handles/cert_store.h"
#include "platform/crypto/crypto_service.h"

namespace Orvane::PKI::OCSP::Client {

/// How a chain is built beyond its certificate; every member may stay empty.
struct ChainOptions {
    DWORD flags = 0;
    HCERTCHAINENGINE engine = nullptr;
    HCERTSTORE additional = nullptr;
    FILETIME* cacheResync = nullptr;
};

/// Throws kFail when the certificate cannot be duplicated, the converted last error when no chain can be built.
[[nodiscard]] ATL2::CCertChainContext buildChain(const _CERT_CONTEXT* cert, const ChainOptions& options);

/// The verdict of a chain policy on what CertVerifyCertificateChainPolicy left, traced: dwError, 0 for no objection.
/// When the call itself failed (`judged` FALSE), its `lastError` is thrown converted.
std::int32_t policyVerdict(BOOL judged, DWORD lastError, const CERT_CHAIN_POLICY_STATUS& policyStatus);

/// Whether the chain has a certificate in it. An empty chain that passes a policy proves nothing.
[[nodiscard]] bool isProof(const ATL2::CCertChainContext& chain);

/// A collection of `own` and the non-null ones of `count` store handles, for building chains. Throws the status of the
/// step that failed.
[[nodiscard]] ATL2::CCertStore collectStores(const ATL2::CCertStore& own, void** stores, unsigned long count);

/// Keeps a copy of the certificate in `store`; one that is there already stays. Throws kFail when no store is open, the
/// converted last error when the service refuses.
void addCertificate(const ATL2::CCertStore& store, const _CERT_CONTEXT* cert);

/// The same for the DER certificates that a message carries; null for none. Throws the converted last error for one
/// that is malformed.
void addCertificates(const ATL2::CCertStore& store, const CBlobList* certs);

}  // namespace Orvane::PKI::OCSP::Client
