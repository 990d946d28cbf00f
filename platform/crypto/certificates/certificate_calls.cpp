// The exported functions on certificate contexts.
#include <cstring>

#include "platform/crypto/base/service_call.h"
#include "platform/crypto/certificates/certificate_properties.h"

using namespace tallow::platform;

PCCERT_CONTEXT CertCreateCertificateContext(DWORD dwCertEncodingType, const BYTE* pbCertEncoded, DWORD cbCertEncoded) {
    return serviceCall<PCCERT_CONTEXT>(nullptr, [&]() -> PCCERT_CONTEXT {
        if ((dwCertEncodingType & X509_ASN_ENCODING) == 0 || pbCertEncoded == nullptr) {
            SetLastError(E_INVALIDARG);
            return nullptr;
        }
        CertificateRef made = Certificate::create({pbCertEncoded, cbCertEncoded});
        if (!made) {
            SetLastError(CRYPT_E_ASN1_ERROR);
        }
        return made.releaseContext();
    });
}

PCCERT_CONTEXT CertDuplicateCertificateContext(PCCERT_CONTEXT pCertContext) {
    return CertificateRef::share(pCertContext).releaseContext();
}

BOOL CertFreeCertificateContext(PCCERT_CONTEXT pCertContext) {
    const CertificateRef dropped = CertificateRef::adopt(Certificate::of(pCertContext));
    return TRUE;
}

BOOL CertGetCertificateContextProperty(PCCERT_CONTEXT pCertContext, DWORD dwPropId, void* pvData, DWORD* pcbData) {
    return serviceCall<BOOL>(FALSE, [&] {
        if (pCertContext == nullptr || pcbData == nullptr) {
            return fail(E_INVALIDARG);
        }
        Bytes value;
        if (!Certificate::of(pCertContext)->property(dwPropId, value)) {
            return fail(CRYPT_E_NOT_FOUND);
        }
        const DWORD code = giveBytes(value, pvData, pcbData);
        if (code == 0 && pvData != nullptr && dwPropId == CERT_KEY_PROV_INFO_PROP_ID) {
            unpackKeyProvInfo(value, pvData);
        }
        return done(code);
    });
}

BOOL CertSetCertificateContextProperty(PCCERT_CONTEXT pCertContext, DWORD dwPropId, DWORD /*dwFlags*/,
                                       const void* pvData) {
    return serviceCall<BOOL>(FALSE, [&] {
        if (pCertContext == nullptr || dwPropId == 0) {
            return fail(E_INVALIDARG);
        }
        const Certificate& certificate = *Certificate::of(pCertContext);
        if (pvData == nullptr) {
            certificate.removeProperty(dwPropId);
        } else if (dwPropId == CERT_KEY_PROV_INFO_PROP_ID) {
            // The caller's buffer may have any alignment: it can be the bytes of a string.
            CRYPT_KEY_PROV_INFO info{};
            std::memcpy(&info, pvData, sizeof info);
            certificate.setProperty(dwPropId, packKeyProvInfo(info));
        } else {
            certificate.setProperty(dwPropId, view(*static_cast<const CRYPT_DATA_BLOB*>(pvData)));
        }
        return TRUE;
    });
}

DWORD CertEnumCertificateContextProperties(PCCERT_CONTEXT pCertContext, DWORD dwPropId) {
    return serviceCall<DWORD>(
        0, [&] { return pCertContext == nullptr ? 0 : Certificate::of(pCertContext)->propertyAfter(dwPropId); });
}

PCERT_EXTENSION CertFindExtension(LPCSTR pszObjId, DWORD cExtensions, CERT_EXTENSION rgExtensions[]) {
    if (pszObjId == nullptr || (rgExtensions == nullptr && cExtensions != 0)) {
        SetLastError(E_INVALIDARG);
        return nullptr;
    }
    for (DWORD i = 0; i < cExtensions; ++i) {
        if (rgExtensions[i].pszObjId != nullptr && std::strcmp(rgExtensions[i].pszObjId, pszObjId) == 0) {
            return &rgExtensions[i];
        }
    }
    SetLastError(CRYPT_E_NOT_FOUND);
    return nullptr;
}
