#include "checker/rules/chain_faults.h"

#include <algorithm>
#include <iterator>

#include "handles/status.h"

namespace tallow::rules {

namespace {

constexpr DWORD kNameConstraints = CERT_TRUST_INVALID_NAME_CONSTRAINTS | CERT_TRUST_HAS_NOT_SUPPORTED_NAME_CONSTRAINT |
                                   CERT_TRUST_HAS_NOT_PERMITTED_NAME_CONSTRAINT |
                                   CERT_TRUST_HAS_EXCLUDED_NAME_CONSTRAINT;
constexpr const char* kDoNotRely = "do not rely on it";

constexpr ChainFault kFaults[] = {
    {CERT_TRUST_IS_NOT_SIGNATURE_VALID, status::kCertSignature,
     "has a signature that does not verify with the key of its issuer", kDoNotRely},
    {CERT_TRUST_HAS_WEAK_SIGNATURE, status::kCertSignature, "has a signature or key that is too weak",
     "have it renewed with a stronger algorithm"},
    {CERT_TRUST_IS_PARTIAL_CHAIN, status::kChaining, "has an issuer that was not found",
     "supply the certificate of the issuer"},
    {CERT_TRUST_IS_UNTRUSTED_ROOT, status::kUntrustedRoot, "is a root that is not trusted",
     "name it as a trusted root if it is one"},
    {CERT_TRUST_IS_EXPLICIT_DISTRUST, status::kUntrustedRoot, "is marked as not trusted", kDoNotRely},
    {CERT_TRUST_IS_REVOKED, status::kCryptRevoked, "is revoked by its issuer", kDoNotRely},
    {CERT_TRUST_INVALID_BASIC_CONSTRAINTS, status::kBasicConstraints, "is no CA, or may not issue at this depth",
     "do not rely on what it issued"},
    {CERT_TRUST_IS_NOT_VALID_FOR_USAGE, status::kWrongUsage, "has a key usage that does not allow what it signed",
     "do not rely on what it issued"},
    {kNameConstraints, status::kTrustFail, "is outside of the name constraints of a CA above it", kDoNotRely},
    {CERT_TRUST_INVALID_POLICY_CONSTRAINTS | CERT_TRUST_NO_ISSUANCE_CHAIN_POLICY, status::kTrustFail,
     "does not meet the certificate policies that are required", kDoNotRely},
    {CERT_TRUST_HAS_NOT_SUPPORTED_CRITICAL_EXT, status::kCertCritical, "has a critical extension that is not supported",
     kDoNotRely},
    {kUnknownRevocation, status::kNoRevocationCheck, "has an unknown revocation status",
     "supply a current CRL of its issuer"},
    {CERT_TRUST_IS_NOT_TIME_VALID, status::kCertExpired, "has a validity that cannot be read", "have it renewed"},
    {~CERT_TRUST_NO_ERROR, status::kTrustFail, "has an extension that is malformed", kDoNotRely},
};

}  // namespace

const ChainFault* worstFault(DWORD errors) {
    const auto* const found = std::find_if(std::begin(kFaults), std::end(kFaults),
                                           [errors](const ChainFault& row) { return (errors & row.bits) != 0; });
    return found == std::end(kFaults) ? nullptr : found;
}

}  // namespace tallow::rules
