// The exported functions on stores.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "platform/crypto/base/service_call.h"
#include "platform/crypto/base/wide_text.h"
#include "platform/crypto/certificates/certificate_properties.h"
#include "platform/crypto/certificates/store.h"
#include "platform/crypto/certificates/system_store.h"

using namespace tallow::platform;

namespace {

StoreView viewOf(DWORD flags) {
    const bool isMachine = (flags & CERT_SYSTEM_STORE_LOCATION_MASK) == CERT_SYSTEM_STORE_LOCAL_MACHINE;
    return isMachine ? StoreView::kMachine : StoreView::kUser;
}

StoreRef openSystem(const std::string& name, DWORD flags) {
    if (!isStoreName(name)) {
        SetLastError(E_INVALIDARG);
        return {};
    }
    return openSystemStore(name, viewOf(flags), (flags & CERT_STORE_OPEN_EXISTING_FLAG) != 0);
}

StoreRef openStore(uintptr_t provider, DWORD flags, const void* name) {
    const bool system = provider == reinterpret_cast<uintptr_t>(CERT_STORE_PROV_SYSTEM_A) ||
                        provider == reinterpret_cast<uintptr_t>(CERT_STORE_PROV_SYSTEM_W);
    if (provider == reinterpret_cast<uintptr_t>(CERT_STORE_PROV_MEMORY)) {
        return makeMemoryStore();
    }
    if (provider == reinterpret_cast<uintptr_t>(CERT_STORE_PROV_COLLECTION)) {
        return makeCollection();
    }
    if (!system || name == nullptr) {
        SetLastError(system ? E_INVALIDARG : ERROR_FILE_NOT_FOUND);
        return {};
    }
    return provider == reinterpret_cast<uintptr_t>(CERT_STORE_PROV_SYSTEM_A)
               ? openSystem(static_cast<const char*>(name), flags)
               : openSystem(narrow(static_cast<const wchar_t*>(name)), flags);
}

bool same(const CRYPT_DATA_BLOB& left, const CRYPT_DATA_BLOB& right) {
    return left.cbData == right.cbData &&
           (left.cbData == 0 || std::memcmp(left.pbData, right.pbData, left.cbData) == 0);
}

bool isKnownFind(DWORD findType) {
    return findType == CERT_FIND_ANY || findType == CERT_FIND_SHA1_HASH || findType == CERT_FIND_ISSUER_NAME ||
           findType == CERT_FIND_SUBJECT_NAME || findType == CERT_FIND_SUBJECT_CERT ||
           findType == CERT_FIND_ISSUER_OF || findType == CERT_FIND_EXISTING;
}

bool hasThumbprint(const Certificate& certificate, const CRYPT_DATA_BLOB& wanted) {
    Bytes thumbprint;
    return certificate.property(CERT_SHA1_HASH_PROP_ID, thumbprint) &&
           same({static_cast<DWORD>(thumbprint.size()), thumbprint.data()}, wanted);
}

bool fits(const Certificate& certificate, DWORD findType, const void* wanted) {
    const CERT_INFO& info = certificate.info();
    switch (findType) {
        case CERT_FIND_SHA1_HASH:
            return hasThumbprint(certificate, *static_cast<const CRYPT_DATA_BLOB*>(wanted));
        case CERT_FIND_ISSUER_NAME:
            return same(info.Issuer, *static_cast<const CERT_NAME_BLOB*>(wanted));
        case CERT_FIND_SUBJECT_NAME:
            return same(info.Subject, *static_cast<const CERT_NAME_BLOB*>(wanted));
        case CERT_FIND_SUBJECT_CERT: {
            const CERT_INFO& other = *static_cast<const CERT_INFO*>(wanted);
            return same(info.SerialNumber, other.SerialNumber) && same(info.Issuer, other.Issuer);
        }
        case CERT_FIND_ISSUER_OF:
            return same(info.Subject, static_cast<PCCERT_CONTEXT>(wanted)->pCertInfo->Issuer);
        case CERT_FIND_EXISTING: {
            const PCCERT_CONTEXT other = static_cast<PCCERT_CONTEXT>(wanted);
            return same({certificate.context()->cbCertEncoded, certificate.context()->pbCertEncoded},
                        {other->cbCertEncoded, other->pbCertEncoded});
        }
        default:
            return true;
    }
}

bool isDisposition(DWORD disposition) {
    return disposition >= CERT_STORE_ADD_NEW && disposition <= CERT_STORE_ADD_ALWAYS;
}

// Continues after `previous`, taking over its reference, to the first certificate that `accept` accepts.
template <typename Accept>
PCCERT_CONTEXT findNext(HCERTSTORE store, PCCERT_CONTEXT previous, Accept accept) {
    CertificateRef current = CertificateRef::adopt(Certificate::of(previous));
    do {
        current = Store::of(store)->after(current.get());
    } while (current && !accept(*current));
    if (!current) {
        SetLastError(CRYPT_E_NOT_FOUND);
    }
    return current.releaseContext();
}

// ---- Listing the contents of files
// ------------------------------------------------------------------------------------

struct Listener {
    PFN_CRYPTO_STORE_ITEM tellItem;
    void* context;

    void tell(DWORD kind, const std::string& path, ByteView der, const StoreProblem* problem) const {
        const CRYPTO_STORE_ITEM item{sizeof item,
                                     kind,
                                     path.c_str(),
                                     der.data(),
                                     static_cast<DWORD>(der.size()),
                                     problem != nullptr && problem->mayBeCrl ? TRUE : FALSE,
                                     problem == nullptr ? nullptr : problem->reason.c_str()};
        tellItem(&item, context);
    }
    void tell(const StoreProblem& problem, const std::string& path) const {
        tell(problem.isOther ? CRYPTO_STORE_ITEM_OTHER : CRYPTO_STORE_ITEM_BROKEN,
             problem.path.empty() ? path : problem.path, {}, &problem);
    }
    void tell(const StoreFileContent& content, const std::string& path) const {
        for (const CertificateRef& certificate : content.certificates) {
            tell(CRYPTO_STORE_ITEM_CERTIFICATE, path, certificate->der(), nullptr);
        }
        for (const CrlRef& crl : content.crls) {
            tell(CRYPTO_STORE_ITEM_CRL, path, crl->der, nullptr);
        }
        for (const StoreProblem& problem : content.problems) {
            tell(problem, path);
        }
    }
};

BOOL readContent(StoreFileContent (*parse)(ByteView, std::string_view), ByteView content, LPCSTR szName,
                 const Listener& listener) {
    return serviceCall<BOOL>(FALSE, [&] {
        if (listener.tellItem == nullptr || (content.data() == nullptr && !content.empty())) {
            return fail(E_INVALIDARG);
        }
        const std::string name = szName == nullptr ? "" : szName;
        listener.tell(parse(content, name), name);
        return TRUE;
    });
}

}  // namespace

BOOL crypto_list_store(LPCSTR szName, DWORD dwFlags, PFN_CRYPTO_STORE_ITEM pfnItem, void* pvContext) {
    return serviceCall<BOOL>(FALSE, [&] {
        if (szName == nullptr || pfnItem == nullptr || !isStoreName(szName)) {
            return fail(E_INVALIDARG);
        }
        const StoreFiles found = systemStoreFolder(szName, viewOf(dwFlags));
        const Listener listener{pfnItem, pvContext};
        for (const StoreFile& file : found.files) {
            listener.tell(*file.content, file.path);
        }
        for (const StoreProblem& problem : found.problems) {
            listener.tell(problem, {});
        }
        return done(found.systemError == 0 ? 0 : lastErrorOf(found.systemError));
    });
}

BOOL crypto_read_store_content(const BYTE* pbContent, DWORD cbContent, LPCSTR szName, PFN_CRYPTO_STORE_ITEM pfnItem,
                               void* pvContext) {
    return readContent(parseStoreFile, {pbContent, cbContent}, szName, {pfnItem, pvContext});
}

BOOL crypto_read_named_content(const BYTE* pbContent, DWORD cbContent, LPCSTR szName, PFN_CRYPTO_STORE_ITEM pfnItem,
                               void* pvContext) {
    return readContent(parseNamedFile, {pbContent, cbContent}, szName, {pfnItem, pvContext});
}

HCERTSTORE CertOpenStore(LPCSTR lpszStoreProvider, DWORD /*dwEncodingType*/, HCRYPTPROV /*hCryptProv*/, DWORD dwFlags,
                         const void* pvPara) {
    return serviceCall<HCERTSTORE>(nullptr, [&]() -> HCERTSTORE {
        StoreRef store = openStore(reinterpret_cast<uintptr_t>(lpszStoreProvider), dwFlags, pvPara);
        return store ? store.release()->handle() : nullptr;
    });
}

HCERTSTORE CertDuplicateStore(HCERTSTORE hCertStore) {
    if (hCertStore == nullptr) {
        SetLastError(E_INVALIDARG);
        return nullptr;
    }
    StoreRef store = StoreRef::share(hCertStore);
    return store ? store.release()->handle() : nullptr;
}

BOOL CertCloseStore(HCERTSTORE hCertStore, DWORD /*dwFlags*/) {
    const StoreRef dropped = StoreRef::adopt(Store::of(hCertStore));
    return TRUE;
}

BOOL CertAddStoreToCollection(HCERTSTORE hCollectionStore, HCERTSTORE hSiblingStore, DWORD /*dwUpdateFlags*/,
                              DWORD dwPriority) {
    return serviceCall<BOOL>(FALSE, [&] {
        if (hCollectionStore == nullptr || hSiblingStore == nullptr) {
            return fail(E_INVALIDARG);
        }
        return done(Store::of(hCollectionStore)->addMember(*Store::of(hSiblingStore), dwPriority));
    });
}

PCCERT_CONTEXT CertEnumCertificatesInStore(HCERTSTORE hCertStore, PCCERT_CONTEXT pPrevCertContext) {
    return CertFindCertificateInStore(hCertStore, X509_ASN_ENCODING, 0, CERT_FIND_ANY, nullptr, pPrevCertContext);
}

PCCERT_CONTEXT CertFindCertificateInStore(HCERTSTORE hCertStore, DWORD /*dwCertEncodingType*/, DWORD /*dwFindFlags*/,
                                          DWORD dwFindType, const void* pvFindPara, PCCERT_CONTEXT pPrevCertContext) {
    return serviceCall<PCCERT_CONTEXT>(nullptr, [&]() -> PCCERT_CONTEXT {
        if (hCertStore == nullptr || !isKnownFind(dwFindType) ||
            (pvFindPara == nullptr && dwFindType != CERT_FIND_ANY)) {
            CertFreeCertificateContext(pPrevCertContext);
            SetLastError(E_INVALIDARG);
            return nullptr;
        }
        return findNext(hCertStore, pPrevCertContext,
                        [&](const Certificate& certificate) { return fits(certificate, dwFindType, pvFindPara); });
    });
}

BOOL CertAddCertificateContextToStore(HCERTSTORE hCertStore, PCCERT_CONTEXT pCertContext, DWORD dwAddDisposition,
                                      PCCERT_CONTEXT* ppStoreContext) {
    return serviceCall<BOOL>(FALSE, [&] {
        if (hCertStore == nullptr || pCertContext == nullptr || !isDisposition(dwAddDisposition)) {
            return fail(E_INVALIDARG);
        }
        CertificateRef added;
        const DWORD code = Store::of(hCertStore)->add(*Certificate::of(pCertContext), dwAddDisposition, &added);
        if (code == 0 && ppStoreContext != nullptr) {
            *ppStoreContext = added.releaseContext();
        }
        return done(code);
    });
}

BOOL CertAddEncodedCRLToStore(HCERTSTORE hCertStore, DWORD dwCertEncodingType, const BYTE* pbCrlEncoded,
                              DWORD cbCrlEncoded, DWORD dwAddDisposition, PCCRL_CONTEXT* ppCrlContext) {
    return serviceCall<BOOL>(FALSE, [&] {
        if (hCertStore == nullptr || pbCrlEncoded == nullptr || ppCrlContext != nullptr ||
            (dwCertEncodingType & X509_ASN_ENCODING) == 0 || !isDisposition(dwAddDisposition)) {
            return fail(E_INVALIDARG);
        }
        CrlRef crl = Crl::parse({pbCrlEncoded, cbCrlEncoded});
        return crl == nullptr ? fail(CRYPT_E_ASN1_ERROR)
                              : done(Store::of(hCertStore)->add(std::move(crl), dwAddDisposition));
    });
}
