// Imports an encoded response: decoding, the tables, its certificates, and matching it with a request.
#include <cstring>
#include <utility>

#include "asn1/codec/rethrow_as_status.h"
#include "client/request/request_impl.h"
#include "client/response/response_impl.h"
#include "client/shared/chain_building.h"
#include "handles/exception.h"
#include "handles/status.h"
#include "message/response_message.h"
#include "platform/crypto/crypto_service.h"

namespace Orvane::PKI::OCSP::Client {

namespace {

constexpr std::uint32_t kStatusOfNothing = 2;  // internalError, for an object that holds no answer

}  // namespace

CResponse::Impl::Impl(CResponse& owner) : Owner(owner) {
    Policy.bind();
    openCertificates();
}

CResponse::Impl::~Impl() = default;

CResponse::Impl& CResponse::Impl::operator=(const Impl& source) {
    if (this == &source) {
        return *this;  // importing begins by clearing
    }
    Import(source.Encoded.pbData(), source.Encoded.cbData());
    SRCertificates = source.SRCertificates;
    CheckNextUpdate = source.CheckNextUpdate;
    CacheResync = source.CacheResync;
    ChainEngine = source.ChainEngine;
    Flags = source.Flags;
    Downloads = source.Downloads;
    return *this;
}

void CResponse::Impl::openCertificates() {
    if (const std::int32_t opened = Certificates.Open(CERT_STORE_PROV_MEMORY, 0, 0, nullptr); opened != 0) {
        ATL::AtlThrowImpl(opened);
    }
}

void CResponse::Impl::clear() {
    Status = kStatusOfNothing;
    Entries.clear();
    Signer.clear();  // before the message that it signed
    BasicResponse = CBasicResponse();
    SignatureAlgorithm = ASN1::CAlgorithmIdentifierEx();
    AdditionalExtensions.clear();
    SRAdditionalExtensions.clear();
    SRAuthorized.clear();
    SRCertificates.clear();
    Certificates.Destroy();
    openCertificates();
    Encoded.clear();
    Nonce.clear();
    SRCRLReferences.clear();
    SRArchiveCutoffs.clear();
    SRHistoricalRequests.clear();
    CheckNextUpdate = false;
    CacheResync = nullptr;
    ChainEngine = nullptr;
    Flags = 0;
    Downloads.reset();
}

void CResponse::Impl::Import(const unsigned char* data, unsigned long size) {
    // Copied before clearing: the bytes may belong to this object.
    CBlob input(data, size);
    clear();
    CResponseMessage message;
    bool isMessage = true;
    try {
        message.decodeEnvelope(input);
    } catch (...) {
        // The bytes are no OCSPResponse. They may still be a bare BasicOCSPResponse, whose decoder reports the failure.
        isMessage = false;
    }
    Status = isMessage ? message.get_responseStatus() : 0;
    if (Status != 0) {
        Encoded = std::move(input);
        return;
    }
    if (isMessage && std::strcmp(message.get_responseType(), kOidBasicResponse) != 0) {
        ATL::AtlThrowImpl(status::kUnsupportedType);
    }
    BasicResponse.decode(isMessage ? std::move(message).get_response() : CBlob(input));
    SignatureAlgorithm = ASN1::CAlgorithmIdentifierEx(BasicResponse.get_signatureAlgorithm());
    Entries.reset(BasicResponse.get_responses());
    SRCertificates.resize(Entries.size());
    readResponseExtensions();
    MakeSingleResponseList();
    addCertificates(Certificates, BasicResponse.get_certs());
    Encoded = std::move(input);
}

void CResponse::Impl::readResponseExtensions() {
    const ASN1::CExtensions* extensions = BasicResponse.get_responseExtensions();
    if (extensions == nullptr) {
        return;
    }
    for (const ASN1::CExtension& extension : *extensions) {
        if (std::strcmp(extension.get_extnID(), kOidNonce) != 0) {
            AdditionalExtensions.push_back(extension);
            continue;
        }
        if (Nonce.cbData() != 0) {
            ATL::AtlThrowImpl(status::kDuplicateExtension);
        }
        Nonce = CExtNonce(extension.get_extnValue()).get_nonce();
    }
}

void CResponse::Impl::requireImported() const {
    if (Encoded.cbData() == 0) {
        ATL::AtlThrowImpl(status::kNotImported);
    }
}

void CResponse::Impl::requireSuccessful() const {
    requireImported();
    if (Status != 0) {
        ATL::AtlThrowImpl(status::kNotSuccessful);
    }
}

void CResponse::Impl::requireEntry(unsigned long index) const {
    requireSuccessful();
    if (index >= Entries.size()) {
        ATL::AtlThrowImpl(status::kInvalidIndex);
    }
}

void CResponse::importFor(const CRequest& request, const unsigned char* data, unsigned long size, bool isFromWire) try {
    impl_->Import(data, size);
    const CRequest::Impl& asked = *request.impl_;
    impl_->CheckNextUpdate = isFromWire;
    impl_->Downloads = asked.downloads();
    if (impl_->Status != 0) {
        return;
    }
    // A nonce on one side only is a mismatch too.
    if (asked.Nonce != impl_->Nonce) {
        impl_->Encoded.clear();
        ATL::AtlThrowImpl(status::kNonceMismatch);
    }
    for (unsigned long i = 0; i < asked.SRCertificates.size(); ++i) {
        // An entry without an answer is no failure here: verifying the response reports it.
        if (const unsigned long index = impl_->Entries.find(asked.SRCertIDs[i]); index != EntryIndex::kNone) {
            impl_->SRCertificates[index] = asked.SRCertificates[i];
        }
    }
} catch (...) {
    ASN1::rethrowAsStatus();
}

void CResponse::Import(const unsigned char* data, unsigned long size, const CRequest* request) try {
    if (request == nullptr) {
        impl_->Import(data, size);
    } else {
        importFor(*request, data, size, request->impl_->ImportingResponse);
    }
} catch (...) {
    ASN1::rethrowAsStatus();
}

}  // namespace Orvane::PKI::OCSP::Client
