// The table of algorithms: hashes, public keys and signatures with their identifiers, numbers, names and
// implementations. Look-ups, the provider's list, hashing and signature checks all read it.
#pragma once

#include <openssl/evp.h>

#include <span>
#include <string_view>

#include "platform/crypto/crypto_service.h"

namespace tallow::platform {

enum class KeyKind { kNone, kRsa, kRsaPss, kEllipticCurve, kDsa, kEd25519, kEd448, kGost };
// kBroken is never accepted in a signature; kSha1 only where the setting allows it.
enum class Strength { kGood, kSha1, kBroken };

struct Algorithm {
    const char* oid;
    const wchar_t* name;
    DWORD group;       // CRYPT_..._ALG_OID_GROUP_ID
    ALG_ID number;     // of a signature: that of its hash
    ALG_ID publicKey;  // of a signature: the number of its key; else 0
    KeyKind kind;      // of a public key and a signature
    const char*
        digest;  // OpenSSL's name of the hash; null when OpenSSL offers none, or the signature chooses it itself
    Strength strength;
    bool engine;            // comes with the gost engine
    DWORD bits;             // of a hash: its size; of a public key: the usual size
    const char* shortName;  // for the provider's list; null: not listed
};

std::span<const Algorithm> algorithms() noexcept;

// The row of an identifier in a group, 0 for any (the first in the order hash, public key, signature). Null when
// unknown.
const Algorithm* findAlgorithm(std::string_view oid, DWORD group) noexcept;
const Algorithm* findHash(ALG_ID number) noexcept;
const Algorithm* findSignature(ALG_ID hash, ALG_ID publicKey) noexcept;

// Whether the algorithm can be used here: loads the gost engine if the row needs it.
bool ensureInstalled(const Algorithm& algorithm) noexcept;

// The digest of a row, kept for the process once fetched; null when it has none, it is not installed, or memory is
// exhausted: the next call tries again.
const EVP_MD* digestOf(const Algorithm& algorithm) noexcept;

}  // namespace tallow::platform
