#include "asn1/text/object_id_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <cstring>

#include "handles/exception.h"
#include "handles/status.h"

namespace Orvane::ASN1 {

namespace {

constexpr unsigned int kMaxArcs = 128;
constexpr unsigned long kLastArcLimit = 0xFFFFFFFF;

// The longest text: each arc of ten digits, its dot or the terminator.
using OidText = std::array<char, kMaxArcs * 11 + 1>;

const char* skipWhiteSpace(const char* text) {
    if (*text == '.' || *text == '\0') {
        return text;
    }
    return text + std::strspn(text, " \t\n\v\f\r");
}

// Returns what strtoul returns for a number of a few digits, the usual case in identifiers. The full reading is left to
// strtoul: leading white space and signs, and numbers beyond 18 digits.
const char* readDigits(const char* text, unsigned long& number) {
    constexpr int kSafeDigits = 18;
    const char* end = text;
    for (number = 0; *end >= '0' && *end <= '9' && end - text < kSafeDigits; ++end) {
        number = number * 10 + static_cast<unsigned long>(*end - '0');
    }
    if (end != text && (*end < '0' || *end > '9')) {
        return end;
    }
    char* behind = nullptr;
    number = std::strtoul(text, &behind, 10);
    return behind;
}

// Reads one arc with white space on both sides; null when there are no digits or no room for the arc.
const char* readArc(const char* text, ASN1OBJID& oid, unsigned long& arc) {
    const char* end = readDigits(text, arc);
    if (end == text || oid.numids == kMaxArcs) {
        return nullptr;
    }
    // Higher bits are cut: only the last arc has a limit.
    oid.subid[oid.numids++] = static_cast<std::uint32_t>(arc);
    return skipWhiteSpace(end);
}

// Writes the terminated text and returns its size without the terminator.
std::size_t write(const ASN1OBJID& oid, OidText& text) {
    char* out = text.data();
    for (unsigned int index = 0; index < std::min<unsigned int>(oid.numids, kMaxArcs); ++index) {
        if (index != 0) {
            *out++ = '.';
        }
        out = std::to_chars(out, text.data() + text.size(), oid.subid[index]).ptr;
    }
    *out = '\0';
    return static_cast<std::size_t>(out - text.data());
}

}  // namespace

ASN1OBJID toASN1OBJID(const char* oid) {
    ASN1OBJID result{};
    if (str2oid(oid, &result) != 0) {
        ATL::AtlThrowImpl(status::kInvalidArgument);
    }
    return result;
}

CStringProxy toOID(const ASN1OBJID& oid) {
    OidText text;
    write(oid, text);
    return CStringProxy(text.data());
}

int str2oid(const char* text, ASN1OBJID* oid) {
    oid->numids = 0;
    unsigned long arc = 0;
    for (; text != nullptr; ++text) {
        text = readArc(text, *oid, arc);
        if (text == nullptr || *text != '.') {
            break;
        }
    }
    return text != nullptr && *text == '\0' && arc < kLastArcLimit ? 0 : 1;
}

int oid2str(CBlob& text, const ASN1OBJID* oid) {
    OidText buffer;
    const std::size_t size = write(*oid, buffer);
    text.assign(reinterpret_cast<const unsigned char*>(buffer.data()), size + 1);
    return 1;
}

}  // namespace Orvane::ASN1
