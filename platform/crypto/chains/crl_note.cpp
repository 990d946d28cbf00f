#include "platform/crypto/chains/crl_note.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <new>

#include "platform/crypto/base/current_check.h"
#include "platform/crypto/chains/crl_selection.h"
#include "platform/crypto/keys/algorithms.h"

namespace tallow::platform {

namespace {

// "2026-11-22T10:00:00Z"
std::string dateText(long long seconds) {
    const auto time = static_cast<std::time_t>(seconds);
    std::tm fields{};
    char text[32] = "";
    if (gmtime_r(&time, &fields) == nullptr || std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &fields) == 0) {
        return "a malformed date";
    }
    return text;
}

// The newest complete CRL, else the newest delta CRL; null when there is none. Later CRLs only add revocations.
const CrlCandidate* newestOf(const CrlCandidates& candidates) {
    const CrlCandidate* newest = nullptr;
    for (const CrlCandidate& candidate : candidates) {
        const bool isFirst = newest == nullptr || (newest->crl->isDelta() && !candidate.crl->isDelta());
        const bool isRival = newest != nullptr && newest->crl->isDelta() == candidate.crl->isDelta();
        if (!candidate.isLater && (isFirst || (isRival && isNewer(*candidate.crl, *newest->crl)))) {
            newest = &candidate;
        }
    }
    return newest;
}

std::string weaknessOf(const Crl& crl) {
    const Algorithm* const row = findAlgorithm(crl.algorithmOid, CRYPT_SIGN_ALG_OID_GROUP_ID);
    const bool isSha1 = row != nullptr && row->strength == Strength::kSha1;
    return "the signature algorithm " + crl.algorithmOid +
           (row == nullptr ? " of the newest CRL is not known"
            : isSha1       ? " of the newest CRL uses SHA-1, which the setting accept_sha1 does not accept"
                           : " of the newest CRL is too weak");
}

std::string unusableBecause(const Crl& crl, const CrlRules& rules) {
    const long long now = secondsSince1970(rules.when);
    if (crl.defect != nullptr) {
        return std::string("the newest CRL is rejected: ") + crl.defect;
    }
    if (crl.thisUpdate > now) {
        return "the newest CRL is dated in the future: " + dateText(crl.thisUpdate);
    }
    if (crl.nextUpdate && *crl.nextUpdate <= now) {
        return "the newest CRL expired on " + dateText(*crl.nextUpdate);
    }
    if (rules.maxAgeSeconds != 0 && crl.thisUpdate < now - rules.maxAgeSeconds) {
        return "the newest CRL was issued on " + dateText(crl.thisUpdate) + ", which is older than the " +
               std::to_string(rules.maxAgeSeconds) + " s that max_crl_age permits";
    }
    return weaknessOf(crl);
}

std::string unprovenBecause(const Crl& crl, const CrlFindings& findings) {
    if (findings.unauthorised.contains(crl.shared_from_this())) {
        return "the signer of the newest CRL is not authorised to sign it";
    }
    X509* const issuer = findings.path.elements[findings.index + 1]->x509();
    if (X509_NAME_cmp(X509_get_subject_name(issuer), crl.issuer.get()) == 0 &&
        (X509_get_key_usage(issuer) & KU_CRL_SIGN) == 0) {
        return "its issuer may not sign CRLs, by its key usage";
    }
    return "the signature of the newest CRL does not verify with the key of its issuer";
}

std::string disputedBecause(const CrlFindings& findings) {
    const CrlCandidate* const newest = newestOf(findings.candidates);
    if (newest != nullptr && !newest->isUsable) {
        return unusableBecause(*newest->crl, findings.source.rules());
    }
    return "a delta CRL lists it, but the complete CRL that the delta CRL changes is missing";
}

std::string unknownBecause(const CrlFindings& findings, const CrlCandidate* newest) {
    if (findings.obstacle != nullptr) {
        return findings.obstacle;
    }
    if (newest == nullptr) {
        // Perhaps that of another certificate of the chain.
        const CrlRef& future = findings.source.fromTheFuture();
        const CrlSubject subject(*findings.path.elements[findings.index]);
        return future && subject.reasonsCoveredBy(*future) != 0
                   ? "the newest CRL is dated in the future: " + dateText(future->thisUpdate)
                   : "no CRL of its issuer was found";
    }
    if (findings.isDisputed) {
        return disputedBecause(findings);
    }
    if (!newest->isUsable) {
        return unusableBecause(*newest->crl, findings.source.rules());
    }
    if (newest->crl->isDelta()) {
        return "only a delta CRL was found, and the complete CRL is missing";
    }
    return findings.used.empty() ? unprovenBecause(*newest->crl, findings)
                                 : "the CRLs that were found do not cover every reason of a revocation";
}

// The one that lists the certificate, else the newest complete one.
const CrlCandidate* decisiveOf(const CrlFindings& findings) {
    const auto listing = std::find_if(findings.used.begin(), findings.used.end(), [](const CrlCandidate* candidate) {
        return candidate->reason && *candidate->reason != kReasonRemoveFromCrl;
    });
    if (findings.state == RevocationState::kRevoked && listing != findings.used.end()) {
        return *listing;
    }
    const auto complete = std::find_if(findings.used.begin(), findings.used.end(),
                                       [](const CrlCandidate* candidate) { return !candidate->crl->isDelta(); });
    return complete != findings.used.end() ? *complete : nullptr;
}

std::string revokedSince(const Crl& crl, const Certificate& certificate) {
    const CrlSubject subject(certificate);
    const std::optional<long long> date = crl.dateFor(subject.issuer(), subject.serial());
    return date ? "since " + dateText(*date) : "";
}

void tellWords(const CrlFindings& findings) {
    const Certificate& certificate = *findings.path.elements[findings.index];
    const CrlCandidate* candidate = decisiveOf(findings);
    std::string reason;
    CRYPTO_NOTE note{};
    note.dwKind = CRYPTO_NOTE_CRL;
    note.pCertificate = certificate.context();
    if (findings.state == RevocationState::kUnknown) {
        candidate = newestOf(findings.candidates);
        reason = unknownBecause(findings, candidate);
        note.dwError = CRYPT_E_NO_REVOCATION_CHECK;
    } else if (findings.state == RevocationState::kRevoked) {
        reason = candidate != nullptr ? revokedSince(*candidate->crl, certificate) : "";
        note.dwError = CRYPT_E_REVOKED;
    }
    note.szReason = reason.c_str();
    if (candidate != nullptr) {
        note.pbCrl = candidate->crl->der.data();
        note.cbCrl = static_cast<DWORD>(candidate->crl->der.size());
    }
    tell(note);
}

}  // namespace

void tellOf(const CrlFindings& findings) noexcept {
    if (!isNoted()) {
        return;
    }
    try {
        tellWords(findings);
    } catch (const std::bad_alloc&) {
        CRYPTO_NOTE lost{};
        lost.dwKind = CRYPTO_NOTE_LOST;
        tell(lost);
    }
}

}  // namespace tallow::platform
