#include "message/basic_response.h"

#include <utility>

#include "asn1/codec/element.h"
#include "asn1/text/time_text.h"
#include "message/cert_id_traits.h"
#include "message/certificate_key.h"
#include "message/extension_lists.h"

namespace Orvane::PKI::OCSP {

struct CBasicResponse::Impl {
    std::uint32_t version = 0;
    unsigned long trailingSize = 0;
    CBlob encoded;  // the whole BasicOCSPResponse as received: the signature is checked over it
    CResponderID responderID;
    CDateTime producedAt{0, 0};
    CSingleResponseList responses;
    std::optional<ASN1::CExtensions> responseExtensions;
    ASN1::CAlgorithmIdentifier signatureAlgorithm;
    std::optional<CBlobList> certs;

    static std::unique_ptr<Impl> read(const CBlob& data);
};

namespace {

using BasicResponseTraits = ASN1::RecordTraits<asn1data::ASN1C_BasicOCSPResponse, asn1data::asn1Copy_BasicOCSPResponse>;

CCertStatus certStatusOf(const asn1data::ASN1T_CertStatus& record) {
    switch (record.t) {
        case asn1data::ASN1T_CertStatus::T_good:
            return CCertStatus(CCertStatus::kGood);
        case asn1data::ASN1T_CertStatus::T_revoked: {
            const asn1data::ASN1T_RevokedInfo& info = *record.u.revoked;
            const auto reason = static_cast<ASN1::CrlReason>(info.revocationReason);
            return {ASN1::decodedUtcTime(info.revocationTime), info.m.revocationReasonPresent ? &reason : nullptr};
        }
        default:
            return CCertStatus(CCertStatus::kUnknown);
    }
}

CSingleResponse singleResponseOf(const asn1data::ASN1T_SingleResponse& record) {
    std::optional<CDateTime> nextUpdate;
    if (record.m.nextUpdatePresent) {
        nextUpdate = ASN1::decodedUtcTime(record.nextUpdate);
    }
    return {ReqCertTraits::get(record.reqCert), certStatusOf(record.certStatus),
            ASN1::decodedUtcTime(record.thisUpdate), nextUpdate,
            extensionsOf(record.m.singleExtensionsPresent, record.singleExtensions)};
}

// The names and certificates are cut out of the message instead of being encoded again from the records: a certificate
// whose encoding is not canonical would lose its signature that way, and a name would no longer be the one that its
// owner's certificate shows.

constexpr std::uint32_t kVersion = 0;
constexpr std::uint32_t kCerts = 0;

CResponderID responderIdOf(const asn1data::ASN1T_ResponderID& record, const ASN1::CElement& responseData) {
    if (record.t == asn1data::ASN1T_ResponderID::T_byKey) {
        return {CResponderID::kByKey, CBlob(record.u.byKey->data, record.u.byKey->numocts)};
    }
    ASN1::CElementReader members(responseData);
    ASN1::CElement member = members.next();
    if (ASN1::hasContextTag(member, kVersion)) {
        member = members.next();
    }
    return {CResponderID::kByName, ASN1::CElementReader(member).next().whole()};
}

CBlobList certificatesOf(const ASN1::CElement& wrapper) {
    // The decoder does not compare the length of a wrapper with its contents; here that length decides where to look.
    if (!ASN1::hasContextTag(wrapper, kCerts)) {
        ATL::AtlThrowImpl(status::kAsn1Error);
    }
    CBlobList certs;
    ASN1::CElementReader elements(ASN1::CElementReader(wrapper).next());
    while (!elements.atEnd()) {
        certs.push_back(elements.next().whole());
    }
    return certs;
}

}  // namespace

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
    impl_ = ASN1::withinFrame([&] { return Impl::read(data); });
}

std::unique_ptr<CBasicResponse::Impl> CBasicResponse::Impl::read(const CBlob& data) {
    ASN1BERDecodeBuffer buffer(data.pbData(), ASN1::messageSize(data));
    rtCtxtSetFlag(buffer.getCtxtPtr(), CTX_FLAG_ZERO_COPY);  // all that is read is copied below
    asn1data::ASN1T_BasicOCSPResponse record{};
    ASN1::decodeRecord<BasicResponseTraits>(buffer, record);

    auto decoded = std::make_unique<Impl>();
    const ASN1::CElement whole = ASN1::firstElement(data.pbData(), data.cbData());
    ASN1::CElementReader members(whole);
    decoded->encoded = whole.whole();
    decoded->version = record.tbsResponseData.version;
    decoded->trailingSize = data.cbData() - decoded->encoded.cbData();
    decoded->responderID = responderIdOf(record.tbsResponseData.responderID, members.next());
    decoded->producedAt = ASN1::decodedUtcTime(record.tbsResponseData.producedAt);
    for (const _Asn1RTDListNode* node = record.tbsResponseData.responses.pHead; node != nullptr; node = node->pNext) {
        decoded->responses.push_back(singleResponseOf(*static_cast<const asn1data::ASN1T_SingleResponse*>(node->data)));
    }
    decoded->responseExtensions =
        extensionsOf(record.tbsResponseData.m.responseExtensionsPresent, record.tbsResponseData.responseExtensions);
    ASN1::ASN1T_AlgorithmIdentifier_traits::get(record.signatureAlgorithm, decoded->signatureAlgorithm);
    if (record.m.certsPresent) {
        members.next();  // signatureAlgorithm
        members.next();  // signature
        decoded->certs = certificatesOf(members.next());
    }
    return decoded;
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
