// The exported functions on providers and private keys.
#include <openssl/rand.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <filesystem>

#include "platform/crypto/base/service_call.h"
#include "platform/crypto/base/wide_text.h"
#include "platform/crypto/certificates/certificate_properties.h"
#include "platform/crypto/keys/private_key.h"
#include "platform/crypto/signing/provider.h"

using namespace tallow::platform;

namespace {

constexpr std::array<DWORD, 5> kProviderTypes{PROV_RSA_FULL, PROV_RSA_AES, PROV_GOST_2001, PROV_GOST_2012_256,
                                              PROV_GOST_2012_512};
constexpr DWORD kDefaultType = PROV_RSA_AES;
// High enough that callers keep the last error that the service sets after an exchange, which is more precise.
constexpr DWORD kVersion = 0x600;
constexpr char kProviderName[] = "tallow";

template <typename Record>
ByteView octetsOf(const Record& record) {
    return {reinterpret_cast<const BYTE*>(&record), sizeof record};
}

DWORD listAlgorithm(Provider& provider, DWORD flags, BYTE* data, DWORD* size) {
    PROV_ENUMALGS entry{};
    if (data == nullptr || *size < sizeof entry) {
        return giveBytes(octetsOf(entry), data, size);  // the place in the list is kept
    }
    const bool first = (flags & CRYPT_FIRST) != 0;
    return provider.nextAlgorithm(first, entry) ? giveBytes(octetsOf(entry), data, size) : ERROR_NO_MORE_ITEMS;
}

DWORD readParameter(Provider& provider, DWORD parameter, DWORD flags, BYTE* data, DWORD* size) {
    const DWORD type = provider.type();
    const PROV_VERSION_EX version{};
    switch (parameter) {
        case PP_ENUMALGS:
            return listAlgorithm(provider, flags, data, size);
        case PP_NAME:
            return giveBytes(octetsOf(kProviderName), data, size);
        case PP_VERSION:
            return giveBytes(octetsOf(kVersion), data, size);
        case PP_PROVTYPE:
            return giveBytes(octetsOf(type), data, size);
        case PP_VERSION_EX:
            return giveBytes(octetsOf(version), data, size);
        default:
            return NTE_BAD_TYPE;
    }
}

// The private key property of a certificate: the URI and the type of provider. False when it is absent.
bool readKeyProperty(const Certificate& certificate, std::string& uri, CRYPT_KEY_PROV_INFO& info) {
    Bytes packed;
    if (!certificate.property(CERT_KEY_PROV_INFO_PROP_ID, packed)) {
        return false;
    }
    Bytes block(packed.size());
    unpackKeyProvInfo(packed, block.data());
    std::memcpy(&info, block.data(), sizeof info);
    uri = narrow(info.pwszContainerName);
    info.pwszContainerName = nullptr;  // the block is freed
    info.pwszProvName = nullptr;
    info.rgProvParam = nullptr;
    return true;
}

DWORD acquirePrivateKey(const Certificate& certificate, HCRYPTPROV* handle, DWORD* keySpec) {
    std::string uri;
    CRYPT_KEY_PROV_INFO info{};
    if (!readKeyProperty(certificate, uri, info)) {
        return CRYPT_E_NO_KEY_PROPERTY;
    }
    auto provider = std::make_unique<Provider>(info.dwProvType == 0 ? kDefaultType : info.dwProvType, uri,
                                               CertificateRef::share(certificate.context()));
    // A key that waits for its PIN is not a failure: the PIN may come later.
    if (const DWORD code = provider->openKey(nullptr); code != 0 && code != NTE_SILENT_CONTEXT) {
        return code;
    }
    *keySpec = info.dwKeySpec == 0 ? AT_SIGNATURE : info.dwKeySpec;
    *handle = provider.release()->handle();
    return 0;
}

}  // namespace

BOOL CryptAcquireContextA(HCRYPTPROV* phProv, LPCSTR /*szContainer*/, LPCSTR /*szProvider*/, DWORD dwProvType,
                          DWORD dwFlags) {
    return serviceCall<BOOL>(FALSE, [&] {
        if (phProv == nullptr) {
            return fail(ERROR_INVALID_PARAMETER);
        }
        if ((dwFlags & ~CRYPT_SILENT) != CRYPT_VERIFYCONTEXT) {
            return fail(NTE_BAD_FLAGS);
        }
        if (std::find(kProviderTypes.begin(), kProviderTypes.end(), dwProvType) == kProviderTypes.end()) {
            return fail(NTE_BAD_PROV_TYPE);
        }
        *phProv = std::make_unique<Provider>(dwProvType).release()->handle();
        return TRUE;
    });
}

BOOL CryptContextAddRef(HCRYPTPROV hProv, DWORD* /*pdwReserved*/, DWORD /*dwFlags*/) {
    if (hProv == 0) {
        return fail(NTE_BAD_UID);
    }
    Provider::of(hProv)->addReference();
    return TRUE;
}

BOOL CryptReleaseContext(HCRYPTPROV hProv, DWORD /*dwFlags*/) {
    if (hProv == 0) {
        return fail(NTE_BAD_UID);
    }
    Provider::of(hProv)->dropReference();
    return TRUE;
}

BOOL CryptGenRandom(HCRYPTPROV hProv, DWORD dwLen, BYTE* pbBuffer) {
    return serviceCall<BOOL>(FALSE, [&] {
        if (hProv == 0) {
            return fail(NTE_BAD_UID);
        }
        if ((pbBuffer == nullptr && dwLen != 0) || dwLen > INT_MAX) {
            return fail(ERROR_INVALID_PARAMETER);
        }
        return dwLen == 0 || RAND_bytes(pbBuffer, static_cast<int>(dwLen)) == 1 ? TRUE : fail(NTE_FAIL);
    });
}

BOOL CryptGetProvParam(HCRYPTPROV hProv, DWORD dwParam, BYTE* pbData, DWORD* pdwDataLen, DWORD dwFlags) {
    return serviceCall<BOOL>(FALSE, [&] {
        if (hProv == 0) {
            return fail(NTE_BAD_UID);
        }
        if (pdwDataLen == nullptr) {
            return fail(ERROR_INVALID_PARAMETER);
        }
        return done(readParameter(*Provider::of(hProv), dwParam, dwFlags, pbData, pdwDataLen));
    });
}

BOOL CryptSetProvParam(HCRYPTPROV hProv, DWORD dwParam, const BYTE* pbData, DWORD /*dwFlags*/) {
    return serviceCall<BOOL>(FALSE, [&] {
        if (hProv == 0) {
            return fail(NTE_BAD_UID);
        }
        if (dwParam != PP_SIGNATURE_PIN) {
            return fail(NTE_BAD_TYPE);
        }
        if (pbData == nullptr) {
            return fail(ERROR_INVALID_PARAMETER);
        }
        return done(Provider::of(hProv)->openKey(reinterpret_cast<const char*>(pbData)));
    });
}

BOOL CryptDestroyKey(HCRYPTKEY hKey) {
    return hKey == 0 ? TRUE : fail(ERROR_INVALID_HANDLE);
}

BOOL CryptDestroyHash(HCRYPTHASH hHash) {
    return hHash == 0 ? TRUE : fail(ERROR_INVALID_HANDLE);
}

BOOL CryptAcquireCertificatePrivateKey(PCCERT_CONTEXT pCert, DWORD /*dwFlags*/, void* /*pvParameters*/,
                                       HCRYPTPROV* phCryptProv, DWORD* pdwKeySpec, BOOL* pfCallerFreeProv) {
    return serviceCall<BOOL>(FALSE, [&] {
        if (pCert == nullptr || phCryptProv == nullptr) {
            return fail(E_INVALIDARG);
        }
        DWORD keySpec = 0;
        const DWORD code = acquirePrivateKey(*Certificate::of(pCert), phCryptProv, &keySpec);
        if (code == 0 && pdwKeySpec != nullptr) {
            *pdwKeySpec = keySpec;
        }
        if (code == 0 && pfCallerFreeProv != nullptr) {
            *pfCallerFreeProv = TRUE;
        }
        return done(code);
    });
}

BOOL crypto_set_key_uri(PCCERT_CONTEXT pCertContext, LPCSTR szKeyUri) {
    return serviceCall<BOOL>(FALSE, [&] {
        if (pCertContext == nullptr || szKeyUri == nullptr || *szKeyUri == '\0') {
            return fail(E_INVALIDARG);
        }
        const std::string uri = keyUri(szKeyUri, std::filesystem::current_path());
        return nameKey(*Certificate::of(pCertContext), uri) ? TRUE : fail(E_INVALIDARG);
    });
}
