#include "asn1/names/general_name.h"

#include <string>

#include "asn1/codec/owned_ptr.h"
#include "asn1/names/general_name_traits.h"
#include "asn1/names/name.h"

namespace Orvane::ASN1 {

namespace {

// A null text counts as empty.
void putText(std::unique_ptr<CGeneralNameImpl>& holder, unsigned int type, const wchar_t* text) {
    const std::wstring value(text != nullptr ? text : L"");
    putValue(holder, type, &value);
}

const wchar_t* getText(const std::unique_ptr<CGeneralNameImpl>& holder, unsigned int type) {
    const auto* value = heldValue<std::wstring>(holder, type);
    return value != nullptr ? value->c_str() : nullptr;
}

// The text of the alternative held, if it is one of the four text alternatives; else null.
const wchar_t* heldText(const std::unique_ptr<CGeneralNameImpl>& holder) {
    switch (heldType(holder)) {
        case CGeneralName::kRfc822Name:
        case CGeneralName::kDNSName:
        case CGeneralName::kUniformResourceIdentifier:
        case CGeneralName::kRegisteredID:
            return getText(holder, heldType(holder));
        default:
            return nullptr;
    }
}

const wchar_t* label(unsigned int type) {
    switch (type) {
        case CGeneralName::kRfc822Name:
            return L"rfc822Name: ";
        case CGeneralName::kDNSName:
            return L"dNSName: ";
        case CGeneralName::kDirectoryName:
            return L"directoryName: ";
        case CGeneralName::kUniformResourceIdentifier:
            return L"uniformResourceIdentifier: ";
        case CGeneralName::kIPAddress:
            return L"iPAddress: (to string is not implemented)";
        case CGeneralName::kRegisteredID:
            return L"registeredID: ";
        default:
            return L"";
    }
}

}  // namespace

const ChoiceValueTraits* CGeneralNameImpl::findTraits(unsigned int type) const {
    switch (type) {
        case CGeneralName::kRfc822Name:
            return &ChoiceValueTraitsT<std::wstring, CGeneralName::kRfc822Name>::instance;
        case CGeneralName::kDNSName:
            return &ChoiceValueTraitsT<std::wstring, CGeneralName::kDNSName>::instance;
        case CGeneralName::kDirectoryName:
            return &ChoiceValueTraitsT<CBlob, CGeneralName::kDirectoryName>::instance;
        case CGeneralName::kUniformResourceIdentifier:
            return &ChoiceValueTraitsT<std::wstring, CGeneralName::kUniformResourceIdentifier>::instance;
        case CGeneralName::kIPAddress:
            return &ChoiceValueTraitsT<CBlob, CGeneralName::kIPAddress>::instance;
        case CGeneralName::kRegisteredID:
            return &ChoiceValueTraitsT<std::wstring, CGeneralName::kRegisteredID>::instance;
        default:
            return &NoChoiceValue::instance;
    }
}

CGeneralName::CGeneralName() = default;

CGeneralName::CGeneralName(const CGeneralName& other) {
    copyHolder(impl_, other.impl_);
}

CGeneralName::CGeneralName(CGeneralName&& other) noexcept = default;

CGeneralName& CGeneralName::operator=(const CGeneralName& other) {
    copyHolder(impl_, other.impl_);
    return *this;
}

CGeneralName& CGeneralName::operator=(CGeneralName&& other) noexcept = default;

CGeneralName::~CGeneralName() = default;

void CGeneralName::clear() {
    impl_.reset();
}

unsigned int CGeneralName::get_type() const {
    return heldType(impl_);
}

const wchar_t* CGeneralName::get_rfc822Name() const {
    return getText(impl_, kRfc822Name);
}

const wchar_t* CGeneralName::get_dNSName() const {
    return getText(impl_, kDNSName);
}

const wchar_t* CGeneralName::get_uniformResourceIdentifier() const {
    return getText(impl_, kUniformResourceIdentifier);
}

const wchar_t* CGeneralName::get_registeredID() const {
    return getText(impl_, kRegisteredID);
}

const CBlob* CGeneralName::get_directoryName() const {
    return heldValue<CBlob>(impl_, kDirectoryName);
}

const CBlob* CGeneralName::get_iPAddress() const {
    return heldValue<CBlob>(impl_, kIPAddress);
}

void CGeneralName::put_rfc822Name(const wchar_t* text) {
    putText(impl_, kRfc822Name, text);
}

void CGeneralName::put_dNSName(const wchar_t* text) {
    putText(impl_, kDNSName, text);
}

void CGeneralName::put_uniformResourceIdentifier(const wchar_t* text) {
    putText(impl_, kUniformResourceIdentifier, text);
}

void CGeneralName::put_registeredID(const wchar_t* text) {
    putText(impl_, kRegisteredID, text);
}

void CGeneralName::put_directoryName(const CBlob& name) {
    putValue(impl_, kDirectoryName, &name);
}

void CGeneralName::put_iPAddress(const CBlob& address) {
    putValue(impl_, kIPAddress, &address);
}

CBlob CGeneralName::encode() const {
    return asn1Encode<ASN1T_GeneralName_traits>(*this);
}

void CGeneralName::decode(const CBlob& data) {
    asn1Decode<ASN1T_GeneralName_traits>(data, *this);
}

CWStringProxy CGeneralName::toString() const {
    std::wstring text = label(get_type());
    if (const wchar_t* value = heldText(impl_); value != nullptr && *value != L'\0') {
        // Just the first character: displays and logs were laid out for this short form.
        text.push_back(*value);
    } else if (const CBlob* directoryName = get_directoryName()) {
        CName name;
        name.decode(*directoryName);
        text += name.toString().c_str();
    }
    return CWStringProxy(std::move(text));
}

bool CGeneralName::operator==(const CGeneralName& other) const {
    if (get_type() != other.get_type()) {
        return false;
    }
    if (const wchar_t* text = heldText(impl_)) {
        // In keeping with toString: the rest of the text is ignored, and an empty one counts as the character 0.
        return *text == *heldText(other.impl_);
    }
    return equalOrBothAbsent(get_directoryName(), other.get_directoryName()) &&
           equalOrBothAbsent(get_iPAddress(), other.get_iPAddress());
}

CBlob CGeneralNames::encode() const {
    return asn1Encode<ASN1T_GeneralNames_traits>(*this);
}

void CGeneralNames::decode(const CBlob& data) {
    asn1Decode<ASN1T_GeneralNames_traits>(data, *this);
}

}  // namespace Orvane::ASN1
