#include "asn1/extensions/extensions.h"

#include <cstring>
#include <utility>

#include "asn1/codec/find_oid.h"
#include "asn1/extensions/extensions_traits.h"
#include "asn1/text/object_id_text.h"
#include "asn1/text/primitive_traits.h"

namespace Orvane::ASN1 {

CExtValue::CExtValue() : CExtValue(nullptr) {}

CExtValue::CExtValue(const char* oid) : oid_(withinFrame([oid] { return CStringProxy(oid); })) {}

CExtValue::CExtValue(const char* oid, const CBlob& value)
    : oid_(withinFrame([oid] { return CStringProxy(oid); })), value_(withinFrame([&] { return CBlob(value); })) {}

CExtension::CExtension() = default;

CExtension::CExtension(const CExtValue& value, bool critical) : CExtValue(value), critical_(critical) {}

CExtension::CExtension(CExtValue&& value, bool critical) noexcept : CExtValue(std::move(value)), critical_(critical) {}

CBlob CExtension::encode() const {
    return asn1Encode<ASN1T_Extension_traits>(*this);
}

void CExtension::decode(const CBlob& data) {
    asn1Decode<ASN1T_Extension_traits>(data, *this);
}

bool CExtension::operator==(const CExtension& other) const {
    return critical_ == other.critical_ && std::strcmp(get_oid(), other.get_oid()) == 0 &&
           get_value() == other.get_value();
}

CExtensions::iterator CExtensions::find(const char* oid) {
    return findOid(begin(), end(), oid);
}

CExtensions::const_iterator CExtensions::find(const char* oid) const {
    return findOid(begin(), end(), oid);
}

void CExtensions::insert(const CExtension& extension) {
    const iterator present = find(extension.get_oid());
    if (present != end()) {
        *present = extension;
    } else {
        push_back(extension);
    }
}

void CExtensions::erase(const char* oid) {
    const iterator present = find(oid);
    if (present != end()) {
        erase(present);
    }
}

CBlob CExtensions::encode() const {
    return asn1Encode<ASN1T_Extensions_traits>(*this);
}

void CExtensions::decode(const CBlob& data) {
    asn1Decode<ASN1T_Extensions_traits>(data, *this);
}

void ASN1T_Extension_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CExtension& value) {
    ASN1TObjId_traits::set(ctxt, record.extnId, value.get_extnID());
    record.critical = value.get_critical() ? 1 : 0;
    ASN1TDynOctStr_traits::set(ctxt, record.extnValue, value.get_extnValue());
    resolveOpenType<asn1data::asn1DTC_Extension>(ctxt, record);
}

void ASN1T_Extension_traits::get(const ASN1_T& record, CExtension& value) {
    CExtValue content(toOID(record.extnId).c_str());
    ASN1TDynOctStr_traits::get(record.extnValue, content.value());
    value = CExtension(std::move(content), record.critical != 0);
}

}  // namespace Orvane::ASN1
