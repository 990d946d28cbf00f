// Turns certificates into what a request names: identifiers, responder addresses, locators.
#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "asn1/codec/rethrow_as_status.h"
#include "client/request/request_impl.h"
#include "client/shared/certificate_access.h"
#include "client/shared/issuer_by_chain.h"
#include "client/shared/ocsp_access.h"
#include "foundation/trace.h"
#include "handles/exception.h"
#include "handles/status.h"
#include "message/issuer_hashes.h"
#include "platform/crypto/crypto_service.h"

namespace Orvane::PKI::OCSP::Client {

namespace {

constexpr char kOidCrlDistributionPoints[] = "2.5.29.31";
constexpr char kOidSha1[] = "1.3.14.3.2.26";
constexpr DWORD kMachineStoreFlags =
    CERT_SYSTEM_STORE_LOCAL_MACHINE | CERT_STORE_READONLY_FLAG | CERT_STORE_SHARE_CONTEXT_FLAG;

// A certificate with one of these signature algorithms is named with the hash of the same family, since its responder
// may support no other; every other certificate with SHA-1, which all responders support.
struct HashOfSignature {
    std::string_view signature;
    const char* hash;
};
constexpr HashOfSignature kHashesOfSignatures[] = {
    {"1.2.643.2.2.4", "1.2.643.2.2.9"},              // GOST R 34.11-94
    {"1.2.643.2.2.3", "1.2.643.2.2.9"},              // GOST R 34.11-94
    {"1.2.643.7.1.1.3.2", "1.2.643.7.1.1.2.2"},      // GOST R 34.11-2012, 256 bits
    {"1.2.643.7.1.1.3.3", "1.2.643.7.1.1.2.3"},      // GOST R 34.11-2012, 512 bits
    {"1.2.840.113549.1.1.2", "1.2.840.113549.2.2"},  // MD2
    {"1.2.840.113549.1.1.3", "1.2.840.113549.2.4"},  // MD4
    {"1.2.840.113549.1.1.4", "1.2.840.113549.2.5"},  // MD5
};

const CERT_INFO& infoOf(const _CERT_CONTEXT* certificate) {
    if (certificate == nullptr) {
        ATL::AtlThrowImpl(status::kInvalidArgument);
    }
    return *certificate->pCertInfo;
}

CBlob toBlob(const CRYPT_DATA_BLOB& blob) {
    return {blob.pbData, blob.cbData};
}

bool isSame(const CRYPT_DATA_BLOB& left, const CRYPT_DATA_BLOB& right) {
    return std::equal(left.pbData, left.pbData + left.cbData, right.pbData, right.pbData + right.cbData);
}

const CERT_EXTENSION* findExtension(const _CERT_CONTEXT* certificate, const char* oid) {
    const CERT_INFO& info = infoOf(certificate);
    return info.cExtension == 0 ? nullptr : CertFindExtension(oid, info.cExtension, info.rgExtension);
}

bool isSha1(const char* hashOID) {
    return hashOID != nullptr && std::strcmp(hashOID, kOidSha1) == 0;
}

// The policy's text up to the first blank, as narrow text; empty when there is none.
std::string hashOfPolicy(const CRequestPolicy& policy) {
    const std::wstring wide = policy.CertIDHashAlg.value().substr(0, policy.CertIDHashAlg.value().find(L' '));
    if (wide.empty()) {
        return {};
    }
    const int size = WideCharToMultiByte(0, 0, wide.c_str(), -1, nullptr, 0, nullptr, nullptr);
    if (size <= 1) {
        return {};
    }
    std::string narrow(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(0, 0, wide.c_str(), -1, narrow.data(), size, nullptr, nullptr);
    narrow.resize(std::strlen(narrow.c_str()));
    return narrow;
}

// First match wins: an explicit hash other than SHA-1, the policy's, an explicit SHA-1, the certificate's family.
std::string chooseHash(const char* hashOID, const CRequestPolicy& policy, const _CERT_CONTEXT* certificate) {
    const bool given = hashOID != nullptr && *hashOID != '\0';
    if (given && !isSha1(hashOID)) {
        return hashOID;
    }
    if (std::string ofPolicy = hashOfPolicy(policy); !ofPolicy.empty()) {
        return ofPolicy;
    }
    if (given) {
        return hashOID;
    }
    for (const HashOfSignature& row : kHashesOfSignatures) {
        if (row.signature == certificate->pCertInfo->SignatureAlgorithm.pszObjId) {
            return row.hash;
        }
    }
    return kOidSha1;
}

// The user's store may have the key information of a certificate that was passed without it. Not finding it there is
// never a failure.
ATL2::CCertContext sameOfUser(const ATL2::CCertContext& certificate) {
    try {
        ATL2::CCertStore my;
        if (my.Open(CERT_STORE_PROV_SYSTEM_W, 0, CERT_SYSTEM_STORE_CURRENT_USER | CERT_STORE_READONLY_FLAG, L"My") ==
            0) {
            ATL2::CCertContext found = ATL2::CCertContext::adopt(CertFindCertificateInStore(
                my.get(), kCertificateEncoding, 0, CERT_FIND_EXISTING, certificate.get(), nullptr));
            if (found && found.DetachFromStore() == 0) {
                return found;
            }
        }
    } catch (const ATL::CAtlException&) {
        // A property cannot be copied: the certificate is used as given.
    }
    return {};
}

}  // namespace

void CRequest::Impl::put_SRCertIDFromCert(const _CERT_CONTEXT* certificate, const _CERT_CONTEXT* issuer,
                                          unsigned long index, const char* hashOID) {
    guardBoundRebuild(index);
    if (issuer != nullptr) {
        if (!isSame(infoOf(issuer).Subject, infoOf(certificate).Issuer)) {
            ATL::AtlThrowImpl(status::kIssuerMismatch);
        }
        IssuerCertificate = ATL2::CCertContext::duplicate(issuer);
    } else {
        findIssuerByChain(certificate);
    }
    const ASN1::CAlgorithmIdentifierEx algorithm(chooseHash(hashOID, *Policy, certificate).c_str());
    SRCertIDs[index] = identifierOf(algorithm, infoOf(certificate), *IssuerCertificate->pCertInfo);
    SRCertificates[index] = ATL2::CCertContext::duplicate(certificate);
}

// One issuer is kept for the whole object, the first one found: a second certificate named without its issuer is
// assumed to have the same issuer, unchecked. Callers that ask about several issuers pass each.
void CRequest::Impl::findIssuerByChain(const _CERT_CONTEXT* certificate) {
    const NetworkCheck check(downloads());
    ATL2::CCertContext found = issuerByChain(certificate);
    if (!IssuerCertificate) {
        IssuerCertificate = std::move(found);
    }
    if (!IssuerCertificate) {
        TALLOW_TRACE("put_SRCertIDFromCert", "Issuer not found\n");
        ATL::AtlThrowImpl(status::kNoSigner);
    }
}

bool CRequest::put_OCSPAddressFromCertAIA(const _CERT_CONTEXT* certificate, unsigned long index) try {
    const CERT_INFO& info = infoOf(certificate);
    for (DWORD i = 0; i < info.cExtension; ++i) {
        const CERT_EXTENSION& extension = info.rgExtension[i];
        if (std::strcmp(extension.pszObjId, kOidAuthorityInfoAccess) != 0) {
            continue;
        }
        ASN1::CAuthorityInfoAccessSyntax access;
        access.decode(toBlob(extension.Value));
        for (const ASN1::CAccessDescription& description : access) {
            if (std::strcmp(description.get_accessMethod(), kOidAccessMethodOcsp) != 0) {
                continue;
            }
            if (index-- == 0) {
                const wchar_t* address = description.get_accessLocation().get_uniformResourceIdentifier();
                put_OCSPAddress(address == nullptr ? L"" : address);
                impl_->AddressIsNamed = false;
                return true;
            }
        }
    }
    return false;
} catch (...) {
    ASN1::rethrowAsStatus();
}

void CRequest::put_SRServiceLocatorFromCertAIA(const _CERT_CONTEXT* certificate, unsigned long index) try {
    impl_->guardBoundRebuild(index);
    CExtServiceLocator locator;
    locator.put_issuer(toBlob(infoOf(certificate).Issuer));
    if (const CERT_EXTENSION* extension = findExtension(certificate, kOidAuthorityInfoAccess); extension != nullptr) {
        ASN1::CAuthorityInfoAccessSyntax access;
        access.decode(toBlob(extension->Value));
        locator.put_locator(&access);
    }
    impl_->SRServiceLocators.insert_or_assign(index, locator);
} catch (...) {
    ASN1::rethrowAsStatus();
}

void CRequest::put_SRCRLLocatorFromCertCDP(const _CERT_CONTEXT* certificate, unsigned long index) try {
    impl_->guardBoundRebuild(index);
    const CERT_EXTENSION* extension = findExtension(certificate, kOidCrlDistributionPoints);
    if (extension == nullptr) {
        ATL::AtlThrowImpl(status::kFileNotFound);
    }
    impl_->SRCRLLocators.insert_or_assign(index, CExtCRLLocator(toBlob(extension->Value)));
} catch (...) {
    ASN1::rethrowAsStatus();
}

void CRequest::put_ClientCertificate(const _CERT_CONTEXT* certificate) try {
    ATL2::CCertContext chosen = ATL2::CCertContext::duplicate(certificate);
    if (ATL::CStringA keyInfo; chosen && chosen.GetKeyProvInfo(keyInfo) != 0) {
        if (ATL2::CCertContext known = sameOfUser(chosen)) {
            chosen = std::move(known);
        }
    }
    impl_->ClientCertificate = std::move(chosen);
    impl_->HTTPParams.ClientCertificate = impl_->ClientCertificate.get();
} catch (...) {
    ASN1::rethrowAsStatus();
}

ASN1::CAuthorityInfoAccessSyntax CRequest::Impl::GetOCSPAddressFromIssuerCertProp() const {
    ASN1::CAuthorityInfoAccessSyntax result;
    ATL2::CCertStore collection;
    if (!IssuerCertificate || collection.Open(CERT_STORE_PROV_COLLECTION, 0, 0, nullptr) != 0) {
        return result;
    }
    for (const wchar_t* name : {L"ROOT", L"Trust", L"TrustedPeople", L"CA"}) {
        ATL2::CCertStore store;
        if (store.Open(CERT_STORE_PROV_SYSTEM_W, 0, kMachineStoreFlags, name) == 0) {
            // A store that cannot be added is left out, like one that cannot be opened.
            static_cast<void>(collection.AddStoreToCollection(store, 0, 0));
        }
    }
    ATL2::CCertContext hit;
    while (const _CERT_CONTEXT* next = CertFindCertificateInStore(
               collection.get(), kCertificateEncoding, 0, CERT_FIND_EXISTING, IssuerCertificate.get(), hit.detach())) {
        hit.reset(next);
        ATL::CStringA value;
        if (hit.GetProperty(CERT_CA_OCSP_AUTHORITY_INFO_ACCESS_PROP_ID, value) != 0 || value.GetLength() == 0) {
            continue;
        }
        ASN1::CAuthorityInfoAccessSyntax access;
        access.decode(CBlob(reinterpret_cast<const unsigned char*>(value.GetString()),
                            static_cast<unsigned long>(value.GetLength())));
        result.splice(result.end(), access);
    }
    return result;
}

}  // namespace Orvane::PKI::OCSP::Client
