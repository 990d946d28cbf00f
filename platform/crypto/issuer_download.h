// Certificates of issuers from the addresses that a certificate names for them.
#pragma once

#include <vector>

#include "platform/crypto/fetch.h"

namespace tallow::platform {

class IssuerDownload {
public:
    // `allowance` must outlive the object.
    IssuerDownload(bool useNetwork, FetchAllowance& allowance) : useNetwork_(useNetwork), allowance_(allowance) {}

    // What lies at the addresses, a DER certificate or a certificates-only CMS message each: candidates, unverified.
    // From the cache; where the network may be used, only entries of the last day.
    std::vector<CertificateRef> cachedIssuersOf(const Certificate& certificate) const;
    // From the first address that has any.
    std::vector<CertificateRef> fetchedIssuersOf(const Certificate& certificate);

private:
    bool useNetwork_;
    FetchAllowance& allowance_;
};

}  // namespace tallow::platform
