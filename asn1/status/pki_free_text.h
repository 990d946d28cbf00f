// Texts for people in PKI messages, in one or several languages (RFC 4210, section 5.1.1).
//
//   CPKIFreeText text(L"no such certificate", CLanguageTagEnUs());
//   text.insert(CPKIFreeTextString(L"certificat inconnu", CLanguageTag("fr")));
//   const wchar_t* shown = text.find(CLanguageTagEnUs())->get_value();
//
// On the wire the language is a prefix of the text: U+0E01, a character U+0E00 + c for each octet c of the tag, U+0E7E.
// A text of language "*" has no prefix. These are not the tag characters of RFC 2482: other software displays them as
// Thai letters, and a text that really begins with U+0E01 cannot be read here without a tag. A '~' in a tag is the end
// mark itself, and what follows it is read as text.
#pragma once

#include <list>

#include "asn1/text/language_tag.h"
#include "export.h"
#include "foundation/string_proxy.h"

namespace Orvane::ASN1 {

/// A text and its language. Copies are deep. Pointers and references from getters live until the object changes.
class TALLOW_EXPORT CPKIFreeTextString {
public:
    /// Empty text.
    explicit CPKIFreeTextString(const CLanguageTag& language);
    /// Copies both; a null text counts as empty. The narrow form takes UTF-8 and throws what towstring throws.
    CPKIFreeTextString(const wchar_t* value, const CLanguageTag& language);
    CPKIFreeTextString(const char* value, const CLanguageTag& language);

    /// Copies text and language, as the assignment does.
    void assign(const CPKIFreeTextString& other);

    /// The text, never null. The setter copies and keeps the language; null counts as empty.
    const wchar_t* get_value() const { return value_.c_str(); }
    void set_value(const wchar_t* value);
    /// The language; "*" for a text without one.
    const CLanguageTag& get_language() const { return language_; }

    /// Equal language and equal text.
    bool operator==(const CPKIFreeTextString& other) const;

private:
    CWStringProxy value_;
    CLanguageTag language_;
};

/// Texts in wire order:
///
///   PKIFreeText ::= SEQUENCE SIZE (1..MAX) OF UTF8String
///
/// insert keeps one for each language except "*"; a decoded list may contain several, and then find returns the first.
/// Texts from a message are not signed unless the message is, and are meant for display: do not parse them.
class TALLOW_EXPORT CPKIFreeText : public std::list<CPKIFreeTextString> {
public:
    /// An empty list, or a list of one text.
    CPKIFreeText();
    CPKIFreeText(const wchar_t* value, const CLanguageTag& language);
    explicit CPKIFreeText(const CPKIFreeTextString& text);

    /// The first text of the language, or end(). "*" finds the first of all, whatever its language.
    iterator find(const CLanguageTag& language);
    const_iterator find(const CLanguageTag& language) const;

    /// Replaces the text of the first entry of the same language where it is, or appends a copy. A text of language "*"
    /// is always appended. The argument may be an entry of this list.
    void insert(const CPKIFreeTextString& text);

    /// Removes every text of the language; "*" empties the list.
    void remove(const CLanguageTag& language);

    /// The first text, as a copy or by reference. Throws kInvalidArgument when the list is empty.
    operator CPKIFreeTextString() const;  // NOLINT(google-explicit-constructor): where one text is wanted, it is this
    operator CPKIFreeTextString&();       // NOLINT(google-explicit-constructor): likewise
};

}  // namespace Orvane::ASN1
