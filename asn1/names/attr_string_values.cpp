#include "asn1/names/attr_string_values.h"

#include "asn1/names/attribute_register.h"
#include "asn1/text/text_conversions.h"

namespace Orvane::ASN1 {

CAttrStringValue::CAttrStringValue(const char* oid, const char* text)
    : CAttrStringValue(oid, towstring(text).c_str()) {}

CAttrStringValue::CAttrStringValue(const char* oid, const wchar_t* text)
    : CAttrValue(oid, CATAVRegister::valueFromStr(oid, text, kStringTypeDefault)) {}

CAttrCommonName::CAttrCommonName(const char* text) : CAttrStringValue("2.5.4.3", text) {}

CAttrSurname::CAttrSurname(const char* text) : CAttrStringValue("2.5.4.4", text) {}

CAttrSerialNumber::CAttrSerialNumber(const char* text) : CAttrStringValue("2.5.4.5", text) {}

CAttrCountry::CAttrCountry(const char* text) : CAttrStringValue("2.5.4.6", text) {}

CAttrLocality::CAttrLocality(const char* text) : CAttrStringValue("2.5.4.7", text) {}

CAttrStateOrProvinceName::CAttrStateOrProvinceName(const char* text) : CAttrStringValue("2.5.4.8", text) {}

CAttrOrganizationName::CAttrOrganizationName(const char* text) : CAttrStringValue("2.5.4.10", text) {}

CAttrOrganizationalUnitName::CAttrOrganizationalUnitName(const char* text) : CAttrStringValue("2.5.4.11", text) {}

CAttrTitle::CAttrTitle(const char* text) : CAttrStringValue("2.5.4.12", text) {}

CAttrGivenName::CAttrGivenName(const char* text) : CAttrStringValue("2.5.4.42", text) {}

CAttrInitials::CAttrInitials(const char* text) : CAttrStringValue("2.5.4.43", text) {}

CAttrPseudonym::CAttrPseudonym(const char* text) : CAttrStringValue("2.5.4.65", text) {}

CAttrEmailAddress::CAttrEmailAddress(const char* text) : CAttrStringValue("1.2.840.113549.1.9.1", text) {}

}  // namespace Orvane::ASN1
