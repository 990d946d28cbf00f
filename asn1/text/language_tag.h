// Language tags of texts for people, such as "en-us" (RFC 3066).
//
//   CLanguageTag language("en-US");                  // c_str() is "en-us"
//   bool same = language == CLanguageTagEnUs();      // true
#pragma once

#include <string>

#include "export.h"
#include "foundation/string_proxy.h"

namespace Orvane::ASN1 {

/// A language tag in lower case. "*" means any language. The text is not checked against the grammar of RFC 3066, and
/// has no length limit. Copies are deep.
class TALLOW_EXPORT CLanguageTag : public CStringProxy {
public:
    /// Empty text, which is a language like any other, not "*".
    CLanguageTag();
    /// Copies the text in lower case; null counts as empty. The wide form is converted to UTF-8 and throws what
    /// tostring throws. Both throw std::bad_alloc.
    explicit CLanguageTag(const char* text);
    explicit CLanguageTag(const wchar_t* text);

    /// The text with 'A' to 'Z' made lower case, whatever the locale; null gives the empty text.
    static std::string normalize(const char* text);

    /// Copies the text of `other`, as the assignment does.
    void assign(const CLanguageTag& other);

    /// Exactly the same text: "en" and "en-us" differ, and so do "*" and any language. Searches that treat "*"
    /// specially say so.
    bool operator==(const CLanguageTag& other) const;

    /// A copy of the text.
    CStringProxy tostring() const { return *this; }
};

/// The tag "ru-ru", Russian in Russia.
class TALLOW_EXPORT CLanguageTagRuRu : public CLanguageTag {
public:
    CLanguageTagRuRu();
};

/// The tag "en-us", English in the United States.
class TALLOW_EXPORT CLanguageTagEnUs : public CLanguageTag {
public:
    CLanguageTagEnUs();
};

/// The tag "*". For reading it selects the first text, whatever its language; for writing it means a text without a
/// language.
class TALLOW_EXPORT CLanguageTagDefaultRead : public CLanguageTag {
public:
    CLanguageTagDefaultRead();
};

}  // namespace Orvane::ASN1
