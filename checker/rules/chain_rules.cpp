#include "checker/rules/chain_rules.h"

#include <algorithm>

#include "checker/rules/chain.h"
#include "checker/rules/chain_faults.h"
#include "foundation/date_time.h"
#include "handles/status.h"

namespace tallow::rules {

namespace {

// Validity is compared here and not taken from the chain, which may be judged by an earlier second.
std::optional<Rejection> rejectErrors(const _CERT_CONTEXT* certificate, DWORD errors, const Orvane::CDateTime& now) {
    const Orvane::CDateTime notBefore(certificate->pCertInfo->NotBefore);
    const Orvane::CDateTime notAfter(certificate->pCertInfo->NotAfter);
    if (now < notBefore || notAfter < now) {
        return Rejection{status::kCertExpired, Rule::kChain};
    }
    const ChainFault* const fault = worstFault(errors);
    return fault == nullptr ? std::nullopt : std::optional(Rejection{fault->code, Rule::kChain});
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
