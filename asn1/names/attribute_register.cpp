#include "asn1/names/attribute_register.h"

#include <algorithm>
#include <cwchar>
#include <iterator>
#include <string>

#include "asn1/text/text_conversions.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace Orvane::ASN1 {

namespace {

const char* orEmpty(const char* text) {
    return text != nullptr ? text : "";
}

const wchar_t* orEmpty(const wchar_t* text) {
    return text != nullptr ? text : L"";
}

}  // namespace

struct KnownAttribute {
    static constexpr CATAVRegister with(const char* oid, const wchar_t* name, StringType type = kStringTypeUTF8) {
        return {oid, name, type};
    }
};

// Made by the compiler, as is the list: when the library is loaded, nothing can report exhausted memory.
constexpr CATAVRegister commonNameAttribute = KnownAttribute::with("2.5.4.3", L"CN");
constexpr CATAVRegister countryNameAttribute = KnownAttribute::with("2.5.4.6", L"C", kStringTypePrintable);
constexpr CATAVRegister localityNameAttribute = KnownAttribute::with("2.5.4.7", L"L");
constexpr CATAVRegister stateOrProvinceNameAttribute = KnownAttribute::with("2.5.4.8", L"ST");
constexpr CATAVRegister emailAddressAttribute = KnownAttribute::with("1.2.840.113549.1.9.1", L"E", kStringTypeIA5);
constexpr CATAVRegister organizationNameAttribute = KnownAttribute::with("2.5.4.10", L"O");
constexpr CATAVRegister organizationUnitNameAttribute = KnownAttribute::with("2.5.4.11", L"OU");
constexpr CATAVRegister titleAttribute = KnownAttribute::with("2.5.4.12", L"T");
constexpr CATAVRegister givenNameAttribute = KnownAttribute::with("2.5.4.42", L"GN");
constexpr CATAVRegister initialsAttribute = KnownAttribute::with("2.5.4.43", L"I");
constexpr CATAVRegister surnameAttribute = KnownAttribute::with("2.5.4.4", L"SN");
constexpr CATAVRegister pseudonymAttribute = KnownAttribute::with("2.5.4.65", L"PS");
constexpr CATAVRegister ogrnAttribute = KnownAttribute::with("1.2.643.100.1", L"OGRN");
constexpr CATAVRegister ogrnipAttribute = KnownAttribute::with("1.2.643.100.5", L"OGRNIP");
constexpr CATAVRegister snilsAttribute = KnownAttribute::with("1.2.643.100.3", L"SNILS");
constexpr CATAVRegister innleAttribute = KnownAttribute::with("1.2.643.100.4", L"INNLE");
constexpr CATAVRegister innAttribute = KnownAttribute::with("1.2.643.3.131.1.1", L"INN");
constexpr CATAVRegister streetAddressAttribute = KnownAttribute::with("2.5.4.9", L"STREET");
constexpr CATAVRegister domainComponentAttribute =
    KnownAttribute::with("0.9.2342.19200300.100.1.25", L"DC", kStringTypeIA5);
constexpr CATAVRegister unstructuredNameAttribute = KnownAttribute::with("1.2.840.113549.1.9.2", L"UnstructuredName");
constexpr CATAVRegister PostalCodeAttribute = KnownAttribute::with("2.5.4.17", L"PostalCode");
constexpr CATAVRegister serialNumberAttribute = KnownAttribute::with("2.5.4.5", L"SERIALNUMBER", kStringTypePrintable);

// Copies of the constants, each with a pointer to the next one.
struct CATAVRegister::Known {
    constexpr Known() {
        for (std::size_t i = 1; i < std::size(entries); ++i) {
            entries[i - 1].next_ = &entries[i];
        }
    }

    CATAVRegister entries[22] = {commonNameAttribute,
                                 countryNameAttribute,
                                 localityNameAttribute,
                                 stateOrProvinceNameAttribute,
                                 emailAddressAttribute,
                                 organizationNameAttribute,
                                 organizationUnitNameAttribute,
                                 titleAttribute,
                                 givenNameAttribute,
                                 initialsAttribute,
                                 surnameAttribute,
                                 pseudonymAttribute,
                                 ogrnAttribute,
                                 ogrnipAttribute,
                                 snilsAttribute,
                                 innleAttribute,
                                 innAttribute,
                                 streetAddressAttribute,
                                 domainComponentAttribute,
                                 unstructuredNameAttribute,
                                 PostalCodeAttribute,
                                 serialNumberAttribute};
};

// Never destroyed, since other threads may read names while the process ends.
constinit CATAVRegister::Known CATAVRegister::known_;
constinit CATAVRegister* CATAVRegister::last_ = std::end(known_.entries) - 1;

// An entry with its texts.
struct CATAVRegister::Added {
    Added(const char* oidText, const wchar_t* nameText, const CATAVRegister& fields)
        : oid(orEmpty(oidText)), name(orEmpty(nameText)), entry(fields) {
        entry.oid_ = oid;
        entry.name_ = name;
    }

    const std::string oid;
    const std::wstring name;
    CATAVRegister entry;
};

CATAVRegister::CATAVRegister(const char* oid, const wchar_t* name, StringType type, unsigned long maxLength)
    : type_(type), maxLength_(maxLength) {
    auto* const added = new Added(oid, name, *this);
    oid_ = added->oid;
    name_ = added->name;
    last_->next_ = &added->entry;
    last_ = &added->entry;
}

CATAVRegister::const_iterator CATAVRegister::first() {
    return const_iterator(known_.entries);
}

CATAVRegister::const_iterator CATAVRegister::find(const char* oid) {
    return std::find_if(
        List::begin(), List::end(),
        [text = std::string_view(orEmpty(oid))](const CATAVRegister& entry) { return entry.oid_ == text; });
}

CATAVRegister::const_iterator CATAVRegister::find(const wchar_t* name) {
    return std::find_if(
        List::begin(), List::end(),
        [text = std::wstring_view(orEmpty(name))](const CATAVRegister& entry) { return entry.name_ == text; });
}

CWStringProxy CATAVRegister::typeToStr(const char* oid) {
    const auto known = find(oid);
    return known != List::end() ? CWStringProxy(known->name_.data()) : CWStringProxy(towstring(oid));
}

CStringProxy CATAVRegister::typeFromStr(const wchar_t* name) {
    const auto known = find(name);
    return known != List::end() ? CStringProxy(known->oid_.data()) : CStringProxy(tostring(name));
}

CWStringProxy CATAVRegister::valueToStr(const char* oid, const CBlob& value) {
    if (find(oid) != List::end()) {
        return decodeCharString(value);
    }
    return CWStringProxy(L"#" + towstring(value.writeToHexString(0).c_str()));
}

CBlob CATAVRegister::valueFromStr(const char* oid, const wchar_t* text, StringType type) {
    const auto known = find(oid);
    if (known == List::end()) {
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
