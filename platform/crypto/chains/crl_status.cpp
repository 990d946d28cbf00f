#include "platform/crypto/chains/crl_status.h"

#include <algorithm>

namespace tallow::platform {

namespace {

constexpr int kNotListed = -1;

// The reason of the CRL's entry for the certificate.
int listing(const CrlCandidate& candidate) {
    return candidate.reason.value_or(kNotListed);
}

// Whether the CRL says that the certificate is revoked, or was at its time.
bool isListedBy(const CrlCandidate& candidate) {
    const int reason = listing(candidate);
    return reason != kNotListed && reason != kReasonRemoveFromCrl;
}

bool isListed(const std::vector<const CrlCandidate*>& candidates) {
    return std::any_of(candidates.begin(), candidates.end(),
                       [](const CrlCandidate* candidate) { return listing(*candidate) != kNotListed; });
}

ReasonMask reasonsOf(const CrlGroup& group) {
    ReasonMask reasons = 0;
    for (const CrlCandidate* const complete : group.completes) {
        reasons |= complete->reasons;
    }
    return reasons;
}

// CRLs cover certificates that a CA issued. Those made with an end certificate (proxies) are in none.
bool canBeLookedUp(const Path& path, std::size_t index) {
    if (index + 1 >= path.elements.size()) {
        return false;
    }
    X509* const x509 = path.elements[index]->x509();
    return x509 != nullptr && path.elements[index + 1]->x509() != nullptr &&
           (X509_get_extension_flags(x509) & EXFLAG_PROXY) == 0;
}

}  // namespace

RevocationStatus CrlCheck::statusOf(const Path& path, std::size_t index) {
    CrlCandidates candidates;
    const Outcome outcome = lookUp(path, index, candidates);
    tellOf({path, index, outcome.status.state, source_, candidates, outcome.used, signers_.unauthorised(),
            outcome.covered, outcome.isDisputed, outcome.obstacle});
    return outcome.status;
}

CrlCheck::Outcome CrlCheck::lookUp(const Path& path, std::size_t index, CrlCandidates& candidates) {
    Outcome outcome;
    if (!canBeLookedUp(path, index)) {
        outcome.obstacle = "its issuer is not part of the chain";
        return outcome;
    }
    const CrlSubject subject(*path.elements[index]);
    const int refusedBefore = ledger_.checksRefused();
    if (subject.isReadable()) {
        outcome = search({path, index, subject}, candidates);
    } else {
        outcome.obstacle = "its CRL distribution points cannot be read";
    }
    cutShort_ |= ledger_.checksRefused() != refusedBefore || signers_.reachedLimit();
    if (outcome.status.state != RevocationState::kRevoked && (sources_.crlsIncomplete || cutShort_)) {
        outcome.status = {};  // a CRL that could not be read, or was skipped, may list it
        outcome.obstacle = cutShort_ ? "a limit of the search for signers of CRLs was reached"
                                     : "a store with CRLs cannot be read completely";
    }
    return outcome;
}

CrlCheck::Outcome CrlCheck::search(const Question& question, CrlCandidates& candidates) {
    const CrlSubject& subject = question.subject;
    const std::vector<std::string> addresses = subject.addresses();
    source_.addLocal(subject, candidates);
    for (const std::string& url : addresses) {
        source_.addCached(url, subject, candidates);
    }
    Outcome outcome = judge(question, candidates);
    std::size_t requests = 0;
    for (const std::string& url : addresses) {
        if (outcome.status.state != RevocationState::kUnknown) {
            break;
        }
        ++requests;
        if (source_.addFetched(url, subject, candidates)) {
            outcome = judge(question, candidates);
        }
    }
    if (outcome.status.state == RevocationState::kGood) {
        outcome = askForDeltas(question, candidates, kMaxCrlAddresses - requests, std::move(outcome));
    }
    if (outcome.status.state != RevocationState::kUnknown) {
        for (const CrlCandidate* const candidate : outcome.used) {
            if (!candidate->url.empty()) {
                source_.keep(*candidate);
            }
        }
    }
    return outcome;
}

// Changes since the complete CRL, where the certificate or the CRL says that there may be some. Without them
// the complete CRL counts, since it is current.
CrlCheck::Outcome CrlCheck::askForDeltas(const Question& question, CrlCandidates& candidates, std::size_t maxRequests,
                                         Outcome outcome) {
    if (outcome.withoutDelta.empty()) {
        return outcome;
    }
    std::vector<std::string> addresses = question.subject.deltaAddresses();
    for (const Crl* const complete : outcome.withoutDelta) {
        const std::vector<std::string> more = addressesIn(complete->freshest.get());
        addresses.insert(addresses.end(), more.begin(), more.end());
    }
    addresses.resize(std::min(addresses.size(), maxRequests));
    for (const std::string& url : addresses) {
        const std::size_t before = candidates.size();
        const bool isUsable = source_.addCached(url, question.subject, candidates) ||
                              source_.addFetched(url, question.subject, candidates);
        if (!isUsable && candidates.size() == before) {
            continue;
        }
        outcome = judge(question, candidates);
        if (outcome.withoutDelta.empty() || outcome.status.state != RevocationState::kGood) {
            break;
        }
    }
    return outcome;
}

CrlCheck::Outcome CrlCheck::judge(const Question& question, const CrlCandidates& candidates) {
    Outcome outcome;
    for (const CrlGroup& group : groupByScope(candidates)) {
        // A CRL that covers no further reasons matters only if it lists the certificate.
        const bool addsReasons = (reasonsOf(group) & ~outcome.covered) != 0;
        if (addsReasons || isListed(group.completes) || isListed(group.deltas)) {
            judgeGroup(question, group, outcome);
        }
        if (outcome.status.state == RevocationState::kRevoked) {
            return outcome;
        }
    }
    judgeLater(question, candidates, outcome);
    if (outcome.status.state == RevocationState::kUnknown && outcome.covered == kAllReasons && !outcome.isDisputed) {
        outcome.status.state = RevocationState::kGood;
    }
    return outcome;
}

// A revocation may become known only after the time of the check.
void CrlCheck::judgeLater(const Question& question, const CrlCandidates& candidates, Outcome& outcome) {
    for (const CrlCandidate& later : candidates) {
        if (!later.isLater || !isListedBy(later) || !signers_.signerOf(*later.crl, question.path, question.index)) {
            continue;
        }
        if (later.isUsable) {
            outcome.status = {RevocationState::kRevoked, static_cast<DWORD>(listing(later))};
            outcome.used.push_back(&later);
            return;
        }
        outcome.isDisputed = true;
    }
}

// Of the CRLs that one key signed, the newest counts; if none is the newest, one that lists the certificate. A CA that
// changed its key may issue a CRL with each key: then those that list the certificate count too.
void CrlCheck::judgeGroup(const Question& question, const CrlGroup& group, Outcome& outcome) {
    struct Newest {
        CertificateRef signer;
        const Crl* crl;
    };
    std::vector<Newest> judged;
    for (const CrlCandidate* const complete : group.completes) {
        if (!judged.empty() && listing(*complete) == kNotListed) {
            continue;
        }
        const auto isOutdatedBy = [&](const Newest& other) {
            return replaces(*other.crl, *complete->crl) && ledger_.verifies(*complete->crl, *other.signer);
        };
        if (std::any_of(judged.begin(), judged.end(), isOutdatedBy)) {
            continue;
        }
        CertificateRef signer = signers_.signerOf(*complete->crl, question.path, question.index);
        if (!signer) {
            continue;
        }
        judgeComplete(*complete, group, *signer, outcome);
        judged.push_back({std::move(signer), complete->crl.get()});
    }
}

// Delta CRLs that do not fit, and unusable CRLs, matter only when they list the certificate and the used CRLs do not
// replace them. An unusable complete CRL also matters when it is newer, since its content is unknown.
CrlCheck::Change CrlCheck::updateOf(const CrlCandidate& complete, const CrlGroup& group, const Certificate& signer) {
    Change change;
    const Crl* state = complete.crl.get();
    const auto lists = [&](const CrlCandidate& other) { return isListedBy(other) && !replaces(*state, *other.crl); };
    for (const CrlCandidate* const delta : group.deltas) {
        const bool isUpdate = change.update == nullptr && canUpdate(*delta->crl, *complete.crl);
        if ((isUpdate || lists(*delta)) && ledger_.verifies(*delta->crl, signer)) {
            change.update = isUpdate ? delta : change.update;
            change.isDisputed |= !isUpdate;
            state = isUpdate ? delta->crl.get() : state;
        }
    }
    for (const CrlCandidate* const other : group.unusable) {
        const bool isNewer = !other->crl->isDelta() && other->crl->thisUpdate > state->thisUpdate;
        change.isDisputed |= (other->reasons & complete.reasons) != 0 && (isNewer || lists(*other)) &&
                             ledger_.verifies(*other->crl, signer);
    }
    return change;
}

void CrlCheck::judgeComplete(const CrlCandidate& complete, const CrlGroup& group, const Certificate& signer,
                             Outcome& outcome) {
    int reason = listing(complete);
    if (reason == kReasonRemoveFromCrl) {
        return;  // allowed only in a delta CRL: this one contradicts itself
    }
    const auto [update, isDisputed] = updateOf(complete, group, signer);
    if (update != nullptr) {
        const int change = listing(*update);
        if (change == kReasonRemoveFromCrl) {
            reason = reason == kReasonCertificateHold ? kNotListed : reason;  // only a hold can be lifted
        } else if (change != kNotListed) {
            reason = change;
        }
        outcome.used.push_back(update);
    } else {
        outcome.withoutDelta.push_back(complete.crl.get());
    }
    outcome.used.push_back(&complete);
    outcome.covered |= complete.reasons;
    outcome.isDisputed |= isDisputed;
    if (reason != kNotListed) {
        outcome.status = {RevocationState::kRevoked, static_cast<DWORD>(reason)};
    }
}

}  // namespace tallow::platform
