// Selects CRLs: in each scope the newest one counts (RFC 5280, 5.2.4 and 6.3.3 step c).
#pragma once

#include <vector>

#include "platform/crypto/chains/crl_source.h"

namespace tallow::platform {

// By thisUpdate, then by number.
bool isNewer(const Crl& first, const Crl& second);

// Whether `newer`, a CRL of the same key, replaces `older`: its time or number is later and the other is not earlier.
// If time and number contradict each other, neither CRL replaces the other.
bool replaces(const Crl& newer, const Crl& older);

// The CRLs of one issuer about the same set of certificates, newest first.
struct CrlGroup {
    std::vector<const CrlCandidate*> completes;
    std::vector<const CrlCandidate*> deltas;
    std::vector<const CrlCandidate*> unusable;  // of the same issuer, in any scope
};

// The groups with a usable complete CRL, that with the newest first; later CRLs are in none. The candidates must
// outlive the result.
std::vector<CrlGroup> groupByScope(const CrlCandidates& candidates);

// Whether a delta CRL updates a complete one of the same group. Not when one of them has no number, and not when the
// base of the delta CRL is newer than the complete one.
bool canUpdate(const Crl& delta, const Crl& complete);

}  // namespace tallow::platform
