// Providers for tests, used as a signer does.
#pragma once

#include <iterator>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/platform/certificate_fixture.h"

namespace testkit {

/// The words of a command line.
inline std::vector<std::string> words(const std::string& line) {
    std::istringstream text(line);
    return {std::istream_iterator<std::string>(text), {}};
}

// Handles of providers are numbers, so no smart pointer fits.
class ProviderPtr {
public:
    explicit ProviderPtr(HCRYPTPROV provider = 0) : provider_(provider) {}
    ProviderPtr(ProviderPtr&& other) noexcept : provider_(std::exchange(other.provider_, 0)) {}
    ~ProviderPtr() { reset(); }
    HCRYPTPROV get() const { return provider_; }
    void reset(HCRYPTPROV provider = 0) {
        if (provider_ != 0) {
            CryptReleaseContext(provider_, 0);
        }
        provider_ = provider;
    }

private:
    HCRYPTPROV provider_;
};

/// Acquires the private key of a certificate: 0 with the provider, or the last error.
inline DWORD acquireKey(PCCERT_CONTEXT certificate, ProviderPtr& provider) {
    HCRYPTPROV handle = 0;
    DWORD keySpec = 0;
    BOOL callerFrees = FALSE;
    if (CryptAcquireCertificatePrivateKey(certificate, CRYPT_ACQUIRE_USE_PROV_INFO_FLAG, nullptr, &handle, &keySpec,
                                          &callerFrees) == FALSE) {
        return GetLastError();
    }
    provider.reset(handle);
    return keySpec == AT_SIGNATURE && callerFrees != FALSE ? 0 : E_INVALIDARG;
}

/// The signature algorithm that a signer chooses: that of the first listed hash that fits the key.
inline std::string chosenAlgorithm(const ProviderPtr& provider, PCCERT_CONTEXT certificate) {
    const DWORD listed = CertOIDToAlgId(certificate->pCertInfo->SubjectPublicKeyInfo.Algorithm.pszObjId);
    const DWORD key = listed == CALG_RSA_KEYX ? CALG_RSA_SIGN : listed;
    BYTE entry[32];
    DWORD size = sizeof entry;
    DWORD flag = CRYPT_FIRST;
    while (CryptGetProvParam(provider.get(), PP_ENUMALGS, entry, &size, flag) != FALSE) {
        flag = 0;
        const PCCRYPT_OID_INFO hash = CryptFindOIDInfo(CRYPT_OID_INFO_ALGID_KEY, entry, CRYPT_HASH_ALG_OID_GROUP_ID);
        ALG_ID pair[2] = {hash == nullptr ? 0 : hash->Algid, key};
        const PCCRYPT_OID_INFO found =
            hash == nullptr ? nullptr : CryptFindOIDInfo(CRYPT_OID_INFO_SIGN_KEY, pair, CRYPT_SIGN_ALG_OID_GROUP_ID);
        if (found != nullptr) {
            return found->pszOID;
        }
    }
    return {};
}

}  // namespace testkit
