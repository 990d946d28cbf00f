// The issuer of a certificate: proven by the key that signed it, never by a name.
#pragma once

#include <optional>

#include "checker/rules/rejection.h"
#include "handles/cert_context.h"

namespace tallow::rules {

/// Nothing when `issuer` has the name of the certificate's issuer and its key made the signature. kIssuerMismatch for
/// another name or key; the status of the service when the signature cannot be checked: an unknown or broken algorithm,
/// an unusable key. A SHA-1 signature is verified whatever the settings accept: the question here is only who issued
/// it.
std::optional<Rejection> rejectIssuer(const _CERT_CONTEXT* certificate, const _CERT_CONTEXT* issuer);

/// The first certificate in the store that rejectIssuer accepts, of the first 64 with the name; empty when there is
/// none. The store stays the caller's.
ATL2::CCertContext issuerIn(void* store, const _CERT_CONTEXT* certificate);

/// The issuer from the system's stores or from a chain, which may be downloaded; `store` contains more certificates.
/// Empty when there is none that rejectIssuer accepts.
ATL2::CCertContext findIssuer(void* store, const _CERT_CONTEXT* certificate);

}  // namespace tallow::rules
