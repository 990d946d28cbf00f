// Which of several CRLs count: in each scope the newest (RFC 5280, 5.2.4 and 6.3.3 step c).
#pragma once

#include <vector>

#include "platform/crypto/chains/crl_source.h"

namespace tallow::platform {

// By thisUpdate, then by number.
bool isNewer(const Crl& first, const Crl& second);

// Whether `newer`, a CRL of the same key, replaces `older`: by one of time and number, and the other does not object.
// Two whose time and number contradict each other do not replace one another.
bool replaces(const Crl& newer, const Crl& older);

// The CRLs of one issuer about the same set of certificates, newest first.
struct CrlGroup {
    std::vector<const CrlCandidate*> completes;
    std::vector<const CrlCandidate*> deltas;
    std::vector<const CrlCandidate*> unusable;  // of the same issuer, in any scope
};

// The groups with a usable complete CRL, that with the newest first. The candidates must outlive the result.
std::vector<CrlGroup> groupByScope(const CrlCandidates& candidates);

// Whether a delta CRL and a complete one of the same group together are a newer state. Not when one of them is not
// numbered, and not when the delta lists the changes since a complete CRL that is newer than the one at hand.
bool canUpdate(const Crl& delta, const Crl& complete);

}  // namespace tallow::platform
