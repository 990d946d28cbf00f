#include "asn1/names/attr_value.h"

#include <cstring>

namespace Orvane::ASN1 {

CAttrValue::CAttrValue() : oid_(nullptr) {}

CAttrValue::CAttrValue(const char* oid) : oid_(oid) {}

CAttrValue::CAttrValue(const char* oid, const CBlob& value) : oid_(oid), value_(value) {}

void CAttrValue::putOid(const char* oid) {
    oid_ = CStringProxy(oid);
}

bool CAttrValue::operator==(const CAttrValue& other) const {
    return std::strcmp(get_oid(), other.get_oid()) == 0 && value_ == other.value_;
}

}  // namespace Orvane::ASN1
