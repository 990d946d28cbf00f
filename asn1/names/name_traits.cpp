#include "asn1/names/name_traits.h"

#include "asn1/text/object_id_text.h"
#include "asn1/text/primitive_traits.h"

namespace Orvane::ASN1 {

namespace {

constexpr unsigned int kRdnSequence = 1;

using RDNSequenceTraits =
    ASN1TSeqOfList_traits<asn1data::ASN1T_RelativeDistinguishedName, ASN1T_RelativeDistinguishedName_traits,
                          CRelativeDistinguishedName, CRDNSequence>;

}  // namespace

CBlob CAttributeTypeAndValue::encode() const {
    return asn1Encode<ASN1T_AttributeTypeAndValue_traits>(*this);
}

void CAttributeTypeAndValue::decode(const CBlob& data) {
    asn1Decode<ASN1T_AttributeTypeAndValue_traits>(data, *this);
}

CBlob CRelativeDistinguishedName::encode() const {
    return asn1Encode<ASN1T_RelativeDistinguishedName_traits>(*this);
}

void CRelativeDistinguishedName::decode(const CBlob& data) {
    asn1Decode<ASN1T_RelativeDistinguishedName_traits>(data, *this);
}

CBlob CName::encode() const {
    return asn1Encode<ASN1T_Name_traits>(*this);
}

void CName::decode(const CBlob& data) {
    asn1Decode<ASN1T_Name_traits>(data, *this);
}

void ASN1T_AttributeTypeAndValue_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CAttributeTypeAndValue& value) {
    ASN1TObjId_traits::set(ctxt, record.type, value.get_type());
    if (value.CAttrValue::get_value().cbData() == 0) {
        ATL::AtlThrowImpl(status::kAsn1Error);  // the runtime would write nothing in its place
    }
    ASN1TOpenType_traits::set(ctxt, record.value, value.CAttrValue::get_value());
    resolveOpenType<asn1data::asn1DTC_AttributeTypeAndValue>(ctxt, record);
}

void ASN1T_AttributeTypeAndValue_traits::get(const ASN1_T& record, CAttributeTypeAndValue& value) {
    value.put_type(toOID(record.type).c_str());
    ASN1TOpenType_traits::get(record.value, value.value());
}

void ASN1T_Name_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CName& value) {
    record.t = kRdnSequence;
    record.u.rdnSequence = allocateRecord<asn1data::ASN1T_RDNSequence>(ctxt);
    RDNSequenceTraits::set(ctxt, *record.u.rdnSequence, value);
}

void ASN1T_Name_traits::get(const ASN1_T& record, CName& value) {
    RDNSequenceTraits::get(*record.u.rdnSequence, value);
}

void ASN1T_Name_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CBlob& value) {
    asn1DecodeT<ASN1T_Name_traits>(value, ctxt, record);
}

void ASN1T_Name_traits::get(const ASN1_T& record, CBlob& value) {
    value = asn1EncodeT<ASN1T_Name_traits>(record);
}

}  // namespace Orvane::ASN1
