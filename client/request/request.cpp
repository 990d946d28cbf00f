// The accessors of a request. Each task has its own file: build, sign, import, check_received, name_certificate, and
// those in client/transport.
#include "client/request/request.h"

#include <cstring>

#include "asn1/codec/rethrow_as_status.h"
#include "client/request/request_impl.h"
#include "client/shared/entry_table.h"
#include "client/shared/export_bytes.h"
#include "foundation/trace.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace Orvane::PKI::OCSP::Client {

namespace {

template <typename Map>
void putOrRemove(Map& map, unsigned long index, const typename Map::mapped_type* value) {
    if (value == nullptr) {
        map.erase(index);
    } else {
        map.insert_or_assign(index, *value);
    }
}

// Copying from a null pointer would end the process, so it is reported.
const wchar_t* given(const wchar_t* text) {
    if (text == nullptr) {
        ATL::AtlThrowImpl(status::kInvalidArgument);
    }
    return text;
}

}  // namespace

CRequest::CRequest() : CRequest(false) {}

CRequest::CRequest(bool messageMode) try : impl_(std::make_unique<Impl>(*this, messageMode)) {
} catch (...) {
    ASN1::rethrowAsStatus();
}

CRequest::CRequest(const _CERT_CONTEXT* certificate, const _CERT_CONTEXT* issuer) : CRequest(false) {
    put_SRCertIDFromCert(certificate, issuer, 0, nullptr);
}

CRequest::CRequest(const CRequest& source) try : impl_(std::make_unique<Impl>(*this)) {
    *impl_ = *source.impl_;
} catch (...) {
    ASN1::rethrowAsStatus();
}

// Self-assignment is not skipped: the object is cleared first, and then copies what is left.
CRequest& CRequest::operator=(const CRequest& source) try {  // NOLINT(bugprone-unhandled-self-assignment)
    *impl_ = *source.impl_;
    return *this;
} catch (...) {
    ASN1::rethrowAsStatus();
}

CRequest::~CRequest() = default;

// ---- What is asked --------------------------------------------------------------------------------------------------

void CRequest::AddSingleRequest() try {
    impl_->guard();
    impl_->appendEmptyEntry();
} catch (...) {
    ASN1::rethrowAsStatus();
}

unsigned long CRequest::get_SRNumber() const {
    return impl_->SRCertIDs.size();
}

void CRequest::put_SRCertIDFromCert(const _CERT_CONTEXT* certificate, const _CERT_CONTEXT* issuer, unsigned long index,
                                    const char* hashOID) try {
    impl_->put_SRCertIDFromCert(certificate, issuer, index, hashOID);
} catch (...) {
    ASN1::rethrowAsStatus();
}

void CRequest::put_SRCertID(CCertID certID, unsigned long index) try {
    impl_->guardBoundRebuild(index);
    impl_->SRCertIDs[index] = std::move(certID);
    impl_->SRCertificates[index] = ATL2::CCertContext();
} catch (...) {
    ASN1::rethrowAsStatus();
}

CCertID CRequest::get_SRCertID(unsigned long index) const try {
    impl_->bound(index);
    return impl_->SRCertIDs[index];
} catch (...) {
    ASN1::rethrowAsStatus();
}

void CRequest::put_SRHistoricalRequest(CExtHistoricalRequest* extension, unsigned long index) try {
    impl_->guardBoundRebuild(index);
    putOrRemove(impl_->SRHistoricalRequests, index, extension);
} catch (...) {
    ASN1::rethrowAsStatus();
}

void CRequest::put_SRServiceLocator(CExtServiceLocator* extension, unsigned long index) try {
    impl_->guardBoundRebuild(index);
    putOrRemove(impl_->SRServiceLocators, index, extension);
} catch (...) {
    ASN1::rethrowAsStatus();
}

const CExtHistoricalRequest* CRequest::get_SRHistoricalRequest(unsigned long index) const {
    impl_->bound(index);
    return findEntry(impl_->SRHistoricalRequests, index);
}

const CExtServiceLocator* CRequest::get_SRServiceLocator(unsigned long index) const {
    impl_->bound(index);
    return findEntry(impl_->SRServiceLocators, index);
}

const CExtCRLLocator* CRequest::get_SRCRLLocator(unsigned long index) const {
    impl_->bound(index);
    return findEntry(impl_->SRCRLLocators, index);
}

const ASN1::CExtensions* CRequest::get_SRAdditionalExtensions(unsigned long index) const {
    impl_->bound(index);
    return findEntry(impl_->SRAdditionalExtensions, index);
}

void CRequest::put_UseNonce(bool use) {
    impl_->guard();
    if (use != impl_->UseNonce) {
        impl_->rebuild();
    }
    impl_->UseNonce = use;
}

bool CRequest::get_UseNonce() const {
    return impl_->UseNonce;
}

void CRequest::put_UseAcceptableResponses(bool use) {
    impl_->guard();
    if (use != impl_->UseAcceptableResponses) {
        impl_->rebuild();
    }
    impl_->UseAcceptableResponses = use;
}

bool CRequest::get_UseAcceptableResponses() const {
    return impl_->UseAcceptableResponses;
}

void CRequest::put_AdditionalExtensions(ASN1::CExtensions* extensions) try {
    impl_->guard();
    impl_->rebuild();
    ASN1::CExtensions& own = impl_->AdditionalExtensions;
    if (extensions == nullptr) {
        own.clear();
        return;
    }
    if (extensions != &own) {
        own = *extensions;
    }
    // After taking over a nonce, the walk continues at the second element of the given list, wherever the nonce was. So
    // a nonce in the first place is taken over, while one further down a caller's list is found again and refused as a
    // duplicate. The first element is never examined twice.
    auto extension = extensions->begin();
    while (extension != extensions->end()) {
        if (std::strcmp(extension->get_extnID(), kOidNonce) != 0) {
            ++extension;
            continue;
        }
        if (impl_->UseNonce) {
            TALLOW_TRACE("put_AdditionalExtensions", "Duplicated extension: Nonce\n");
            ATL::AtlThrowImpl(status::kDuplicateExtension);
        }
        impl_->Nonce = CExtNonce(extension->get_extnValue()).get_nonce();
        impl_->UseNonce = true;
        // If the list is the object's own, this removes the current element, so the walk restarts from the list.
        own.erase(kOidNonce);
        extension = extensions->begin();
        if (extension != extensions->end()) {
            ++extension;
        }
    }
} catch (...) {
    ASN1::rethrowAsStatus();
}

const ASN1::CExtensions* CRequest::get_AdditionalExtensions() const {
    return &impl_->AdditionalExtensions;
}

// ---- How to reach the responder -------------------------------------------------------------------------------------

void CRequest::put_OCSPAddress(const wchar_t* address) try {
    impl_->HTTPParams.OCSPAddress = given(address);
    impl_->OCSPAddressSet = true;
    impl_->AddressIsNamed = true;
} catch (...) {
    ASN1::rethrowAsStatus();
}

const wchar_t* CRequest::get_OCSPAddress() const {
    return impl_->HTTPParams.OCSPAddress.c_str();
}

void CRequest::put_OCSPAuthType(enumAuthTypes type) {
    impl_->HTTPParams.OCSPAuthType = type;
}

enumAuthTypes CRequest::get_OCSPAuthType() const {
    return impl_->HTTPParams.OCSPAuthType;
}

void CRequest::put_OCSPUserName(const wchar_t* name) try { impl_->HTTPParams.OCSPUserName = given(name); } catch (...) {
    ASN1::rethrowAsStatus();
}

const wchar_t* CRequest::get_OCSPUserName() const {
    return impl_->HTTPParams.OCSPUserName.c_str();
}

void CRequest::put_OCSPPassword(const wchar_t* password) try {
    impl_->HTTPParams.OCSPPassword = given(password);
} catch (...) {
    ASN1::rethrowAsStatus();
}

const wchar_t* CRequest::get_OCSPPassword() const {
    return impl_->HTTPParams.OCSPPassword.c_str();
}

void CRequest::put_ProxyAddress(const wchar_t* address) try {
    impl_->HTTPParams.ProxyAddress = address == nullptr ? L"" : address;
    impl_->HTTPParams.ProxyAddressSet = true;
} catch (...) {
    ASN1::rethrowAsStatus();
}

const wchar_t* CRequest::get_ProxyAddress() const {
    return impl_->HTTPParams.ProxyAddress.c_str();
}

void CRequest::put_ProxyAuthType(enumAuthTypes type) {
    impl_->HTTPParams.ProxyAuthType = type;
}

enumAuthTypes CRequest::get_ProxyAuthType() const {
    return impl_->HTTPParams.ProxyAuthType;
}

void CRequest::put_ProxyUserName(const wchar_t* name) try {
    impl_->HTTPParams.ProxyUserName = given(name);
} catch (...) {
    ASN1::rethrowAsStatus();
}

const wchar_t* CRequest::get_ProxyUserName() const {
    return impl_->HTTPParams.ProxyUserName.c_str();
}

void CRequest::put_ProxyPassword(const wchar_t* password) try {
    impl_->HTTPParams.ProxyPassword = given(password);
} catch (...) {
    ASN1::rethrowAsStatus();
}

const wchar_t* CRequest::get_ProxyPassword() const {
    return impl_->HTTPParams.ProxyPassword.c_str();
}

const _CERT_CONTEXT* CRequest::get_ClientCertificate() const {
    return impl_->HTTPParams.ClientCertificate;
}

void CRequest::put_Flags(unsigned int flags) {
    impl_->Flags = flags;
}

unsigned int CRequest::get_Flags() const {
    return impl_->Flags;
}

void CRequest::put_CacheResync(_FILETIME* time) {
    impl_->CacheResync = time;
}

void CRequest::put_DisableProducedAtCheck(bool disable) {
    impl_->DisableProducedAtCheck = disable;
}

bool CRequest::get_DisableProducedAtCheck() const {
    return impl_->DisableProducedAtCheck;
}

void CRequest::put_ResponseHandler(IResponseHandler* handler) {
    impl_->ResponseHandler = handler;
}

// ---- Ask, and what came back ----------------------------------------------------------------------------------------

const CResponse& CRequest::Send(bool verify) try { return impl_->Send(verify); } catch (...) {
    ASN1::rethrowAsStatus();
}

void CRequest::Export(unsigned char* buffer, unsigned long* size) try {
    if (impl_->Encoded.cbData() == 0) {
        impl_->MakeRequest(nullptr, CertsChainWithRoot, nullptr);
    }
    exportBytes(impl_->Encoded, buffer, size);
} catch (...) {
    ASN1::rethrowAsStatus();
}

CBlob CRequest::get_Response() const try { return impl_->ResponseBytes; } catch (...) {
    ASN1::rethrowAsStatus();
}

unsigned long CRequest::get_HTTPStatus() const {
    return impl_->HTTPParams.HTTPStatus;
}

bool CRequest::get_Proven() const {
    return impl_->Proven;
}

const std::vector<CRequest::Attempt>& CRequest::get_Attempts() const {
    return impl_->Attempts;
}

void* CRequest::get_Certificates() const {
    return impl_->Certificates.get();
}

const char* CRequest::get_SignatureAlgorithmOID() const {
    return impl_->SignatureAlgorithmOID.c_str();
}

}  // namespace Orvane::PKI::OCSP::Client
