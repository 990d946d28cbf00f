#include "asn1/attributes/content_info.h"

#include "asn1/attributes/content_info_traits.h"
#include "asn1/text/object_id_text.h"
#include "asn1/text/primitive_traits.h"

namespace Orvane::ASN1 {

CContentInfo::CContentInfo() : contentType_(nullptr) {}

CContentInfo::CContentInfo(const char* contentType, const CBlob& content)
    : contentType_(contentType), content_(content) {}

void CContentInfo::put_contentType(const char* contentType) {
    contentType_ = CStringProxy(contentType);
}

void CContentInfo::put_content(const CBlob& content) {
    content_ = content;
}

CBlob CContentInfo::encode() const {
    return asn1Encode<ASN1T_ContentInfo_traits>(*this);
}

void CContentInfo::decode(const CBlob& data) {
    asn1Decode<ASN1T_ContentInfo_traits>(data, *this);
}

void ASN1T_ContentInfo_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CContentInfo& value) {
    ASN1TObjId_traits::set(ctxt, record.contentType, value.get_contentType());
    ASN1TOpenType_traits::set(ctxt, record.content, value.get_content());
    resolveOpenType<asn1data::asn1DTC_ContentInfo>(ctxt, record);
}

void ASN1T_ContentInfo_traits::get(const ASN1_T& record, CContentInfo& value) {
    value.put_contentType(toOID(record.contentType).c_str());
    value.put_content(valueOf<ASN1TOpenType_traits, CBlob>(record.content));
}

void ASN1T_ContentInfo_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CBlob& value) {
    asn1DecodeT<ASN1T_ContentInfo_traits>(value, ctxt, record);
}

void ASN1T_ContentInfo_traits::get(const ASN1_T& record, CBlob& value) {
    value = asn1EncodeT<ASN1T_ContentInfo_traits>(record);
}

}  // namespace Orvane::ASN1
