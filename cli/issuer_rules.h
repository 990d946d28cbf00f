// Who issued a certificate: only the key that signed it tells, never a name.
#pragma once

#include <optional>

#include "cli/rejection.h"
#include "handles/cert_context.h"

namespace tallow::cli {

/// Nothing when the name of `issuer` is that of the certificate's issuer and its key made the signature. Otherwise
/// kIssuerMismatch when it is another name or key, and the status of the service when that cannot be told: an algorithm
/// that is unknown or broken, a key that cannot be used. A SHA-1 signature is verified whatever the settings accept:
/// the question here is only who issued it.
std::optional<Rejection> rejectIssuer(const _CERT_CONTEXT* certificate, const _CERT_CONTEXT* issuer);

/// The first certificate in the store that rejectIssuer accepts; empty when there is none. The store stays the
/// caller's.
ATL2::CCertContext issuerIn(void* store, const _CERT_CONTEXT* certificate);

/// The issuer from the system's stores or by building a chain, which may download it; `store` holds more certificates.
/// Empty when there is none that rejectIssuer accepts.
ATL2::CCertContext findIssuer(void* store, const _CERT_CONTEXT* certificate);

}  // namespace tallow::cli
