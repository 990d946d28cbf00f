// Tells the listener of a check what CRLs say about a certificate, and in words why they leave its status unknown. It
// decides nothing, and costs nothing when there is no listener.
#pragma once

#include <set>

#include "platform/crypto/chains/crl_source.h"
#include "platform/crypto/chains/path_search.h"

namespace tallow::platform {

enum class RevocationState { kUnknown, kGood, kRevoked };

// What a search for CRLs about the element `index` of the path came to. All references are used during the call only.
struct CrlFindings {
    const Path& path;
    std::size_t index;
    RevocationState state;
    const CrlSource& source;
    const CrlCandidates& candidates;
    const std::vector<const CrlCandidate*>& used;
    const std::set<CrlRef>& unauthorised;  // signed by a certificate that may not sign them
    ReasonMask covered;
    bool isDisputed;
    const char* obstacle;  // what kept the search from an answer besides the CRLs; null: nothing
};

// Memory that is exhausted leaves the note out.
void tellOf(const CrlFindings& findings) noexcept;

}  // namespace tallow::platform
