// Parsed CRLs from distribution points, by address. A CRL of 100,000 entries takes milliseconds to read, to parse and
// to verify, and a server needs the same few for every verdict.
//
// Nothing here decides whether a CRL may be used. A caller uses a remembered one only in the place of the same bytes:
// of the entry in the cache, which it has looked at, or of a new download. A CRL is also verified for every
// verdict; it only knows the key that made its signature (known_signer.h).
#pragma once

#include <cstddef>
#include <string>

#include "platform/crypto/base/bounded_memory.h"
#include "platform/crypto/certificates/crl.h"
#include "platform/crypto/network/answer_stamp.h"

namespace tallow::platform {

struct RememberedCrl {
    CrlRef crl;         // null: none
    AnswerStamp stamp;  // of the entry in the cache with exactly these bytes; the default value: compare the bytes
};

// Safe for use from any thread.
class CrlMemory {
public:
    CrlMemory(std::size_t maxCount, std::size_t maxOctets) : memory_(maxCount, maxOctets) {}

    RememberedCrl recall(const std::string& url) { return memory_.recall(url); }
    // Replaces what is remembered for `url`. One that is too large, null, or has a defect is not remembered.
    void remember(const std::string& url, RememberedCrl crl);

private:
    BoundedMemory<RememberedCrl> memory_;
};

// That of the process: 256 CRLs in 64 MiB.
CrlMemory& crlMemory();

}  // namespace tallow::platform
