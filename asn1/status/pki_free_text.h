// Texts for people in PKI messages, one for each of several languages (RFC 4210, section 5.1.1):
//
//   PKIFreeText ::= SEQUENCE SIZE (1..MAX) OF UTF8String
//
//   CPKIFreeText text(L"no such certificate", CLanguageTagEnUs());
//   text.insert(CPKIFreeTextString(L"\u0441\u0435\u0440\u0442\u0438\u0444\u0438\u043a\u0430\u0442",
//   CLanguageTagRuRu()));
//
// On the wire the language is a prefix of the text: U+0E01, a character U+0E00 + c for each octet c of the
// tag, U+0E7E. A text of language "*" has nothing in front. These are not the tag characters of RFC 2482: other
// software takes them for Thai letters, and a text that begins with U+0E01 in earnest cannot be read here without a
// tag. A '~' in a tag is the end mark itself, and what follows it is read as text.
#pragma once

#include <list>

#include "asn1/text/language_tag.h"
#include "export.h"
#include "foundation/string_proxy.h"

namespace Orvane::ASN1 {

/// A text and its language. Copies are deep.
class TALLOW_EXPORT CPKIFreeTextString {
public:
    /// Empty text.
    explicit CPKIFreeTextString(const CLanguageTag& language);
    /// Null gives the empty text. The narrow form throws what towstring throws.
    CPKIFreeTextString(const wchar_t* value, const CLanguageTag& language);
    CPKIFreeTextString(const char* value, const CLanguageTag& language);

    void assign(const CPKIFreeTextString& other);

    /// Never null. Valid until the object is changed or destroyed.
    const wchar_t* get_value() const { return value_.c_str(); }
    void set_value(const wchar_t* value);
    const CLanguageTag& get_language() const { return language_; }

    /// Equal language, then equal text.
    bool operator==(const CPKIFreeTextString& other) const;

private:
    CWStringProxy value_;
    CLanguageTag language_;
};

/// Texts in wire order. insert keeps one for each language but "*"; a decoded list may hold several, and then the first
/// one counts.
class TALLOW_EXPORT CPKIFreeText : public std::list<CPKIFreeTextString> {
public:
    CPKIFreeText();
    CPKIFreeText(const wchar_t* value, const CLanguageTag& language);
    explicit CPKIFreeText(const CPKIFreeTextString& text);

    /// The first text of the language, or end(). "*" finds the first of all, whatever its language.
    iterator find(const CLanguageTag& language);
    const_iterator find(const CLanguageTag& language) const;

    /// Replaces the text of the first entry of the same language where it is, or appends a copy. A text of language
    /// "*" is always appended.
    void insert(const CPKIFreeTextString& text);

    /// Removes every text of the language; "*" empties the list.
    void remove(const CLanguageTag& language);

    /// The first text. The list must not be empty: that fails an assertion in debug builds, and throws InvalidArgument
    /// in release builds.
    operator CPKIFreeTextString() const;  // NOLINT(google-explicit-constructor): where one text is wanted, it is this
    operator CPKIFreeTextString&();       // NOLINT(google-explicit-constructor): likewise
};

}  // namespace Orvane::ASN1
