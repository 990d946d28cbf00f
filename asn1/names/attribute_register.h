// The attribute types that have a short name in distinguished names, and the two text forms of a value: plain text for
// these types, '#' and hexadecimal DER for all others (RFC 4514, section 2.4).
//
//   CATAVRegister::typeFromStr(L"CN");                                        // "2.5.4.3"
//   CATAVRegister::valueFromStr("2.5.4.3", L"Ivan", kStringTypeDefault);      // 0C 04 49 76 61 6E
//   CATAVRegister::valueToStr("1.2.3", nullValue);                            // L"#0500"
#pragma once

#include <cstddef>
#include <iterator>
#include <string_view>
#include <utility>

#include "asn1/names/attr_value.h"
#include "asn1/text/char_string.h"
#include "export.h"
#include "foundation/blob.h"
#include "foundation/string_proxy.h"

namespace Orvane::ASN1 {

/// One known attribute type, and as static functions the list of all. The list begins with the types below, which need
/// no memory and no work when the library is loaded. A program that adds types must do so before it starts threads;
/// afterwards any thread may read the list:
///
///   static const CATAVRegister userId("0.9.2342.19200300.100.1.1", L"UID", kStringTypeUTF8, 256);
class TALLOW_EXPORT CATAVRegister {
public:
    /// Walks over the entries; one that refers to none is the end.
    class const_iterator {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = CATAVRegister;
        using difference_type = std::ptrdiff_t;
        using pointer = const CATAVRegister*;
        using reference = const CATAVRegister&;

        const_iterator() = default;
        explicit const_iterator(const CATAVRegister* entry) : entry_(entry) {}
        reference operator*() const { return *entry_; }
        pointer operator->() const { return entry_; }
        const_iterator& operator++() { return *this = const_iterator(entry_->next_); }
        const_iterator operator++(int) { return std::exchange(*this, const_iterator(entry_->next_)); }
        bool operator==(const const_iterator&) const = default;

    private:
        const CATAVRegister* entry_ = nullptr;
    };

    /// All entries, which live as long as the process. A view: later entries appear in it as well.
    struct List {
        using const_iterator = CATAVRegister::const_iterator;

        /// The first entry.
        static const_iterator begin() { return first(); }
        /// Behind the last entry, also behind those that are added later.
        static const_iterator end() { return {}; }
    };

    /// Fills the fields and appends a copy to the list; the copy and its texts stay until the process ends, and this
    /// object refers to them. `oid` is dotted decimal text, `name` the short name, `type` the string type that
    /// valueFromStr uses by default, `maxLength` the longest value in characters. Null counts as empty. An entry with
    /// the identifier or name of an earlier one is never found. Throws std::bad_alloc; the list is then unchanged.
    CATAVRegister(const char* oid, const wchar_t* name, StringType type, unsigned long maxLength);

    /// The fields as given to the constructor: object identifier, short name, default string type, and the longest
    /// value in characters. The texts are terminated, and live as long as the process.
    std::string_view oid() const { return oid_; }
    std::wstring_view name() const { return name_; }
    StringType type() const { return type_; }
    unsigned long maxLength() const { return maxLength_; }

    /// All known attribute types in the order of registration.
    static List registered() { return {}; }

    /// The first entry with this object identifier, or with exactly this short name (upper and lower case differ);
    /// registered().end() when there is none. Null finds an empty identifier or name.
    static const_iterator find(const char* oid);
    static const_iterator find(const wchar_t* name);

    /// The short name, or the object identifier itself for an unknown type.
    static CWStringProxy typeToStr(const char* oid);
    /// The object identifier, or the text itself for an unknown short name, which is not checked to be an identifier.
    static CStringProxy typeFromStr(const wchar_t* name);

    /// The text of a value given as DER. For a known type it is what decodeCharString reads, and throws: kAsn1Error for
    /// a value that is not a character string. For an unknown type: '#' and upper-case hexadecimal digits.
    static CWStringProxy valueToStr(const char* oid, const CBlob& value);

    /// The DER of a text, in the given string type or, with kStringTypeDefault, in the registered one. Throws
    /// kInvalidArgument for a text longer than maxLength, and what encodeCharString throws.
    ///
    /// For an unknown type the first character is skipped as the '#', and the hexadecimal digits after it are the DER;
    /// reading stops without an error at the first character that is not a digit. An empty text then throws
    /// std::out_of_range.
    static CBlob valueFromStr(const char* oid, const wchar_t* text, StringType type);

    /// Identifier and value from their texts, by typeFromStr and valueFromStr.
    /// For an unknown short name the result has that text as its identifier, and cannot be encoded. Throws what the two
    /// throw.
    static CAttrValue makeATAV(const wchar_t* type, const wchar_t* value, StringType stringType);
    /// The same from "type=value", split at the first '='; blanks are kept. Throws kInvalidArgument when there is no
    /// '='.
    static CAttrValue makeATAV(const wchar_t* text, StringType stringType);

private:
    friend struct KnownAttribute;  // makes the constants below
    struct Known;
    struct Added;

    constexpr CATAVRegister(std::string_view oid, std::wstring_view name, StringType type)
        : oid_(oid), name_(name), type_(type), maxLength_(32768) {}
    static const_iterator first();

    std::string_view oid_;
    std::wstring_view name_;
    StringType type_;
    unsigned long maxLength_;
    const CATAVRegister* next_ = nullptr;  // of an entry in the list

    static Known known_;  // the first entries
    static CATAVRegister* last_;
};

/// The types known from the start: short name, object identifier, and the string type where it is not UTF8String. Each
/// allows 32768 characters.
///
///   CN      2.5.4.3     C   2.5.4.6  (PrintableString)    L   2.5.4.7     ST  2.5.4.8
///   E       1.2.840.113549.1.9.1 (IA5String)              O   2.5.4.10    OU  2.5.4.11
///   T       2.5.4.12    GN  2.5.4.42    I   2.5.4.43      SN  2.5.4.4     PS  2.5.4.65
///   OGRN    1.2.643.100.1               OGRNIP  1.2.643.100.5             SNILS  1.2.643.100.3
///   INNLE   1.2.643.100.4               INN     1.2.643.3.131.1.1         STREET 2.5.4.9
///   DC      0.9.2342.19200300.100.1.25 (IA5String)        UnstructuredName  1.2.840.113549.1.9.2
///   PostalCode  2.5.4.17                SERIALNUMBER      2.5.4.5 (PrintableString)
///
/// The list holds copies: find() returns another object with the same fields.
extern TALLOW_EXPORT const CATAVRegister commonNameAttribute;
extern TALLOW_EXPORT const CATAVRegister countryNameAttribute;
extern TALLOW_EXPORT const CATAVRegister localityNameAttribute;
extern TALLOW_EXPORT const CATAVRegister stateOrProvinceNameAttribute;
extern TALLOW_EXPORT const CATAVRegister emailAddressAttribute;
extern TALLOW_EXPORT const CATAVRegister organizationNameAttribute;
extern TALLOW_EXPORT const CATAVRegister organizationUnitNameAttribute;
extern TALLOW_EXPORT const CATAVRegister titleAttribute;
extern TALLOW_EXPORT const CATAVRegister givenNameAttribute;
extern TALLOW_EXPORT const CATAVRegister initialsAttribute;
extern TALLOW_EXPORT const CATAVRegister surnameAttribute;
extern TALLOW_EXPORT const CATAVRegister pseudonymAttribute;
extern TALLOW_EXPORT const CATAVRegister ogrnAttribute;
extern TALLOW_EXPORT const CATAVRegister ogrnipAttribute;
extern TALLOW_EXPORT const CATAVRegister snilsAttribute;
extern TALLOW_EXPORT const CATAVRegister innleAttribute;
extern TALLOW_EXPORT const CATAVRegister innAttribute;
extern TALLOW_EXPORT const CATAVRegister streetAddressAttribute;
extern TALLOW_EXPORT const CATAVRegister domainComponentAttribute;
extern TALLOW_EXPORT const CATAVRegister unstructuredNameAttribute;
extern TALLOW_EXPORT const CATAVRegister PostalCodeAttribute;
extern TALLOW_EXPORT const CATAVRegister serialNumberAttribute;

}  // namespace Orvane::ASN1
