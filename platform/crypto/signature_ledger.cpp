#include "platform/crypto/signature_ledger.h"

#include <openssl/rsa.h>

#include <memory>
#include <string>

#include "platform/crypto/algorithms.h"
#include "platform/crypto/limits.h"

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

// By the hash that RSASSA-PSS parameters name; it is SHA-1 when they name none.
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
                                   Check check) {
    if (signer.is(issuer.body().publicKeyInfo())) {
        return true;
    }
    const auto [entry, isNew] = known_.try_emplace({std::move(subject), issuer.body().shared_from_this()}, false);
    if (isNew && issuer.publicKey() != nullptr && take() && check(issuer.publicKey()) == 1) {
        entry->second = true;
        signer.note(issuer.body().publicKeyInfo());
    }
    return entry->second;
}

bool SignatureLedger::verifies(const Certificate& subject, const Certificate& issuer) {
    X509* const x509 = subject.x509();
    return x509 != nullptr && verifiesOnce(subject.body().shared_from_this(), subject.body().knownSigner(), issuer,
                                           [&](EVP_PKEY* key) { return X509_verify(x509, key); });
}

bool SignatureLedger::verifies(const Crl& crl, const Certificate& issuer) {
    // OpenSSL does not tell a wrong signature from want of memory, and a CRL that is left out for the latter may be the
    // one that revokes: so a second look.
    return verifiesOnce(crl.shared_from_this(), crl.knownSigner, issuer, [&](EVP_PKEY* key) {
        return X509_CRL_verify(crl.crl.get(), key) == 1 ? 1 : X509_CRL_verify(crl.crl.get(), key);
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
    // Keys of an engine may have no strength to tell, which is a negative number here.
    const int bits = EVP_PKEY_get_security_bits(key);
    return bits >= 0 && bits < kMinKeySecurityBits;
}

}  // namespace tallow::platform
