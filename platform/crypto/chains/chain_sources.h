// The sources of certificates and CRLs for a chain: the engine, the roots added for this run and those of the check,
// and the collection of everything that one call may use.
#pragma once

#include <memory>
#include <vector>

#include "platform/crypto/certificates/system_store.h"

namespace tallow::platform {

struct ChainEngine {
    StoreRef exclusiveRoots;  // empty: the ROOT store, the roots of this run and those of the check
    std::vector<StoreRef> additional;
    long fetchTimeoutMs = 0;  // 0: the setting
};

// The engine behind a handle. The handles 0 (current user) and 1 (local machine) have no record: null.
const ChainEngine* engineOf(HCERTCHAINENGINE handle) noexcept;

struct ChainSources {
    std::vector<CertificateRef> roots;             // passed by the caller, of the engine, the check and this run
    std::shared_ptr<const SystemStore> rootStore;  // more roots, after those; null when it does not count
    std::vector<CertificateRef> others;  // certificates passed by the caller come first, then the stores' (engine, CA)
    std::size_t numLocal = 0;            // how many of `others`, at the end, come from stores and not from the caller
    std::vector<CrlRef> crls;
    bool crlsIncomplete = false;  // a file that may be a CRL could not be read, so nothing counts as "not revoked"

    std::vector<CertificateRef> allRoots() const;
    // Those with this DER as their subject, in the order of allRoots(). Cheap also with many roots.
    std::vector<CertificateRef> rootsNamed(ByteView subject) const;
};

// `additional` may be null.
ChainSources chainSources(HCERTCHAINENGINE engine, HCERTSTORE additional);

}  // namespace tallow::platform
