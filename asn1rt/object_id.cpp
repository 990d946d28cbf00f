#include "asn1rt/object_id.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

constexpr unsigned long kMaxArc = 0xFFFFFFFFUL;

// A record filled by hand may claim more arcs than it has room for.
std::uint32_t numArcs(const ASN1OBJID& oid) {
    return std::min(oid.numids, ASN1_MAX_ARCS);
}

std::uint32_t numDigits(std::uint32_t arc) {
    std::uint32_t digits = 1;
    while (arc >= 10) {
        arc /= 10;
        ++digits;
    }
    return digits;
}

char* writeDigits(char* end, std::uint32_t arc) {
    do {
        *--end = static_cast<char>('0' + arc % 10);
        arc /= 10;
    } while (arc != 0);
    return end;
}

}  // namespace

bool operator==(const ASN1OBJID& a, const ASN1OBJID& b) {
    return a.numids == b.numids && std::equal(a.subid, a.subid + numArcs(a), b.subid);
}

extern "C" {

int rtStrToOid(const char* text, ASN1OBJID* oid) noexcept {
    if (text == nullptr || oid == nullptr) {
        return 0;
    }
    oid->numids = 0;
    while (oid->numids < ASN1_MAX_ARCS) {
        char* end = nullptr;
        const unsigned long arc = std::strtoul(text, &end, 10);
        if (end == text || arc > kMaxArc) {
            return 0;
        }
        oid->subid[oid->numids++] = static_cast<std::uint32_t>(arc);
        if (*end == '\0') {
            return 1;
        }
        if (*end != '.') {
            return 0;
        }
        text = end + 1;
    }
    return 0;
}

int rtOidToStr(const ASN1OBJID* oid, char* buffer, std::uint32_t size) noexcept {
    if (oid == nullptr || buffer == nullptr) {
        return 0;
    }
    std::uint32_t room = size;
    const std::uint32_t count = numArcs(*oid);
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint32_t digits = numDigits(oid->subid[i]);
        const std::uint32_t needed = digits + (i == 0 ? 0 : 1);
        if (needed > room) {
            *buffer = '\0';
            return 0;
        }
        room -= needed;
        if (i != 0) {
            *buffer++ = '.';
        }
        writeDigits(buffer + digits, oid->subid[i]);
        buffer += digits;
    }
    // May be the octet after the room for the text, which the caller provides.
    *buffer = '\0';
    return 1;
}

std::uint32_t rtOidToStrLen(const ASN1OBJID* oid) noexcept {
    if (oid == nullptr || oid->numids == 0) {
        return 0;
    }
    const std::uint32_t count = numArcs(*oid);
    std::uint32_t length = count - 1;
    for (std::uint32_t i = 0; i < count; ++i) {
        length += numDigits(oid->subid[i]);
    }
    return length;
}

int rtCmpOIDValue(ASN1CTXT* /*ctx*/, const ASN1OBJID* a, const ASN1OBJID* b, int* flag) noexcept {
    if (a != nullptr && b != nullptr && *a == *b) {
        return 1;
    }
    if (flag != nullptr) {
        *flag = 0;
    }
    return 0;
}

int rtCmpOID(ASN1CTXT* ctx, const ASN1OBJID* a, const ASN1OBJID* b, int* flag) noexcept {
    return rtCmpOIDValue(ctx, a, b, flag);
}

void rtSetOID(ASN1OBJID* destination, const ASN1OBJID* source) noexcept {
    if (destination == nullptr || source == nullptr || destination == source) {
        return;
    }
    destination->numids = source->numids;
    std::copy_n(source->subid, numArcs(*source), destination->subid);
}

int rtCopyOID(ASN1CTXT* /*ctx*/, const ASN1OBJID* source, ASN1OBJID* destination) noexcept {
    if (source == nullptr || destination == nullptr) {
        return 0;
    }
    rtSetOID(destination, source);
    return 1;
}

}  // extern "C"
