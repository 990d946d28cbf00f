#include "asn1/status/pki_free_text.h"

#include <algorithm>
#include <cstring>
#include <cwchar>

#include "asn1/text/text_conversions.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace Orvane::ASN1 {

namespace {

bool isAny(const CLanguageTag& language) {
    return std::strcmp(language.c_str(), "*") == 0;
}

template <class Iterator>
Iterator findLanguage(Iterator first, Iterator last, const CLanguageTag& language) {
    if (isAny(language)) {
        return first;
    }
    return std::find_if(first, last, [&](const CPKIFreeTextString& text) { return text.get_language() == language; });
}

template <class List>
auto& firstOf(List& list) {
    if (list.empty()) {
        ATL::AtlThrowImpl(status::kInvalidArgument);
    }
    return list.front();
}

}  // namespace

CPKIFreeTextString::CPKIFreeTextString(const CLanguageTag& language) : value_(nullptr), language_(language) {}

CPKIFreeTextString::CPKIFreeTextString(const wchar_t* value, const CLanguageTag& language)
    : value_(value), language_(language) {}

CPKIFreeTextString::CPKIFreeTextString(const char* value, const CLanguageTag& language)
    : value_(towstring(value)), language_(language) {}

void CPKIFreeTextString::assign(const CPKIFreeTextString& other) {
    *this = other;
}

void CPKIFreeTextString::set_value(const wchar_t* value) {
    value_ = CWStringProxy(value);
}

bool CPKIFreeTextString::operator==(const CPKIFreeTextString& other) const {
    return language_ == other.language_ && std::wcscmp(get_value(), other.get_value()) == 0;
}

CPKIFreeText::CPKIFreeText() = default;

CPKIFreeText::CPKIFreeText(const wchar_t* value, const CLanguageTag& language) {
    emplace_back(value, language);
}

CPKIFreeText::CPKIFreeText(const CPKIFreeTextString& text) {
    push_back(text);
}

CPKIFreeText::iterator CPKIFreeText::find(const CLanguageTag& language) {
    return findLanguage(begin(), end(), language);
}

CPKIFreeText::const_iterator CPKIFreeText::find(const CLanguageTag& language) const {
    return findLanguage(begin(), end(), language);
}

void CPKIFreeText::insert(const CPKIFreeTextString& text) {
    const iterator present = isAny(text.get_language()) ? end() : find(text.get_language());
    if (present != end()) {
        present->set_value(text.get_value());
    } else {
        push_back(text);
    }
}

void CPKIFreeText::remove(const CLanguageTag& language) {
    // In one pass, since the list may be decoded; and by a copy, since the tag may be that of an entry.
    const CLanguageTag wanted = language;
    const bool all = isAny(wanted);
    remove_if([&](const CPKIFreeTextString& text) { return all || text.get_language() == wanted; });
}

CPKIFreeText::operator CPKIFreeTextString() const {
    return firstOf(*this);
}

CPKIFreeText::operator CPKIFreeTextString&() {
    return firstOf(*this);
}

}  // namespace Orvane::ASN1
