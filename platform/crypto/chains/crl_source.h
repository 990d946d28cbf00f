// Where the CRLs for one chain come from: the stores of the call, the cache, and the distribution points that the
// certificates and CRLs name.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "platform/crypto/chains/crl_scope.h"
#include "platform/crypto/network/fetch.h"

namespace tallow::platform {

struct CrlRules {
    FILETIME when{};  // the time at which a CRL must be current
    bool useNetwork = false;
    const FILETIME* resync = nullptr;  // what was cached before this time does not count; null for none
    DWORD maxAgeSeconds = 0;           // a CRL issued earlier is not current; 0: any age
    long cacheMaxAgeSeconds = 0;       // what was downloaded earlier does not count where the network may be used
};

// The rules from the settings, for a call with its own limit on the age of a CRL (0: none).
CrlRules crlRules(const FILETIME& when, bool useNetwork, const FILETIME* resync, DWORD maxAgeSeconds);

// A CRL that may say something about the certificate in question.
struct CrlCandidate {
    CrlRef crl;
    std::string url;         // where it was downloaded from just now; empty for one at hand
    ReasonMask reasons = 0;  // what it covers
    bool isUsable = true;    // sound, current and signed with an accepted algorithm; else only a sign of a newer state
};
using CrlCandidates = std::deque<CrlCandidate>;  // one that grows leaves those in it where they are

class CrlSource {
public:
    // All that is given must outlive the object.
    CrlSource(const std::vector<CrlRef>& local, const CrlRules& rules, FetchAllowance& allowance)
        : local_(local), rules_(rules), allowance_(allowance) {}

    // Each function adds the CRLs about `subject` that were issued by the time of the check; true when a usable one was
    // added. Their signatures are not verified here.
    void addLocal(const CrlSubject& subject, CrlCandidates& candidates) const;
    bool addCached(const std::string& url, const CrlSubject& subject, CrlCandidates& candidates) const;
    // Also false when the network may not be used.
    bool addFetched(const std::string& url, const CrlSubject& subject, CrlCandidates& candidates);

    // Keeps a CRL that was downloaded just now for later checks.
    static void keep(const CrlCandidate& candidate);

private:
    bool add(CrlRef crl, const std::string& url, const CrlSubject& subject, CrlCandidates& candidates) const;
    bool isCurrent(const Crl& crl) const;

    const std::vector<CrlRef>& local_;
    const CrlRules& rules_;
    FetchAllowance& allowance_;
};

long long secondsSince1970(const FILETIME& time) noexcept;

}  // namespace tallow::platform
