#include "asn1/attributes/attribute.h"

#include <cstring>
#include <string>

#include "asn1/attributes/attribute_traits.h"
#include "asn1/codec/find_oid.h"
#include "asn1/text/object_id_text.h"
#include "asn1/text/primitive_traits.h"

namespace Orvane::ASN1 {

struct CAttributeImpl {
    std::list<CAttrValue> values;
    std::string oid;
};

namespace {

// A value of an attribute is on the wire without its identifier.
struct ValueTraits {
    static void set(ASN1CTXT* ctxt, Asn1TObject& record, const CAttrValue& value) {
        Asn1TObject_traits::set(ctxt, record, value.get_value());
    }
};

using ValuesTraits = ASN1TSeqOfList_traits<Asn1TObject, ValueTraits, CAttrValue, CAttribute>;

}  // namespace

CAttribute::CAttribute() : CAttribute(nullptr) {}

CAttribute::CAttribute(const char* oid) : impl_(std::make_unique<CAttributeImpl>()) {
    impl_->oid = oid != nullptr ? oid : "";
}

CAttribute::CAttribute(const CAttribute& other) = default;

CAttribute& CAttribute::operator=(const CAttribute& other) = default;

CAttribute& CAttribute::operator=(CAttribute&& other) noexcept {
    impl_.swap(other.impl_);
    return *this;
}

CAttribute::~CAttribute() = default;

const char* CAttribute::get_oid() const {
    return impl_->oid.c_str();
}

CAttribute::iterator CAttribute::begin() {
    return impl_->values.begin();
}

CAttribute::iterator CAttribute::end() {
    return impl_->values.end();
}

CAttribute::const_iterator CAttribute::begin() const {
    return impl_->values.cbegin();
}

CAttribute::const_iterator CAttribute::end() const {
    return impl_->values.cend();
}

std::size_t CAttribute::size() const {
    return impl_->values.size();
}

void CAttribute::add(const CBlob& value) {
    impl_->values.emplace_back(get_oid(), value);
}

void CAttribute::add(const CAttrValue& value) {
    impl_->values.push_back(value);
}

void CAttribute::erase(iterator position) {
    impl_->values.erase(position);
}

CBlob CAttribute::encode() const {
    return asn1Encode<ASN1T_Attribute_traits>(*this);
}

void CAttribute::decode(const CBlob& data) {
    asn1Decode<ASN1T_Attribute_traits>(data, *this);
}

bool CAttribute::operator==(const CAttribute& other) const {
    return impl_->oid == other.impl_->oid && impl_->values == other.impl_->values;
}

CAttributes::iterator CAttributes::find(const char* oid) {
    return findOid(begin(), end(), oid);
}

CAttributes::const_iterator CAttributes::find(const char* oid) const {
    return findOid(begin(), end(), oid);
}

void CAttributes::erase(const char* oid) {
    const iterator present = find(oid);
    if (present != end()) {
        erase(present);
    }
}

CBlob CAttributes::encode() const {
    return asn1Encode<ASN1T_Attributes_traits>(*this);
}

void CAttributes::decode(const CBlob& data) {
    asn1Decode<ASN1T_Attributes_traits>(data, *this);
}

void ASN1T_Attribute_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CAttribute& value) {
    ASN1TObjId_traits::set(ctxt, record.type, value.get_oid());
    ValuesTraits::set(ctxt, record.values, value);
    resolveOpenType<asn1data::asn1DTC_Attribute>(ctxt, record);
}

void ASN1T_Attribute_traits::get(const ASN1_T& record, CAttribute& value) {
    value = CAttribute(toOID(record.type).c_str());
    for (const _Asn1RTDListNode* node = record.values.pHead; node != nullptr; node = node->pNext) {
        value.add(valueOf<Asn1TObject_traits, CBlob>(*static_cast<const Asn1TObject*>(node->data)));
    }
}

}  // namespace Orvane::ASN1
