#include "checker/text/name_text.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <optional>

#include "asn1/names/attribute_register.h"
#include "checker/text/safe_text.h"
#include "foundation/blob.h"

namespace tallow::text {

namespace {

using Orvane::ASN1::CATAVRegister;
using Orvane::ASN1::TlvElement;
using Orvane::ASN1::TlvReader;

constexpr char32_t kLastCodePoint = 0x10FFFF;
constexpr char32_t kFirstSurrogate = 0xD800;
constexpr char32_t kFirstLowSurrogate = 0xDC00;
constexpr char32_t kAfterSurrogates = 0xE000;

std::string hexText(Octets octets) {
    return std::string("#") + Orvane::CBlob(octets.data(), octets.size()).writeToHexString(0).c_str();
}

std::string escaped(const char* format, char32_t value) {
    char text[16];
    std::snprintf(text, sizeof text, format, static_cast<unsigned>(value));
    return text;
}

bool isCodePoint(char32_t c) {
    return c <= kLastCodePoint && (c < kFirstSurrogate || c >= kAfterSurrogates);
}

// RFC 4514, section 2.4. A backslash that is not escaped therefore comes from this file.
bool isSpecial(char32_t c) {
    return c < 0x80 && std::strchr("\"+,;<>=\\", static_cast<int>(c)) != nullptr && c != 0;
}

void addCodePoint(std::string& text, char32_t c) {
    text += isSpecial(c) ? "\\" : "";
    text += isCodePoint(c) ? utf8(std::wstring(1, static_cast<wchar_t>(c))) : escaped("\\u{%X}", c);
}

// The size of the first UTF-8 character, which must be in its shortest form; 0 when it is invalid.
std::size_t sizeOfCharacter(Octets octets) {
    constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};  // by length
    const unsigned char first = octets[0];
    const std::size_t size = first < 0x80 ? 1 : first < 0xC0 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    if (size == 0 || first >= 0xF8 || octets.size() < size) {
        return 0;
    }
    char32_t c = size == 1 ? first : first & (0xFFU >> (size + 1));
    for (std::size_t i = 1; i < size; ++i) {
        if ((octets[i] & 0xC0U) != 0x80) {
            return 0;
        }
        c = c << 6U | (octets[i] & 0x3FU);
    }
    return c >= kSmallest[size] && isCodePoint(c) ? size : 0;
}

std::string bmpText(Octets octets) {
    std::string text;
    for (std::size_t i = 0; i + 1 < octets.size(); i += 2) {
        const auto unitAt = [octets](std::size_t at) {
            return at + 1 < octets.size() ? static_cast<char32_t>(octets[at] << 8U | octets[at + 1]) : 0;
        };
        char32_t c = unitAt(i);
        const char32_t following = unitAt(i + 2);
        // A surrogate pair: BMPString has none, but many programs write them.
        if (c >= kFirstSurrogate && c < kFirstLowSurrogate && following >= kFirstLowSurrogate &&
            following < kAfterSurrogates) {
            c = 0x10000 + ((c - kFirstSurrogate) << 10U) + (following - kFirstLowSurrogate);
            i += 2;
        }
        addCodePoint(text, c);
    }
    return text;
}

std::string universalText(Octets octets) {
    std::string text;
    for (std::size_t i = 0; i + 3 < octets.size(); i += 4) {
        addCodePoint(text, static_cast<char32_t>(octets[i]) << 24U | static_cast<char32_t>(octets[i + 1]) << 16U |
                               static_cast<char32_t>(octets[i + 2]) << 8U | octets[i + 3]);
    }
    return text;
}

std::string narrow(Octets octets, bool isNameValue) {
    std::string text;
    while (!octets.empty()) {
        const std::size_t size = sizeOfCharacter(octets);
        if (size == 0) {
            text += escaped("\\x{%02X}", octets[0]);
        } else {
            text += isNameValue && isSpecial(octets[0]) ? "\\" : "";
            text.append(reinterpret_cast<const char*>(octets.data()), size);
        }
        octets = octets.subspan(size == 0 ? 1 : size);
    }
    return text;
}

// A space at either end and a '#' at the beginning are special too.
std::string withEscapedEnds(std::string text) {
    if (text.ends_with(' ')) {
        text.insert(text.size() - 1, 1, '\\');
    }
    return text.starts_with(' ') || text.starts_with('#') ? '\\' + text : text;
}

std::string valueText(const TlvElement& value) {
    constexpr unsigned kUtf8String = 0x0C;
    constexpr unsigned kNumericString = 0x12;
    constexpr unsigned kPrintableString = 0x13;
    constexpr unsigned kTeletexString = 0x14;
    constexpr unsigned kVisibleString = 0x1A;
    constexpr unsigned kUniversalString = 0x1C;
    constexpr unsigned kBmpString = 0x1E;
    const std::size_t size = value.content.size();
    switch (value.tag) {
        case kUtf8String:
        case kNumericString:
        case kPrintableString:
        case kTeletexString:
        case TlvElement::kIa5String:
        case kVisibleString:
            return withEscapedEnds(narrow(value.content, true));
        case kBmpString:
            return size % 2 == 0 ? withEscapedEnds(bmpText(value.content)) : hexText(value.whole);
        case kUniversalString:
            return size % 4 == 0 ? withEscapedEnds(universalText(value.content)) : hexText(value.whole);
        default:
            return hexText(value.whole);
    }
}

// AttributeTypeAndValue ::= SEQUENCE { type OBJECT IDENTIFIER, value ANY }
std::optional<std::string> attributeText(const TlvElement& attribute) {
    TlvReader members(attribute);
    const std::optional<TlvElement> type = members.nextIf(TlvElement::kObjectIdentifier);
    const std::optional<TlvElement> value = members.next();
    if (attribute.tag != TlvElement::kSequence || !type || !value || !members.rest().empty()) {
        return std::nullopt;
    }
    const std::string oid = oidText(type->content);
    const auto known = CATAVRegister::find(oid.c_str());
    return known == CATAVRegister::registered().end() ? oid + '=' + hexText(value->whole)
                                                      : utf8(known->name()) + '=' + valueText(*value);
}

// The texts of all elements, separated; empty when one of them is malformed.
template <typename ElementText>
std::optional<std::string> joined(TlvReader elements, char separator, ElementText elementText) {
    std::string text;
    while (!elements.rest().empty()) {
        const std::optional<TlvElement> element = elements.next();
        const std::optional<std::string> part = element ? elementText(*element) : std::nullopt;
        if (!part) {
            return std::nullopt;
        }
        text += (text.empty() ? "" : std::string(1, separator)) + *part;
    }
    return text;
}

std::optional<std::string> rdnText(const TlvElement& rdn) {
    return rdn.tag == TlvElement::kSet ? joined(TlvReader(rdn.content), '+', attributeText) : std::nullopt;
}

}  // namespace

std::string narrowText(Octets octets) {
    return narrow(octets, false);
}

std::string oidText(Octets content) {
    constexpr std::uint64_t kLargestToShift = UINT64_MAX >> 7U;
    std::string text;
    std::uint64_t arc = 0;
    bool isComplete = false;
    for (const unsigned char octet : content) {
        if (arc > kLargestToShift) {
            return hexText(content);
        }
        arc = arc << 7U | (octet & 0x7FU);
        isComplete = (octet & 0x80U) == 0;
        if (!isComplete) {
            continue;
        }
        if (text.empty()) {
            const std::uint64_t first = arc < 80 ? arc / 40 : 2;  // two arcs in one number (X.690, section 8.19.4)
            text = std::to_string(first);
            arc -= first * 40;
        }
        text += '.' + std::to_string(arc);
        arc = 0;
    }
    return isComplete ? text : hexText(content);
}

std::string nameText(Octets der) {
    TlvReader reader(der);
    const std::optional<TlvElement> name = reader.nextIf(TlvElement::kSequence);
    const std::optional<std::string> text =
        name && reader.rest().empty() ? joined(TlvReader(name->content), ',', rdnText) : std::nullopt;
    return text ? *text : hexText(der);
}

}  // namespace tallow::text
