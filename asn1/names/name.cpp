#include "asn1/names/name.h"

#include <string>
#include <string_view>

#include "asn1/names/attribute_register.h"

namespace Orvane::ASN1 {

namespace {

// Calls `take` with each piece of the text between the separators, from first to last. An empty text is one empty
// piece.
template <class Take>
void split(const wchar_t* text, wchar_t separator, Take take) {
    std::wstring_view rest(text != nullptr ? text : L"");
    for (;;) {
        const std::size_t end = rest.find(separator);
        take(std::wstring(rest.substr(0, end)));
        if (end == std::wstring_view::npos) {
            return;
        }
        rest.remove_prefix(end + 1);
    }
}

// The texts of all elements, in list order, with the separator between them.
template <class List>
CWStringProxy join(const List& list, wchar_t separator) {
    std::wstring text;
    bool first = true;
    for (const auto& element : list) {
        if (!first) {
            text.push_back(separator);
        }
        first = false;
        text += element.toString().c_str();
    }
    return CWStringProxy(std::move(text));
}

constexpr wchar_t kBetweenRdns = L',';
constexpr wchar_t kBetweenElements = L'+';

}  // namespace

CAttributeTypeAndValue::CAttributeTypeAndValue() = default;

CAttributeTypeAndValue::CAttributeTypeAndValue(const CAttrValue& value) : CAttrValue(value) {}

CAttributeTypeAndValue::CAttributeTypeAndValue(const char* oid, const CBlob& value) : CAttrValue(oid, value) {}

CAttributeTypeAndValue::CAttributeTypeAndValue(const wchar_t* type, const wchar_t* value, StringType stringType)
    : CAttrValue(CATAVRegister::makeATAV(type, value, stringType)) {}

CAttributeTypeAndValue::CAttributeTypeAndValue(const wchar_t* text, StringType stringType)
    : CAttrValue(CATAVRegister::makeATAV(text, stringType)) {}

void CAttributeTypeAndValue::put_type(const char* oid) {
    putOid(oid);
}

void CAttributeTypeAndValue::put_value(const CBlob& value) {
    this->value() = value;
}

CWStringProxy CAttributeTypeAndValue::get_type_str() const {
    return CATAVRegister::typeToStr(get_oid());
}

CWStringProxy CAttributeTypeAndValue::get_value_str() const {
    return CATAVRegister::valueToStr(get_oid(), CAttrValue::get_value());
}

void CAttributeTypeAndValue::put_type_str(const wchar_t* type) {
    putOid(CATAVRegister::typeFromStr(type).c_str());
}

void CAttributeTypeAndValue::put_value_str(const wchar_t* value, StringType stringType) {
    this->value() = CATAVRegister::valueFromStr(get_oid(), value, stringType);
}

CWStringProxy CAttributeTypeAndValue::toString() const {
    std::wstring text = get_type_str().c_str();
    text.push_back(L'=');
    text += get_value_str().c_str();
    return CWStringProxy(std::move(text));
}

void CAttributeTypeAndValue::fromString(const wchar_t* text, StringType stringType) {
    CAttrValue::operator=(CATAVRegister::makeATAV(text, stringType));
}

CRelativeDistinguishedName::CRelativeDistinguishedName() = default;

CRelativeDistinguishedName::CRelativeDistinguishedName(const wchar_t* text) {
    fromString(text);
}

CWStringProxy CRelativeDistinguishedName::toString() const {
    return join(*this, kBetweenElements);
}

void CRelativeDistinguishedName::fromString(const wchar_t* text) {
    split(text, kBetweenElements,
          [this](const std::wstring& piece) { emplace_back(piece.c_str(), kStringTypeDefault); });
}

CName::CName() = default;

CName::CName(const wchar_t* text) {
    fromString(text);
}

CWStringProxy CName::toString() const {
    return join(*this, kBetweenRdns);
}

void CName::fromString(const wchar_t* text) {
    split(text, kBetweenRdns, [this](const std::wstring& piece) { emplace_back(piece.c_str()); });
}

}  // namespace Orvane::ASN1
