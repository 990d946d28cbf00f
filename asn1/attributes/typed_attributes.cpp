#include "asn1/attributes/typed_attributes.h"

#include "asn1/codec/octet_string.h"
#include "asn1/text/primitive_traits.h"

namespace Orvane::ASN1 {

namespace {

constexpr const char* kSigningTimeOid = "1.2.840.113549.1.9.5";
constexpr const char* kContentTypeOid = "1.2.840.113549.1.9.3";
constexpr const char* kMessageDigestOid = "1.2.840.113549.1.9.4";

}  // namespace

CAttrSigningTime::CAttrSigningTime(const CDateTime& time)
    : CAttrValue(kSigningTimeOid), time_(std::make_unique<CTimeChoice>(time)) {
    encode();
}

CAttrSigningTime::CAttrSigningTime(const CBlob& value)
    : CAttrValue(kSigningTimeOid, value), time_(std::make_unique<CTimeChoice>()) {
    decode();
}

void CAttrSigningTime::put_time(const CDateTime& time) {
    time_->put_time(time);
    encode();
}

void CAttrSigningTime::encode() {
    value() = time_->encode();
}

void CAttrSigningTime::decode() {
    time_->decode(get_value());
}

CAttrContentType::CAttrContentType() : CAttrValue(kContentTypeOid), contentType_(nullptr) {}

CAttrContentType::CAttrContentType(const char* contentType) : CAttrValue(kContentTypeOid), contentType_(contentType) {
    encode();
}

CAttrContentType::CAttrContentType(const CBlob& value) : CAttrValue(kContentTypeOid, value), contentType_(nullptr) {
    decode();
}

void CAttrContentType::put_contentType(const char* contentType) {
    contentType_ = CStringProxy(contentType);
    encode();
}

void CAttrContentType::encode() {
    value() = asn1Encode<ASN1TObjId_traits>(contentType_.c_str());
}

void CAttrContentType::decode() {
    asn1Decode<ASN1TObjId_traits>(get_value(), contentType_);
}

CAttrMessageDigest::CAttrMessageDigest() : CAttrValue(kMessageDigestOid) {}

CAttrMessageDigest::CAttrMessageDigest(const CBlob& value) : CAttrValue(kMessageDigestOid, value) {
    decode();
}

void CAttrMessageDigest::put_messageDigest(const CBlob& messageDigest) {
    messageDigest_ = messageDigest;
    encode();
}

void CAttrMessageDigest::encode() {
    value() = toOctetString(messageDigest_);
}

void CAttrMessageDigest::decode() {
    messageDigest_ = fromOctetString(get_value());
}

}  // namespace Orvane::ASN1
