// The signature checks of one call, which limits what a hostile response can make us compute. A pair that was checked
// in this call, or successfully in an earlier one, is not checked again. When the limit is reached every further check
// fails. A call makes at most 100 checks, of which the search for a path leaves 30 for CRLs. Skipped checks are
// counted: while a CRL is unchecked, an older one must not decide instead.
#pragma once

#include <map>
#include <memory>
#include <utility>

#include "platform/crypto/certificates/store.h"

namespace tallow::platform {

class SignatureLedger {
public:
    static constexpr int kMaxChecks = 100;

    // Whether the signature of `subject` verifies with the key of `issuer`. Names and usages are not compared. Makes no
    // further check once `limit` were made.
    bool verifies(const Certificate& subject, const Certificate& issuer, int limit = kMaxChecks);
    bool verifies(const Crl& crl, const Certificate& signer);

    int checksMade() const noexcept { return checksMade_; }
    int checksRefused() const noexcept { return checksRefused_; }

private:
    // Owns the objects it remembers, so that no other object can get the address of one and inherit its verdict.
    // Issuers are compared by key: any number of certificates with the same key cost one check.
    using Pair = std::pair<std::shared_ptr<const void>, Bytes>;

    template <typename Check>
    bool verifiesOnce(std::shared_ptr<const void> subject, KnownSigner& signer, const Certificate& issuer, int limit,
                      Check check);

    std::map<Pair, bool> known_;
    int checksMade_ = 0;
    int checksRefused_ = 0;
};

// Whether the hash of a signature algorithm is too weak: MD5 and older always, SHA-1 unless the setting
// accept_sha1 is on; an algorithm that is not in the table counts as weak.
bool isWeakSignature(const X509_ALGOR* algorithm);

// Whether the public key is shorter than 1024 bits of RSA or what compares to it.
bool isWeakKey(EVP_PKEY* key);

}  // namespace tallow::platform
