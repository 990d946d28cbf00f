#include "asn1/status/info_type_and_value.h"

#include <algorithm>
#include <cstring>

#include "asn1/codec/list_traits.h"
#include "asn1/status/info_type_and_value_traits.h"
#include "asn1/text/object_id_text.h"
#include "asn1/text/primitive_traits.h"

namespace Orvane::ASN1 {

namespace {

struct ItemTraits {
    static void set(ASN1CTXT* ctxt, asn1data::ASN1T_InfoTypeAndValue& record, const CInfoTypeAndValue& value) {
        ASN1TObjId_traits::set(ctxt, record.infoType, value.get_infoType());
        if (value.get_infoValue().cbData() != 0) {
            record.m.infoValuePresent = 1;
            ASN1TOpenType_traits::set(ctxt, record.infoValue, value.get_infoValue());
            resolveOpenType<asn1data::asn1DTC_InfoTypeAndValue>(ctxt, record);
        }
    }

    static void get(const asn1data::ASN1T_InfoTypeAndValue& record, CInfoTypeAndValue& value) {
        CBlob infoValue;
        if (record.m.infoValuePresent != 0) {
            ASN1TOpenType_traits::get(record.infoValue, infoValue);
        }
        value = CInfoTypeAndValue(toOID(record.infoType).c_str(), infoValue);
    }
};

using ItemsTraits =
    ASN1TSeqOfList_traits<asn1data::ASN1T_InfoTypeAndValue, ItemTraits, CInfoTypeAndValue, CInfoTypeAndValueList>;

// Items are the bodies of general messages.
struct MessageTraits : RecordTraits<asn1data::ASN1C_GenMsgContent, asn1data::asn1Copy_GenMsgContent> {
    static void get(const ASN1_T& record, CInfoTypeAndValueList& values) { ASN1TavList_Parse(record, values); }
};

}  // namespace

CInfoTypeAndValue::CInfoTypeAndValue() : infoType_(nullptr) {}

CInfoTypeAndValue::CInfoTypeAndValue(const char* infoType) : infoType_(infoType) {}

CInfoTypeAndValue::CInfoTypeAndValue(const char* infoType, const CBlob& infoValue)
    : infoType_(infoType), infoValue_(infoValue) {}

bool CInfoTypeAndValue::operator==(const CInfoTypeAndValue& other) const {
    return std::strcmp(get_infoType(), other.get_infoType()) == 0 && infoValue_ == other.infoValue_;
}

findByOid::findByOid(const char* oid) : oid_(oid != nullptr ? oid : "") {}

CInfoTypeAndValueList::iterator CInfoTypeAndValueList::find(const char* oid) {
    return std::find_if(begin(), end(), findByOid(oid));
}

CInfoTypeAndValueList::const_iterator CInfoTypeAndValueList::find(const char* oid) const {
    return std::find_if(begin(), end(), findByOid(oid));
}

void CInfoTypeAndValueList::insert(const CInfoTypeAndValue& item) {
    const iterator present = find(item.get_infoType());
    if (present != end()) {
        *present = item;
    } else {
        push_back(item);
    }
}

void CInfoTypeAndValueList::remove(const char* oid) {
    const iterator present = find(oid);
    if (present != end()) {
        erase(present);
    }
}

CBlob CInfoTypeAndValueList::encode() const {
    return withinFrame([&] {
        ASN1BEREncodeBuffer buffer;
        MessageTraits::ASN1_T record;
        ASN1TavList_Encode(*this, record, buffer);
        return encodeRecord<MessageTraits>(buffer, record);
    });
}

void CInfoTypeAndValueList::decode(const CBlob& data) {
    asn1Decode<MessageTraits>(data, *this);
}

void ASN1TavList_Encode(const CInfoTypeAndValueList& values, ASN1TSeqOfList& list, ASN1MessageBufferIF& buffer) {
    ItemsTraits::set(buffer.getCtxtPtr(), list, values);
}

void ASN1TavList_Parse(const ASN1TSeqOfList& list, CInfoTypeAndValueList& values) {
    ItemsTraits::get(list, values);
}

}  // namespace Orvane::ASN1
