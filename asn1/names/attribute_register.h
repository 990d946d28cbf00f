// The attribute types that distinguished names know by a short name, and the two text forms of a value: plain text for
// these, '#' and hexadecimal DER for all others.
#pragma once

#include <list>
#include <string>

#include "asn1/names/attr_value.h"
#include "asn1/text/char_string.h"
#include "export.h"
#include "foundation/blob.h"
#include "foundation/string_proxy.h"

namespace Orvane::ASN1 {

/// One known attribute type. The list of all is complete before the library is in use and only read afterwards, so
/// that any thread may read it; types are added before that.
class TALLOW_EXPORT CATAVRegister {
public:
    using List = std::list<CATAVRegister>;

    /// Fills the fields and appends a copy to the list. `maxLength` is the longest value in characters.
    CATAVRegister(const char* oid, const wchar_t* name, StringType type, unsigned long maxLength);

    const std::string& oid() const { return oid_; }
    const std::wstring& name() const { return name_; }
    StringType type() const { return type_; }
    unsigned long maxLength() const { return maxLength_; }

    /// All known attribute types, in the order in which they were made known.
    static const List& registered() { return registered_; }

    /// The first entry with this object identifier, or with exactly this short name; registered().end() for none.
    static List::const_iterator find(const char* oid);
    static List::const_iterator find(const wchar_t* name);

    /// The short name, or the object identifier itself for a type that is not known.
    static CWStringProxy typeToStr(const char* oid);
    /// The object identifier, or the text itself for a short name that is not known.
    static CStringProxy typeFromStr(const wchar_t* name);

    /// The text of a value: of a known type as decodeCharString reads it (and throws), of any other '#' and upper-case
    /// hexadecimal.
    static CWStringProxy valueToStr(const char* oid, const CBlob& value);

    /// The DER of a text, in the string type given or, with kStringTypeDefault, in the registered one. Throws
    /// InvalidArgument for a text longer than the type allows. For a type that is not known, the first character
    /// stands for '#' and is not looked at, and the hexadecimal digits after it are the DER; reading stops quietly at
    /// the first character that is none. An empty text then throws std::out_of_range.
    static CBlob valueFromStr(const char* oid, const wchar_t* text, StringType type);

    /// Identifier and value from their texts, as typeFromStr and valueFromStr do.
    static CAttrValue makeATAV(const wchar_t* type, const wchar_t* value, StringType stringType);
    /// The same from "type=value", split at the first '='. Without one: InvalidArgument.
    static CAttrValue makeATAV(const wchar_t* text, StringType stringType);

private:
    std::string oid_;
    std::wstring name_;
    StringType type_;
    unsigned long maxLength_;

    static List registered_;
};

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
