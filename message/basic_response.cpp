#include "message/basic_response.h"

#include <utility>

#include "asn1/codec/codec.h"
#include "message/basic_response_content.h"
#include "message/certificate_key.h"

namespace Orvane::PKI::OCSP {

struct TALLOW_HIDDEN CBasicResponse::Impl : BasicResponseContent {
    CBlob encoded;  // the whole BasicOCSPResponse as received: the signature is checked over it
};

CBasicResponse::CBasicResponse() : impl_(ASN1::withinFrame([] { return std::make_unique<Impl>(); })) {}
CBasicResponse::CBasicResponse(const CBasicResponse& other)
    : impl_(ASN1::withinFrame([&] { return std::make_unique<Impl>(*other.impl_); })) {}
CBasicResponse::CBasicResponse(CBasicResponse&&) noexcept = default;
CBasicResponse& CBasicResponse::operator=(const CBasicResponse& other) {
    if (this != &other) {
        *this = CBasicResponse(other);
    }
    return *this;
}
CBasicResponse& CBasicResponse::operator=(CBasicResponse&&) noexcept = default;
CBasicResponse::~CBasicResponse() = default;

void CBasicResponse::decode(const CBlob& data) {
    impl_ = ASN1::withinFrame([&] {
        auto decoded = std::make_unique<Impl>(Impl{readBasicResponse(data), {}});
        decoded->encoded.assign(data.pbData(), data.cbData() - decoded->trailingSize);
        return decoded;
    });
}

void CBasicResponse::decode(CBlob&& data) {
    impl_ = ASN1::withinFrame([&] {
        auto decoded = std::make_unique<Impl>(Impl{readBasicResponse(data), {}});
        data.resize_to(data.cbData() - decoded->trailingSize);
        decoded->encoded = std::move(data);
        return decoded;
    });
}

std::uint32_t CBasicResponse::get_version() const {
    return impl_->version;
}

unsigned long CBasicResponse::get_trailingSize() const {
    return impl_->trailingSize;
}

const CSingleResponseList& CBasicResponse::get_responses() const {
    return impl_->responses;
}

const ASN1::CExtensions* CBasicResponse::get_responseExtensions() const {
    return impl_->responseExtensions ? &*impl_->responseExtensions : nullptr;
}

const CBlobList* CBasicResponse::get_certs() const {
    return impl_->certs ? &*impl_->certs : nullptr;
}

const CDateTime& CBasicResponse::get_producedAt() const {
    return impl_->producedAt;
}

const CResponderID& CBasicResponse::get_responderID() const {
    return impl_->responderID;
}

const ASN1::CAlgorithmIdentifier& CBasicResponse::get_signatureAlgorithm() const {
    return impl_->signatureAlgorithm;
}

// The whole message is passed on: the service reads the signed structure, the algorithm and the signature from its
// front and does not look at the certificates after them.
bool CBasicResponse::verify(const CBlob& certificate) const {
    CRYPT_DATA_BLOB subject{static_cast<DWORD>(impl_->encoded.cbData()), impl_->encoded.pbData()};
    return verifySignature(CRYPT_VERIFY_CERT_SIGN_SUBJECT_BLOB, &subject, openCertificate(certificate));
}

}  // namespace Orvane::PKI::OCSP
