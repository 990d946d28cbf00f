// Where the CRLs for one chain come from: the stores of the call, the cache, and the distribution points that the
// certificates and CRLs name.
#pragma once

#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "platform/crypto/base/current_check.h"
#include "platform/crypto/chains/crl_scope.h"
#include "platform/crypto/network/fetch.h"

namespace tallow::platform {

struct CrlRules {
    FILETIME when{};  // the time at which a CRL must be current
    // The check has a time of its own: a certificate is revoked when its entry is not dated after `when`, also by a CRL
    // issued after it; downloads are not cached, since an old CRL would replace the current one.
    bool byDate = false;
    bool useNetwork = false;
    const FILETIME* resync = nullptr;  // entries cached before this time are ignored; null: none
    DWORD maxAgeSeconds = 0;           // a CRL issued earlier is not current; 0: any age
    long cacheMaxAgeSeconds = 0;       // older downloads are ignored where the network may be used
};

// The rules from the settings, for a call with its own limit on the age of a CRL (0: none).
CrlRules crlRules(const EvaluationTime& time, bool useNetwork, const FILETIME* resync, DWORD maxAgeSeconds);

// A CRL that may cover the certificate.
struct CrlCandidate {
    CrlRef crl;
    std::string url;            // where this call downloaded it; empty for a local one
    ReasonMask reasons = 0;     // what it covers
    std::optional<int> reason;  // of its entry for the certificate; empty when it has none that counts
    bool isUsable = true;       // no defect, current, accepted algorithm; else it only outdates older CRLs
    bool isLater = false;       // issued after the time of the check: it need not be current, and only adds revocations
};
using CrlCandidates = std::deque<CrlCandidate>;  // growing does not move the elements

class CrlSource {
public:
    // All arguments must outlive the object.
    CrlSource(const std::vector<CrlRef>& local, const CrlRules& rules, FetchAllowance& allowance)
        : local_(local), rules_(rules), allowance_(allowance) {}

    // Each function adds the CRLs about `subject` that were issued by the time of the check, or later where entries
    // count by their date; true when a usable one was added. Their signatures are not verified here.
    void addLocal(const CrlSubject& subject, CrlCandidates& candidates) const;
    bool addCached(const std::string& url, const CrlSubject& subject, CrlCandidates& candidates) const;
    // Also false when the network may not be used.
    bool addFetched(const std::string& url, const CrlSubject& subject, CrlCandidates& candidates);
    // The last CRL that was left out because it was issued after the time of the call; null when there was none.
    const CrlRef& fromTheFuture() const noexcept { return fromTheFuture_; }
    const CrlRules& rules() const noexcept { return rules_; }

    // Caches a CRL that this call downloaded, unless the check has a time of its own.
    void keep(const CrlCandidate& candidate) const;

private:
    bool add(CrlRef crl, const std::string& url, const CrlSubject& subject, CrlCandidates& candidates) const;
    bool isCurrent(const Crl& crl) const;

    const std::vector<CrlRef>& local_;
    const CrlRules& rules_;
    FetchAllowance& allowance_;
    mutable CrlRef fromTheFuture_;
};

long long secondsSince1970(const FILETIME& time) noexcept;

}  // namespace tallow::platform
