// The accessors of a response. Each task has its own file.
#include "client/response/response.h"

#include <string>

#include "asn1/codec/rethrow_as_status.h"
#include "client/response/response_impl.h"
#include "client/shared/certificate_access.h"
#include "client/shared/entry_table.h"
#include "client/shared/export_bytes.h"
#include "client/shared/issuer_by_chain.h"
#include "client/shared/network_check.h"
#include "handles/exception.h"
#include "handles/status.h"
#include "platform/crypto/crypto_service.h"

namespace Orvane::PKI::OCSP::Client {

CResponse::CResponse() try : impl_(std::make_unique<Impl>(*this)) {
} catch (...) {
    ASN1::rethrowAsStatus();
}

CResponse::CResponse(const CResponse& source) try : CResponse() { *impl_ = *source.impl_; } catch (...) {
    ASN1::rethrowAsStatus();
}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): Impl handles it
CResponse& CResponse::operator=(const CResponse& source) try {
    *impl_ = *source.impl_;
    return *this;
} catch (...) {
    ASN1::rethrowAsStatus();
}

CResponse::~CResponse() = default;

void CResponse::put_Flags(unsigned int flags) {
    impl_->Flags = flags;
}

void CResponse::put_CacheResync(_FILETIME* time) {
    impl_->CacheResync = time;
}

void CResponse::put_ChainEngine(void* engine) {
    impl_->ChainEngine = engine;
}

void CResponse::Export(unsigned char* buffer, unsigned long* size) const try {
    impl_->requireImported();
    exportBytes(impl_->Encoded, buffer, size);
} catch (...) {
    ASN1::rethrowAsStatus();
}

// ---- The response as a whole ----------------------------------------------------------------------------------------

std::uint32_t CResponse::get_Status() const {
    impl_->requireImported();
    return impl_->Status;
}

unsigned long CResponse::get_SRNumber() const {
    impl_->requireSuccessful();
    return impl_->Entries.size();
}

CDateTime CResponse::get_ProducedAt() const {
    impl_->requireSuccessful();
    return impl_->BasicResponse.get_producedAt();
}

CResponderID::Type CResponse::get_responderIDType() const {
    impl_->requireSuccessful();
    return impl_->BasicResponse.get_responderID().get_type();
}

const CBlob& CResponse::get_responderID() const {
    impl_->requireSuccessful();
    return impl_->BasicResponse.get_responderID().get_value();
}

bool CResponse::get_HasNonce() const {
    impl_->requireSuccessful();
    return impl_->Nonce.cbData() != 0;
}

// Unlike the other getters it works for every response status: callers that log refused responses use it without
// checking the status first.
std::uint32_t CResponse::get_SignatureAlgorithm() const {
    impl_->requireImported();
    ASN1::CAlgorithmIdentifierEx& algorithm = impl_->SignatureAlgorithm;
    if (algorithm.get_algId() != 0) {
        return algorithm.get_algId();
    }
    const DWORD number = CertOIDToAlgId(algorithm.get_algorithm());
    if (number == 0) {
        SetLastError(static_cast<DWORD>(status::kBadAlgorithm));
    }
    algorithm.put_algId(number);
    return number;
}

const char* CResponse::get_SignatureAlgorithmOID() const {
    impl_->requireSuccessful();
    return impl_->BasicResponse.get_signatureAlgorithm().get_algorithm();
}

const CBlob& CResponse::get_SignatureAlgorithmParameters() const {
    impl_->requireSuccessful();
    return impl_->BasicResponse.get_signatureAlgorithm().get_parameters();
}

void* CResponse::get_Certificates() const {
    impl_->requireSuccessful();
    return impl_->Certificates.get();
}

const ASN1::CExtensions* CResponse::get_AdditionalExtensions() const {
    impl_->requireSuccessful();
    return &impl_->AdditionalExtensions;
}

// ---- The single responses -------------------------------------------------------------------------------------------

CCertID CResponse::get_SRCertID(unsigned long index) const try {
    impl_->requireEntry(index);
    return *impl_->get_SingleResponse(index).get_reqCert().get_certID();
} catch (...) {
    ASN1::rethrowAsStatus();
}

CCertStatus::Type CResponse::get_SRStatus(unsigned long index) const {
    impl_->requireEntry(index);
    return impl_->get_SingleResponse(index).get_certStatus().get_type();
}

const CDateTime* CResponse::get_SRRevTime(unsigned long index) const {
    impl_->requireEntry(index);
    return impl_->get_SingleResponse(index).get_certStatus().get_revocationTime();
}

const ASN1::CrlReason* CResponse::get_SRRevReason(unsigned long index) const {
    impl_->requireEntry(index);
    return impl_->get_SingleResponse(index).get_certStatus().get_revocationReason();
}

CDateTime CResponse::get_SRThisUpdate(unsigned long index) const {
    impl_->requireEntry(index);
    return impl_->get_SingleResponse(index).get_thisUpdate();
}

const CDateTime* CResponse::get_SRNextUpdate(unsigned long index) const {
    impl_->requireEntry(index);
    return impl_->get_SingleResponse(index).get_nextUpdate();
}

const CExtHistoricalRequest* CResponse::get_SRHistoricalRequest(unsigned long index) const {
    impl_->requireEntry(index);
    return findEntry(impl_->SRHistoricalRequests, index);
}

const CDateTime* CResponse::get_SRArchiveCutoff(unsigned long index) const {
    impl_->requireEntry(index);
    const CExtArchiveCutoff* cutoff = findEntry(impl_->SRArchiveCutoffs, index);
    return cutoff == nullptr ? nullptr : &cutoff->get_archiveCutoff();
}

const CExtCrlID* CResponse::get_SRCRLReference(unsigned long index) const {
    impl_->requireEntry(index);
    return findEntry(impl_->SRCRLReferences, index);
}

const ASN1::CExtensions* CResponse::get_SRAdditionalExtensions(unsigned long index) const {
    impl_->requireEntry(index);
    return findEntry(impl_->SRAdditionalExtensions, index);
}

// ---- Matching -------------------------------------------------------------------------------------------------------

bool CResponse::VerifyNonce(const unsigned char* data, unsigned long size) const try {
    impl_->requireSuccessful();
    return CBlob(data, size) == impl_->Nonce;
} catch (...) {
    ASN1::rethrowAsStatus();
}

unsigned long CResponse::get_SRIndexByCertID(const CCertID& certID) const try {
    impl_->requireSuccessful();
    return impl_->Entries.find(certID);
} catch (...) {
    ASN1::rethrowAsStatus();
}

// The identifier is computed once for each hash algorithm, not for each entry: computing it is expensive, and a
// response may contain many entries.
unsigned long CResponse::get_SRIndexByCert(const _CERT_CONTEXT* cert, const _CERT_CONTEXT* issuer) const try {
    impl_->requireSuccessful();
    if (cert == nullptr) {
        ATL::AtlThrowImpl(status::kInvalidArgument);
    }
    const OptionalNetworkCheck network(impl_->Downloads);
    const ATL2::CCertContext held = issuer != nullptr ? ATL2::CCertContext::duplicate(issuer) : issuerByChain(cert);
    if (!held) {
        ATL::AtlThrowImpl(status::kNoSigner);
    }
    const CBlob certBytes = encodingOf(cert);
    const CBlob issuerBytes = encodingOf(held.get());
    std::map<std::string, CCertID> byAlgorithm;
    unsigned long index = 0;
    for (const CSingleResponse& entry : impl_->BasicResponse.get_responses()) {
        const CCertID& named = *entry.get_reqCert().get_certID();
        const std::string oid = named.get_hashAlgorithm().get_algorithm();
        auto own = byAlgorithm.find(oid);
        if (own == byAlgorithm.end()) {
            const ASN1::CAlgorithmIdentifierEx algorithm(named.get_hashAlgorithm());
            own = byAlgorithm.emplace(oid, CCertID(algorithm, certBytes, issuerBytes)).first;
        }
        if (namesSameCertificate(named, own->second)) {
            ATL2::CCertContext found = ATL2::CCertContext::duplicate(cert);
            if (const std::int32_t detached = found.DetachFromStore(); detached < 0) {
                ATL::AtlThrowImpl(detached);
            }
            impl_->SRCertificates[index] = std::move(found);
            return index;
        }
        ++index;
    }
    return kNoIndex;
} catch (...) {
    ASN1::rethrowAsStatus();
}

}  // namespace Orvane::PKI::OCSP::Client
