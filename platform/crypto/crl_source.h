// CRLs for the certificates of one chain: from the stores of the call, from the cache, and from the distribution points
// that the certificates name.
#pragma once

#include <string>
#include <vector>

#include "platform/crypto/fetch.h"
#include "platform/crypto/signature_ledger.h"

namespace tallow::platform {

struct CrlRules {
    FILETIME when{};  // the time at which a CRL has to be current
    bool useNetwork = false;
    const FILETIME* resync = nullptr;  // cached before this time counts as not cached; null for none
    DWORD maxAgeSeconds = 0;           // a CRL issued earlier is not current; 0: any age
};

class CrlSource {
public:
    // All that is given must outlive the object.
    CrlSource(const std::vector<CrlRef>& local, const CrlRules& rules, FetchAllowance& allowance,
              SignatureLedger& ledger)
        : local_(local), rules_(rules), allowance_(allowance), ledger_(ledger) {}

    // CRLs of `issuer`, signed by its key with a hash that is accepted, that may speak about `certificate`. When none
    // of them is current, outdated ones are given too, so that the verifier can say what is wrong.
    std::vector<CrlRef> crlsFor(const Certificate& certificate, const Certificate& issuer);

private:
    bool isAcceptable(const Crl& crl, const Certificate& issuer);
    bool isCurrent(const Crl& crl) const;
    // Adds the CRL if it is acceptable; true when it is current too.
    bool offer(const CrlRef& crl, const Certificate& issuer, std::vector<CrlRef>& found);
    bool offerCached(const std::string& url, const Certificate& issuer, std::vector<CrlRef>& found);
    bool offerFetched(const std::string& url, const Certificate& issuer, std::vector<CrlRef>& found);

    const std::vector<CrlRef>& local_;
    const CrlRules& rules_;
    FetchAllowance& allowance_;
    SignatureLedger& ledger_;
};

// The addresses under which a certificate says that its CRL lies: http and https, at most four.
std::vector<std::string> distributionPoints(const Certificate& certificate);
// The addresses of its issuer's certificate, likewise.
std::vector<std::string> issuerAddresses(const Certificate& certificate);

long long secondsSince1970(const FILETIME& time) noexcept;

}  // namespace tallow::platform
