// Whether a certificate to check has a valid chain up to a trusted root.
#pragma once

#include <optional>

#include "checker/rules/rejection.h"
#include "foundation/date_time.h"
#include "platform/crypto/crypto_service.h"

namespace tallow::rules {

/// Nothing when the certificate has a chain to a trusted root in which every certificate is valid at `now` and may
/// issue the one below, and CRLs show that none of the CAs is revoked. CRLs about the certificate itself are not used:
/// the responder reports its status. `store` contains more certificates and CRLs; missing ones may be downloaded. The
/// rejection has no text for a fault of one certificate. `now` is the time of the rules of the calling thread. Throws
/// the converted last error when no chain can be built.
std::optional<Rejection> rejectChain(const _CERT_CONTEXT* certificate, void* store, const Orvane::CDateTime& now);

}  // namespace tallow::rules
