// Which of several CRLs count: in each scope the newest (RFC 5280, 5.2.4 and 6.3.3 step c).
#pragma once

#include <vector>

#include "platform/crypto/crl_source.h"

namespace tallow::platform {

// By thisUpdate, then by number.
bool isNewer(const Crl& first, const Crl& second);

// The CRLs of one issuer about the same set of certificates, newest first.
struct CrlGroup {
    std::vector<const CrlCandidate*> completes;
    std::vector<const CrlCandidate*> deltas;
};

// The groups with a complete CRL, that with the newest first. The candidates must outlive the result.
std::vector<CrlGroup> groupByScope(const CrlCandidates& candidates);

// How a delta CRL relates to a complete one of the same group.
enum class DeltaFit {
    kNone,     // it brings nothing new, or one of the two is not numbered
    kUpdates,  // both together are the newest state
    kBeyond    // it lists the changes since a complete CRL that is newer than the one at hand
};
DeltaFit fitOf(const Crl& delta, const Crl& complete);

}  // namespace tallow::platform
