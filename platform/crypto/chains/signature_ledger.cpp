#include "platform/crypto/chains/signature_ledger.h"

#include <openssl/rsa.h>

#include <memory>
#include <string>

#include "platform/crypto/base/limits.h"
#include "platform/crypto/keys/algorithms.h"

namespace tallow::platform {

namespace {

constexpr int kMinKeySecurityBits = 80;  // RSA of 1024 bits

struct PssFree {
    void operator()(RSA_PSS_PARAMS* parameters) const noexcept { RSA_PSS_PARAMS_free(parameters); }
};

std::string oidOf(const X509_ALGOR* algorithm) {
    const ASN1_OBJECT* oid = nullptr;
    X509_ALGOR_get0(&oid, nullptr, nullptr, algorithm);
    char text[80];
    const int size = OBJ_obj2txt(text, sizeof text, oid, 1);
    return size > 0 && size < static_cast<int>(sizeof text) ? std::string(text) : std::string();
}

bool isWeak(const Algorithm* algorithm) {
    return algorithm == nullptr || algorithm->strength == Strength::kBroken ||
           (algorithm->strength == Strength::kSha1 && !acceptsSha1());
}

// By the hash in the RSASSA-PSS parameters; SHA-1 when they name none.
bool isWeakPss(const ASN1_TYPE* parameters) {
    const std::unique_ptr<RSA_PSS_PARAMS, PssFree> pss(static_cast<RSA_PSS_PARAMS*>(
        parameters != nullptr ? ASN1_TYPE_unpack_sequence(ASN1_ITEM_rptr(RSA_PSS_PARAMS), parameters) : nullptr));
    if (!pss) {
        return true;
    }
    const std::string hash = pss->hashAlgorithm != nullptr ? oidOf(pss->hashAlgorithm) : "1.3.14.3.2.26";
    return isWeak(findAlgorithm(hash, CRYPT_HASH_ALG_OID_GROUP_ID));
}

}  // namespace

template <typename Check>
bool SignatureLedger::verifiesOnce(std::shared_ptr<const void> subject, KnownSigner& signer, const Certificate& issuer,
                                   int limit, Check check) {
    const ByteView key = issuer.body().publicKeyInfo();
    if (signer.is(key)) {
        return true;
    }
    Pair pair{std::move(subject), Bytes(key.begin(), key.end())};
    if (const auto entry = known_.find(pair); entry != known_.end()) {
        return entry->second;
    }
    if (checksMade_ >= limit) {
        ++checksRefused_;
        return false;
    }
    if (issuer.publicKey() == nullptr) {
        return false;
    }
    ++checksMade_;
    const bool verified = check(issuer.publicKey()) == 1;
    if (verified) {
        signer.note(key);
    }
    known_.emplace(std::move(pair), verified);
    return verified;
}

bool SignatureLedger::verifies(const Certificate& subject, const Certificate& issuer, int limit) {
    X509* const x509 = subject.x509();
    return x509 != nullptr &&
           verifiesOnce(subject.body().shared_from_this(), subject.body().knownSigner(), issuer, limit,
                        [&](EVP_PKEY* key) {
                            return hasSizeOfKey(subject.body().signature(), key) ? X509_verify(x509, key) : 0;
                        });
}

bool SignatureLedger::verifies(const Crl& crl, const Certificate& signer) {
    // OpenSSL does not tell a wrong signature from exhausted memory, and a CRL that is left out for the latter may be
    // the one that revokes: so a second look, which is a check as well.
    return verifiesOnce(crl.shared_from_this(), crl.knownSigner, signer, kMaxChecks, [&](EVP_PKEY* key) {
        if (verifySignature(crl.signedBytes(), key) == 0) {
            return 1;
        }
        if (checksMade_ >= kMaxChecks) {
            ++checksRefused_;
            return 0;
        }
        ++checksMade_;
        return verifySignature(crl.signedBytes(), key) == 0 ? 1 : 0;
    });
}

bool isWeakSignature(const X509_ALGOR* algorithm) {
    const Algorithm* const row = findAlgorithm(oidOf(algorithm), CRYPT_SIGN_ALG_OID_GROUP_ID);
    if (row != nullptr && row->kind == KeyKind::kRsaPss) {
        return isWeakPss(algorithm->parameter);
    }
    return isWeak(row);
}

bool isWeakKey(EVP_PKEY* key) {
    // Keys of an engine may report no strength, which is a negative number here.
    const int bits = EVP_PKEY_get_security_bits(key);
    return bits >= 0 && bits < kMinKeySecurityBits;
}

}  // namespace tallow::platform
