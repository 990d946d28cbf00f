#include "asn1/names/attribute_register.h"

#include <algorithm>
#include <cwchar>
#include <utility>

#include "asn1/text/text_conversions.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace Orvane::ASN1 {

namespace {

constexpr unsigned long kMaxLength = 32768;

const char* orEmpty(const char* text) {
    return text != nullptr ? text : "";
}

const wchar_t* orEmpty(const wchar_t* text) {
    return text != nullptr ? text : L"";
}

}  // namespace

// Defined before the constants, whose constructors append to it, in one file: the order is then certain. Never
// destroyed, since other threads may read names while the process ends.
CATAVRegister::List& CATAVRegister::registered_ = *new List;

const CATAVRegister commonNameAttribute("2.5.4.3", L"CN", kStringTypeUTF8, kMaxLength);
const CATAVRegister countryNameAttribute("2.5.4.6", L"C", kStringTypePrintable, kMaxLength);
const CATAVRegister localityNameAttribute("2.5.4.7", L"L", kStringTypeUTF8, kMaxLength);
const CATAVRegister stateOrProvinceNameAttribute("2.5.4.8", L"ST", kStringTypeUTF8, kMaxLength);
const CATAVRegister emailAddressAttribute("1.2.840.113549.1.9.1", L"E", kStringTypeIA5, kMaxLength);
const CATAVRegister organizationNameAttribute("2.5.4.10", L"O", kStringTypeUTF8, kMaxLength);
const CATAVRegister organizationUnitNameAttribute("2.5.4.11", L"OU", kStringTypeUTF8, kMaxLength);
const CATAVRegister titleAttribute("2.5.4.12", L"T", kStringTypeUTF8, kMaxLength);
const CATAVRegister givenNameAttribute("2.5.4.42", L"GN", kStringTypeUTF8, kMaxLength);
const CATAVRegister initialsAttribute("2.5.4.43", L"I", kStringTypeUTF8, kMaxLength);
const CATAVRegister surnameAttribute("2.5.4.4", L"SN", kStringTypeUTF8, kMaxLength);
const CATAVRegister pseudonymAttribute("2.5.4.65", L"PS", kStringTypeUTF8, kMaxLength);
const CATAVRegister ogrnAttribute("1.2.643.100.1", L"OGRN", kStringTypeUTF8, kMaxLength);
const CATAVRegister ogrnipAttribute("1.2.643.100.5", L"OGRNIP", kStringTypeUTF8, kMaxLength);
const CATAVRegister snilsAttribute("1.2.643.100.3", L"SNILS", kStringTypeUTF8, kMaxLength);
const CATAVRegister innleAttribute("1.2.643.100.4", L"INNLE", kStringTypeUTF8, kMaxLength);
const CATAVRegister innAttribute("1.2.643.3.131.1.1", L"INN", kStringTypeUTF8, kMaxLength);
const CATAVRegister streetAddressAttribute("2.5.4.9", L"STREET", kStringTypeUTF8, kMaxLength);
const CATAVRegister domainComponentAttribute("0.9.2342.19200300.100.1.25", L"DC", kStringTypeIA5, kMaxLength);
const CATAVRegister unstructuredNameAttribute("1.2.840.113549.1.9.2", L"UnstructuredName", kStringTypeUTF8, kMaxLength);
const CATAVRegister PostalCodeAttribute("2.5.4.17", L"PostalCode", kStringTypeUTF8, kMaxLength);
const CATAVRegister serialNumberAttribute("2.5.4.5", L"SERIALNUMBER", kStringTypePrintable, kMaxLength);

CATAVRegister::CATAVRegister(const char* oid, const wchar_t* name, StringType type, unsigned long maxLength)
    : oid_(orEmpty(oid)), name_(orEmpty(name)), type_(type), maxLength_(maxLength) {
    registered_.push_back(*this);
}

CATAVRegister::List::const_iterator CATAVRegister::find(const char* oid) {
    return std::find_if(registered_.cbegin(), registered_.cend(),
                        [oid](const CATAVRegister& entry) { return entry.oid_ == orEmpty(oid); });
}

CATAVRegister::List::const_iterator CATAVRegister::find(const wchar_t* name) {
    return std::find_if(registered_.cbegin(), registered_.cend(),
                        [name](const CATAVRegister& entry) { return entry.name_ == orEmpty(name); });
}

CWStringProxy CATAVRegister::typeToStr(const char* oid) {
    const auto known = find(oid);
    return known != registered_.cend() ? CWStringProxy(known->name_.c_str()) : CWStringProxy(towstring(oid));
}

CStringProxy CATAVRegister::typeFromStr(const wchar_t* name) {
    const auto known = find(name);
    return known != registered_.cend() ? CStringProxy(known->oid_.c_str()) : CStringProxy(tostring(name));
}

CWStringProxy CATAVRegister::valueToStr(const char* oid, const CBlob& value) {
    if (find(oid) != registered_.cend()) {
        return decodeCharString(value);
    }
    return CWStringProxy(L"#" + towstring(value.writeToHexString(0).c_str()));
}

CBlob CATAVRegister::valueFromStr(const char* oid, const wchar_t* text, StringType type) {
    const auto known = find(oid);
    if (known == registered_.cend()) {
        const std::wstring hexadecimal = std::wstring(orEmpty(text)).substr(1);
        CBlob value;
        value.readFromHexString(tostring(hexadecimal.c_str()).c_str());
        return value;
    }
    if (std::wcslen(orEmpty(text)) > known->maxLength_) {
        ATL::AtlThrowImpl(status::kInvalidArgument);
    }
    return encodeCharString(text, type != kStringTypeDefault ? type : known->type_);
}

CAttrValue CATAVRegister::makeATAV(const wchar_t* type, const wchar_t* value, StringType stringType) {
    const CStringProxy oid = typeFromStr(type);
    return {oid.c_str(), valueFromStr(oid.c_str(), value, stringType)};
}

CAttrValue CATAVRegister::makeATAV(const wchar_t* text, StringType stringType) {
    const wchar_t* equals = std::wcschr(orEmpty(text), L'=');
    if (equals == nullptr) {
        ATL::AtlThrowImpl(status::kInvalidArgument);
    }
    return makeATAV(std::wstring(text, equals).c_str(), equals + 1, stringType);
}

}  // namespace Orvane::ASN1
