// Providers behind the handles of CryptAcquireContextA and CryptAcquireCertificatePrivateKey: random numbers, the list
// of algorithms, and, for the second, one private key.
#pragma once

#include <atomic>
#include <mutex>
#include <string>

#include "platform/crypto/certificate.h"

namespace tallow::platform {

class Provider {
public:
    // A provider without a key.
    explicit Provider(DWORD type) : type_(type) {}
    // A provider with the key in the file `keyFile` (PEM or DER, PKCS#8 or traditional), which belongs to
    // `certificate`.
    Provider(DWORD type, std::string keyFile, CertificateRef certificate);
    Provider(const Provider&) = delete;
    Provider& operator=(const Provider&) = delete;
    ~Provider();  // of the last reference: nobody else destroys one

    // The provider behind a handle, which is not 0.
    static Provider* of(HCRYPTPROV handle) noexcept;
    HCRYPTPROV handle() const noexcept;

    void addReference() noexcept { references_.fetch_add(1, std::memory_order_relaxed); }
    void dropReference() noexcept;

    DWORD type() const noexcept { return type_; }

    // The next line of the list of algorithms; false at its end.
    bool nextAlgorithm(bool first, PROV_ENUMALGS& entry);

    // The text that opens the key; null forgets it. A key that is open stays open.
    void setPin(const char* pin);
    // The private key, the provider's own, opened on the first call. 0, or the last error to set.
    DWORD privateKey(EVP_PKEY*& key);

private:
    DWORD openKey();

    std::atomic<unsigned int> references_{1};
    DWORD const type_;
    std::string const keyFile_;
    CertificateRef const certificate_;
    std::mutex mutex_;  // guards what follows
    size_t listPosition_ = 0;
    std::string pin_;
    KeyPtr key_;
};

}  // namespace tallow::platform
