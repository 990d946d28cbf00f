#include "asn1/text/language_tag.h"

#include <algorithm>
#include <cstring>

#include "asn1/text/text_conversions.h"

namespace Orvane::ASN1 {

CLanguageTag::CLanguageTag() : CStringProxy(nullptr) {}

CLanguageTag::CLanguageTag(const char* text) : CStringProxy(normalize(text)) {}

CLanguageTag::CLanguageTag(const wchar_t* text) : CLanguageTag(ASN1::tostring(text).c_str()) {}

std::string CLanguageTag::normalize(const char* text) {
    std::string result(text != nullptr ? text : "");
    std::transform(result.begin(), result.end(), result.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return result;
}

void CLanguageTag::assign(const CLanguageTag& other) {
    *this = other;
}

bool CLanguageTag::operator==(const CLanguageTag& other) const {
    return std::strcmp(c_str(), other.c_str()) == 0;
}

CLanguageTagRuRu::CLanguageTagRuRu() : CLanguageTag("ru-ru") {}

CLanguageTagEnUs::CLanguageTagEnUs() : CLanguageTag("en-us") {}

CLanguageTagDefaultRead::CLanguageTagDefaultRead() : CLanguageTag("*") {}

}  // namespace Orvane::ASN1
