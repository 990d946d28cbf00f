// Providers behind the handles of CryptAcquireContextA and CryptAcquireCertificatePrivateKey: random numbers, the list
// of algorithms, and, for the second, one private key.
#pragma once

#include <atomic>
#include <mutex>
#include <string>

#include "platform/crypto/base/openssl_handles.h"
#include "platform/crypto/certificates/certificate.h"

namespace tallow::platform {

class Provider {
public:
    // A provider without a key.
    explicit Provider(DWORD type) : type_(type) {}
    // A provider for the private key of `certificate` at `keyUri` (see private_key.h), still to be opened.
    Provider(DWORD type, std::string keyUri, CertificateRef certificate);
    Provider(const Provider&) = delete;
    Provider& operator=(const Provider&) = delete;
    ~Provider() = default;  // only the last reference destroys it

    // The provider of a handle, which must not be 0.
    static Provider* of(HCRYPTPROV handle) noexcept;
    HCRYPTPROV handle() const noexcept;

    void addReference() noexcept { references_.fetch_add(1, std::memory_order_relaxed); }
    void dropReference() noexcept;

    DWORD type() const noexcept { return type_; }

    // The next line of the list of algorithms; false at its end.
    bool nextAlgorithm(bool first, PROV_ENUMALGS& entry);

    // Opens the key, with the PIN if it is not null, unless it is open. Returns 0, or the last error to set:
    // NTE_SILENT_CONTEXT for a key that waits for its PIN. Each call reads the file again, so a wrong PIN has no
    // lasting effect.
    DWORD openKey(const char* pin);
    // The private key, the provider's own. 0, or the last error to set.
    DWORD privateKey(EVP_PKEY*& key);

private:
    std::atomic<unsigned int> references_{1};
    const DWORD type_;
    const std::string keyUri_;
    const CertificateRef certificate_;
    std::mutex mutex_;  // guards what follows
    size_t listPosition_ = 0;
    KeyPtr key_;
};

}  // namespace tallow::platform
