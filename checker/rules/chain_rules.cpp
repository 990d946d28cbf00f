#include "checker/rules/chain_rules.h"

#include <algorithm>
#include <string>

#include "checker/rules/chain.h"
#include "checker/text/certificate_text.h"
#include "checker/text/times.h"
#include "foundation/date_time.h"
#include "handles/status.h"

namespace tallow::rules {

namespace {

std::string named(const _CERT_CONTEXT* certificate) {
    const std::string subject = text::subjectOf(certificate);
    return "certificate " + (subject.empty() ? "with serial number " + text::serialOf(certificate) : subject) + ' ';
}

// Bits of a trust status, and the words for them.
struct Fault {
    DWORD bits;
    std::int32_t code;
    const char* text;
};
constexpr DWORD kNameConstraints = CERT_TRUST_INVALID_NAME_CONSTRAINTS | CERT_TRUST_HAS_NOT_SUPPORTED_NAME_CONSTRAINT |
                                   CERT_TRUST_HAS_NOT_PERMITTED_NAME_CONSTRAINT |
                                   CERT_TRUST_HAS_EXCLUDED_NAME_CONSTRAINT;
// Only the first matching row is reported.
constexpr Fault kFaults[] = {
    {CERT_TRUST_IS_NOT_SIGNATURE_VALID, status::kCertSignature,
     "has a signature that does not verify with the key of its issuer; do not rely on it"},
    {CERT_TRUST_HAS_WEAK_SIGNATURE, status::kCertSignature,
     "has a signature or key that is too weak; have it renewed, and for SHA-1 see the setting accept_sha1"},
    {CERT_TRUST_IS_PARTIAL_CHAIN, status::kChaining, "has an issuer that was not found; supply the certificates above"},
    {CERT_TRUST_IS_UNTRUSTED_ROOT, status::kUntrustedRoot,
     "is a root that is not trusted; add it to the store ROOT or name it as trusted"},
    {CERT_TRUST_IS_EXPLICIT_DISTRUST, status::kUntrustedRoot, "is marked as not trusted; do not rely on it"},
    {CERT_TRUST_IS_REVOKED, status::kCryptRevoked, "is revoked by its issuer; do not rely on it"},
    {CERT_TRUST_INVALID_BASIC_CONSTRAINTS, status::kBasicConstraints,
     "is no CA, or may not issue at this depth; do not rely on what it issued"},
    {CERT_TRUST_IS_NOT_VALID_FOR_USAGE, status::kWrongUsage,
     "has a key usage that does not allow what it signed; do not rely on it"},
    {kNameConstraints, status::kTrustFail, "is outside of the name constraints of a CA above it; do not rely on it"},
    {CERT_TRUST_INVALID_POLICY_CONSTRAINTS | CERT_TRUST_NO_ISSUANCE_CHAIN_POLICY, status::kTrustFail,
     "does not meet the certificate policies that are required; do not rely on it"},
    {CERT_TRUST_HAS_NOT_SUPPORTED_CRITICAL_EXT, status::kCertCritical,
     "has a critical extension that is not supported; do not rely on it"},
    {CERT_TRUST_REVOCATION_STATUS_UNKNOWN | CERT_TRUST_IS_OFFLINE_REVOCATION, status::kNoRevocationCheck,
     "has an unknown revocation state; supply a current CRL of its issuer"},
    {CERT_TRUST_IS_NOT_TIME_VALID, status::kCertExpired, "is not valid now; check the clock"},
    {~CERT_TRUST_NO_ERROR, status::kTrustFail, "has a faulty extension; do not rely on it"},
};

std::optional<Rejection> rejectDates(const _CERT_CONTEXT* certificate, const Orvane::CDateTime& now) {
    const Orvane::CDateTime notBefore(certificate->pCertInfo->NotBefore);
    const Orvane::CDateTime notAfter(certificate->pCertInfo->NotAfter);
    if (now < notBefore) {
        return Rejection{status::kCertExpired, Rule::kChain,
                         named(certificate) + "is not valid before " + text::iso8601(&notBefore) + "; check the clock"};
    }
    if (notAfter < now) {
        return Rejection{
            status::kCertExpired, Rule::kChain,
            named(certificate) + "expired on " + text::iso8601(&notAfter) + "; check the clock, then have it renewed"};
    }
    return std::nullopt;
}

std::optional<Rejection> rejectErrors(const _CERT_CONTEXT* certificate, DWORD errors, const Orvane::CDateTime& now) {
    if (std::optional<Rejection> rejection = rejectDates(certificate, now)) {
        return rejection;
    }
    if (errors == CERT_TRUST_NO_ERROR) {
        return std::nullopt;
    }
    const auto* fault = std::find_if(std::begin(kFaults), std::end(kFaults),
                                     [errors](const Fault& row) { return (errors & row.bits) != 0; });
    return Rejection{fault->code, Rule::kChain, named(certificate) + fault->text};
}

// The fault nearest to the certificate is reported first: its owner can fix that.
std::optional<Rejection> rejectElements(const CERT_SIMPLE_CHAIN& chain, const Orvane::CDateTime& now) {
    for (DWORD i = 0; i < chain.cElement; ++i) {
        const CERT_CHAIN_ELEMENT& element = *chain.rgpElement[i];
        if (std::optional<Rejection> rejection =
                rejectErrors(element.pCertContext, element.TrustStatus.dwErrorStatus, now)) {
            return rejection;
        }
    }
    // Faults of the whole chain are reported on its last certificate.
    return rejectErrors(chain.rgpElement[chain.cElement - 1]->pCertContext, chain.TrustStatus.dwErrorStatus, now);
}

// The chain's only path; null when there is none.
const CERT_SIMPLE_CHAIN* pathOf(const ATL2::CCertChainContext& chain) {
    return chain->cChain == 0 || chain->rgpChain[0]->cElement == 0 ? nullptr : chain->rgpChain[0];
}

bool isSame(const _CERT_CONTEXT* left, const _CERT_CONTEXT* right) {
    return std::equal(left->pbCertEncoded, left->pbCertEncoded + left->cbCertEncoded, right->pbCertEncoded,
                      right->pbCertEncoded + right->cbCertEncoded);
}

// Whether `upper` is `whole` without its first certificate.
bool continues(const CERT_SIMPLE_CHAIN& upper, const CERT_SIMPLE_CHAIN& whole) {
    bool isSamePath = upper.cElement + 1 == whole.cElement;
    for (DWORD i = 0; isSamePath && i < upper.cElement; ++i) {
        isSamePath = isSame(upper.rgpElement[i]->pCertContext, whole.rgpElement[i + 1]->pCertContext);
    }
    return isSamePath;
}

Rejection rejectedPath() {
    return {status::kChaining, Rule::kChain, "no chain to a trusted root was found; supply the certificates between"};
}

}  // namespace

// The whole chain is built without CRLs, and again from the issuer upwards with them. Both must take the same path: a
// valid path and another, unrevoked one prove nothing together.
std::optional<Rejection> rejectChain(const _CERT_CONTEXT* certificate, void* store, const Orvane::CDateTime& now) {
    const ATL2::CCertChainContext whole = buildChain(certificate, store, CERT_CHAIN_DISABLE_AUTH_ROOT_AUTO_UPDATE);
    const CERT_SIMPLE_CHAIN* path = pathOf(whole);
    if (path == nullptr) {
        return rejectedPath();
    }
    if (std::optional<Rejection> rejection = rejectElements(*path, now); rejection || path->cElement == 1) {
        return rejection;
    }
    const ATL2::CCertChainContext upper =
        buildChain(path->rgpElement[1]->pCertContext, store,
                   CERT_CHAIN_DISABLE_AUTH_ROOT_AUTO_UPDATE | CERT_CHAIN_REVOCATION_CHECK_CHAIN);
    const CERT_SIMPLE_CHAIN* upperPath = pathOf(upper);
    if (upperPath == nullptr) {
        return rejectedPath();
    }
    if (std::optional<Rejection> rejection = rejectElements(*upperPath, now)) {
        return rejection;
    }
    return continues(*upperPath, *path) ? std::nullopt : std::optional(rejectedPath());
}

}  // namespace tallow::rules
