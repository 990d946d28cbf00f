// Finds who signed a CRL, and whether the CRL may be used (RFC 5280, 6.3.3 steps f to h). The signer is usually the CA
// on the path. Any other signer needs a path to the same trust anchor, which is checked like any path, including
// revocation.
#pragma once

#include <map>
#include <set>
#include <vector>

#include "platform/crypto/certificates/crl.h"
#include "platform/crypto/chains/path_search.h"

namespace tallow::platform {

class CrlCheck;

class CrlSigners {
public:
    // All arguments must outlive the object. `check` determines the revocation status of signers.
    CrlSigners(const ChainSources& sources, const FILETIME& when, SignatureLedger& ledger, CrlCheck& check)
        : sources_(sources), when_(when), ledger_(ledger), check_(check) {}

    // The certificate that signed a CRL about the element `index` of the path; empty when there is no authorised one.
    // Only the key matters, not which of the CA's certificates is on the path, nor the CRL's authorityKeyIdentifier.
    CertificateRef signerOf(const Crl& crl, const Path& path, std::size_t index);

    // Whether a possible signer was not tried because of a limit, so that a CRL may have been left out.
    bool reachedLimit() const noexcept { return reachedLimit_; }

    // CRLs whose signature verified, with certificates that may not sign them.
    const std::set<CrlRef>& unauthorised() const noexcept { return unauthorised_; }

private:
    // A signer whose path is being checked. Its own status may depend on a CRL that it signed itself.
    struct Frame {
        const CertificateBody* signer;
        bool mayVouchForItself;
        bool vouched;  // its own CRL was needed
    };

    struct Candidates {
        std::vector<CertificateRef> certificates;
        bool complete = true;  // all were found
    };
    Candidates candidatesFor(const Crl& crl, const Path& path, std::size_t index) const;
    // Whether the signer's CRLs may count for the element; a direct one names the element's issuer as its own.
    bool isTrusted(const CertificateRef& signer, const Path& path, std::size_t index, bool isDirect);
    // Its path to the trust anchor of `path`; without elements when every path has a fault.
    Path validPathOf(const CertificateRef& signer, const Path& path);
    Path findValidPath(const CertificateRef& signer, const Path& path);
    DWORD errorOf(const Path& path, const CertificateRef& signer, bool mayVouchForItself, bool& vouched);

    const ChainSources& sources_;
    const FILETIME& when_;
    SignatureLedger& ledger_;
    CrlCheck& check_;
    std::map<const CertificateBody*, Path> known_;
    std::vector<Frame> frames_;
    int pathsChecked_ = 0;
    bool reachedLimit_ = false;
    std::set<CrlRef> unauthorised_;
};

// Whether a chain of verified signatures leads to a trusted root. Until it does, the certificates may be anyone's, and
// the addresses in them are not asked.
bool isProven(const Path& path, SignatureLedger& ledger);

}  // namespace tallow::platform
