// Certificates of issuers from the addresses that a certificate names for them.
#pragma once

#include <string>
#include <vector>

#include "platform/crypto/network/fetch.h"

namespace tallow::platform {

class IssuerDownload {
public:
    // `allowance` must outlive the object.
    IssuerDownload(bool useNetwork, FetchAllowance& allowance) : useNetwork_(useNetwork), allowance_(allowance) {}

    // The certificates at address `index`; unverified, empty when there are none: candidates for the issuer of
    // `certificate`. A DER certificate, or of a certificates-only CMS message the first 16 with the issuer's name
    // and the first 16 of the others. False when the certificate names no such address; those with credentials do not
    // count.
    //
    // Reads the cache; where the network may be used, only entries of the last day.
    bool cached(const Certificate& certificate, std::size_t index, std::vector<CertificateRef>& found) const;
    // Downloads, unless the network may not be used; in a check each address only once.
    bool fetched(const Certificate& certificate, std::size_t index, std::vector<CertificateRef>& found);

    // Caches the downloads with a certificate among `used`, the elements of a valid path.
    void keep(const std::vector<CertificateRef>& used) const;

private:
    struct Download {
        std::string url;
        Bytes body;
        std::vector<CertificateRef> certificates;
    };

    bool useNetwork_;
    FetchAllowance& allowance_;
    std::vector<Download> downloads_;
};

}  // namespace tallow::platform
