#include "platform/crypto/signing/provider.h"

#include <cstdint>
#include <cstring>

#include "platform/crypto/base/service_call.h"
#include "platform/crypto/keys/algorithms.h"
#include "platform/crypto/keys/private_key.h"

namespace tallow::platform {

namespace {

// False for a GOST key without the engine.
bool isInstalled(const Certificate& certificate) {
    const Algorithm* const algorithm = findAlgorithm(
        certificate.context()->pCertInfo->SubjectPublicKeyInfo.Algorithm.pszObjId, CRYPT_PUBKEY_ALG_OID_GROUP_ID);
    return algorithm == nullptr || ensureInstalled(*algorithm);
}

}  // namespace

Provider::Provider(DWORD type, std::string keyUri, CertificateRef certificate)
    : type_(type), keyUri_(std::move(keyUri)), certificate_(std::move(certificate)) {}

Provider* Provider::of(HCRYPTPROV handle) noexcept {
    return reinterpret_cast<Provider*>(static_cast<uintptr_t>(handle));  // NOLINT(performance-no-int-to-ptr)
}

HCRYPTPROV Provider::handle() const noexcept {
    return reinterpret_cast<uintptr_t>(this);
}

void Provider::dropReference() noexcept {
    if (references_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        const std::unique_ptr<Provider> last(this);
    }
}

bool Provider::nextAlgorithm(bool first, PROV_ENUMALGS& entry) {
    const std::scoped_lock lock(mutex_);
    const std::span<const Algorithm> all = algorithms();
    listPosition_ = first ? 0 : listPosition_;
    while (listPosition_ < all.size()) {
        const Algorithm& row = all[listPosition_++];
        if (row.shortName == nullptr || !ensureInstalled(row)) {
            continue;
        }
        entry = {};
        entry.aiAlgid = row.number;
        entry.dwBitLen = row.bits;
        entry.dwNameLen = static_cast<DWORD>(std::strlen(row.shortName) + 1);
        std::memcpy(entry.szName, row.shortName, entry.dwNameLen);
        return true;
    }
    return false;
}

DWORD Provider::openKey(const char* pin) {
    const std::scoped_lock lock(mutex_);
    if (key_ != nullptr) {
        return 0;
    }
    if (!certificate_) {
        return NTE_NO_KEY;
    }
    // The public key first: for a GOST key it loads the engine, without which the private one cannot be read.
    EVP_PKEY* const publicKey = certificate_->publicKey();
    if (publicKey == nullptr && !isInstalled(*certificate_)) {
        return NTE_BAD_ALGID;
    }
    return openPrivateKey(keyUri_, pin, publicKey, key_);
}

DWORD Provider::privateKey(EVP_PKEY*& key) {
    const std::scoped_lock lock(mutex_);
    if (key_ == nullptr) {
        return certificate_ ? NTE_SILENT_CONTEXT : NTE_NO_KEY;
    }
    key = key_.get();
    return 0;
}

}  // namespace tallow::platform
