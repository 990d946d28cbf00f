// Runs OpenSSL's verifier over a whole path: every fault is recorded at its element, and none stops the run.
#pragma once

#include <vector>

#include "platform/crypto/chains/crl_status.h"
#include "platform/crypto/chains/path_search.h"

namespace tallow::platform {

enum class RevocationScope { kNone, kEndCertificate, kChain };

struct ElementVerdict {
    DWORD error = 0;  // CERT_TRUST_... error bits
    DWORD info = 0;   // CERT_TRUST_... info bits
    bool revocationChecked = false;
    DWORD revocationReason = 0;  // CRLReason, when revoked
};

struct ChainVerdict {
    std::vector<ElementVerdict> elements;  // one for each of the path
    DWORD error = 0;                       // of the chain as a whole, those of the elements included
};

// `crls` is used unless the scope is kNone; without it every status is unknown. A self-signed last element is never
// checked for revocation.
ChainVerdict verifyPath(const Path& path, const FILETIME& when, RevocationScope scope, CrlCheck* crls,
                        SignatureLedger& ledger);

}  // namespace tallow::platform
