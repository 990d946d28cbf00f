#include "asn1rt/decode_values.h"

#include "asn1rt/decode_core.h"

namespace {

using decoding::enter;
using decoding::position;
using decoding::remaining;

/// Reads the header of a value whose tag octet must be exactly `octet`; with TAG_IMPLICIT the length is given.
int readExactHeader(ASN1CTXT* ctx, std::uint8_t octet, ASN1TagType tagType, int* length) {
    return tagType == TAG_EXPLICIT ? decoding::readOctetHeader(ctx, octet, 0, length) : 0;
}

/// `length` octets, big-endian, on top of `value`.
std::uint32_t readBigEndian(ASN1CTXT* ctx, int length, std::uint32_t value) {
    const std::uint8_t* octets = position(ctx);
    for (int i = 0; i < length; ++i) {
        value = (value << 8) | octets[i];
    }
    ctx->buffer.byteIndex += static_cast<std::uint32_t>(length);
    return value;
}

int integerContents(ASN1CTXT* ctx, std::int32_t* value, int length) {
    if (length >= 5) {
        return STATUS_TOO_BIG;
    }
    if (length <= 0) {
        return STATUS_BAD_LENGTH;
    }
    if (!decoding::holds(ctx, length)) {
        return STATUS_END_OF_BUFFER;
    }
    const std::uint32_t sign = (*position(ctx) & 0x80) != 0 ? UINT32_MAX : 0;
    *value = static_cast<std::int32_t>(readBigEndian(ctx, length, sign));
    return 0;
}

/// An unsigned number in at most `width` octets, one more when the first is 0. Empty contents are 0, unlike those of a
/// signed INTEGER: some peers write the number 0 this way.
int unsignedContents(ASN1CTXT* ctx, std::uint32_t* value, int width, int length) {
    if (length > width + 1) {
        return STATUS_TOO_BIG;
    }
    if (length < 0) {
        return STATUS_BAD_LENGTH;
    }
    if (!decoding::holds(ctx, length)) {
        return STATUS_END_OF_BUFFER;
    }
    if (length == width + 1 && *position(ctx) != 0) {
        return STATUS_TOO_BIG;
    }
    *value = readBigEndian(ctx, length, 0);
    return 0;
}

/// Reads a header of exactly two octets. Returns `tooLong` when the second is above `maxLength`.
int readShortHeader(ASN1CTXT* ctx, std::uint8_t octet, int maxLength, int tooLong, int* length) {
    if (remaining(ctx) == 0) {
        return STATUS_END_OF_BUFFER;
    }
    if (*position(ctx) != octet) {
        return STATUS_TAG_MISMATCH;
    }
    if (remaining(ctx) < 2) {
        return STATUS_END_OF_BUFFER;
    }
    *length = position(ctx)[1];
    if (*length > maxLength) {
        return tooLong;
    }
    decoding::setConstructed(ctx, false);
    ctx->buffer.byteIndex += 2;
    return 0;
}

int booleanContents(ASN1CTXT* ctx, std::uint8_t* value, int length) {
    if (length != 1) {
        return STATUS_BAD_LENGTH;
    }
    if (remaining(ctx) == 0) {
        return STATUS_END_OF_BUFFER;
    }
    *value = *position(ctx);
    ++ctx->buffer.byteIndex;
    return 0;
}

char* putHex(char* out, std::uint8_t octet) {
    constexpr char kDigits[] = "0123456789abcdef";
    *out++ = kDigits[octet >> 4];
    *out++ = kDigits[octet & 15];
    return out;
}

/// Text of the two's complement octets, in a form that keeps a positive number positive when it is encoded again.
int bigContents(ASN1CTXT* ctx, const char** text, int length) {
    if (length < 0) {
        return STATUS_BAD_LENGTH;
    }
    if (!decoding::holds(ctx, length)) {
        return STATUS_END_OF_BUFFER;
    }
    const std::uint8_t* octet = position(ctx);
    const std::uint8_t* const end = octet + length;
    const bool leadingZero = length != 0 && *octet == 0;
    while (octet != end && *octet == 0) {
        ++octet;
    }

    const std::size_t size = static_cast<std::size_t>(end - octet) * 2 + sizeof "0x0";
    char* out = static_cast<char*>(rtMemHeapAlloc(&ctx->pTypeMemHeap, size));
    if (out == nullptr) {
        return STATUS_NO_MEMORY;
    }
    *text = out;
    *out++ = '0';
    *out++ = 'x';
    if (octet == end || (leadingZero && (*octet & 0x80) != 0)) {
        *out++ = '0';
    }
    while (octet != end) {
        out = putHex(out, *octet++);
    }
    *out = '\0';
    ctx->buffer.byteIndex += static_cast<std::uint32_t>(length);
    return 0;
}

/// Reads one arc in base 128. It wraps beyond 32 bits, and ends without an error where the contents end.
const std::uint8_t* readArc(const std::uint8_t* octet, const std::uint8_t* end, std::uint32_t* arc) {
    *arc = 0;
    while (octet != end) {
        *arc = (*arc << 7) | (*octet & 0x7FU);
        if ((*octet++ & 0x80) == 0) {
            break;
        }
    }
    return octet;
}

/// The same, but an arc that is not written as X.690, 8.19.2, requires, or wider than 32 bits, becomes kUnreadableArc.
const std::uint8_t* readExactArc(const std::uint8_t* octet, const std::uint8_t* end, std::uint32_t* arc) {
    std::uint32_t value = 0;
    bool exact = *octet != 0x80;
    while (octet != end && (*octet & 0x80) != 0) {
        exact = exact && (value >> 25) == 0;
        value = (value << 7) | (*octet++ & 0x7FU);
    }
    exact = exact && (value >> 25) == 0 && octet != end;
    *arc = exact ? (value << 7) | *octet : decoding::kUnreadableArc;
    return octet != end ? octet + 1 : octet;
}

using ArcReader = const std::uint8_t* (*)(const std::uint8_t* octet, const std::uint8_t* end, std::uint32_t* arc);

template <ArcReader readArc>
int objectIdContents(ASN1CTXT* ctx, ASN1OBJID* oid, int length) {
    if (length < 1) {
        return STATUS_BAD_LENGTH;
    }
    if (!decoding::holds(ctx, length)) {
        return STATUS_END_OF_BUFFER;
    }
    const std::uint8_t* octet = position(ctx);
    const std::uint8_t* const end = octet + length;
    std::uint32_t first = 0;
    octet = readArc(octet, end, &first);
    oid->subid[0] = first < 80 ? first / 40 : 2;
    oid->subid[1] = first < 80 ? first % 40 : first - 80;
    oid->numids = 2;
    while (octet != end) {
        if (oid->numids == ASN1_MAX_ARCS) {
            return STATUS_BAD_OBJECT_ID;
        }
        octet = readArc(octet, end, &oid->subid[oid->numids++]);
    }
    ctx->buffer.byteIndex += static_cast<std::uint32_t>(length);
    return 0;
}

}  // namespace

int decoding::readObjectId(ASN1CTXT* ctx, ASN1OBJID* oid, ASN1TagType tagType, int length) {
    int status = readExactHeader(ctx, kTagObjectId, tagType, &length);
    if (status == 0) {
        status = objectIdContents<readExactArc>(ctx, oid, length);
    }
    return enter(ctx, status);
}

extern "C" {

int xd_boolean(ASN1CTXT* ctx, std::uint8_t* value, ASN1TagType tagType, int length) noexcept {
    int status = 0;
    if (tagType == TAG_EXPLICIT) {
        status = readShortHeader(ctx, kTagBoolean, 1, STATUS_BAD_LENGTH, &length);
    }
    if (status == 0) {
        status = booleanContents(ctx, value, length);
    }
    return enter(ctx, status);
}

int xd_integer(ASN1CTXT* ctx, std::int32_t* value, ASN1TagType tagType, int length) noexcept {
    int status = readExactHeader(ctx, kTagInteger, tagType, &length);
    if (status == 0) {
        status = integerContents(ctx, value, length);
    }
    return enter(ctx, status);
}

int xd_unsigned(ASN1CTXT* ctx, std::uint32_t* value, ASN1TagType tagType, int length) noexcept {
    int status = readExactHeader(ctx, kTagInteger, tagType, &length);
    if (status == 0) {
        status = unsignedContents(ctx, value, 4, length);
    }
    return enter(ctx, status);
}

int xd_uint16(ASN1CTXT* ctx, std::uint16_t* value, ASN1TagType tagType, int length) noexcept {
    int status = 0;
    // The length octet is a plain number here, so that every long form counts as too big.
    if (tagType == TAG_EXPLICIT) {
        status = readShortHeader(ctx, kTagInteger, 3, STATUS_TOO_BIG, &length);
    }
    std::uint32_t read = 0;
    if (status == 0) {
        status = unsignedContents(ctx, &read, 2, length);
    }
    if (status == 0) {
        *value = static_cast<std::uint16_t>(read);
    }
    return enter(ctx, status);
}

int xd_enum(ASN1CTXT* ctx, std::int32_t* value, ASN1TagType tagType, int length) noexcept {
    if (tagType == TAG_EXPLICIT) {
        const bool constructed = decoding::isConstructed(ctx);
        const int status = readExactHeader(ctx, kTagEnumerated, tagType, &length);
        decoding::setConstructed(ctx, constructed);
        if (status == STATUS_TAG_MISMATCH) {
            return status;
        }
        if (status != 0) {
            return enter(ctx, status);
        }
    }
    return xd_integer(ctx, value, TAG_IMPLICIT, length);
}

int xd_bigint(ASN1CTXT* ctx, const char** text, ASN1TagType tagType, int length) noexcept {
    const int header = readExactHeader(ctx, kTagInteger, tagType, &length);
    if (header != 0) {
        return enter(ctx, header);
    }
    const int status = bigContents(ctx, text, length);
    return status == STATUS_END_OF_BUFFER ? status : enter(ctx, status);
}

int xd_null(ASN1CTXT* ctx, ASN1TagType tagType) noexcept {
    int length = 0;
    if (tagType != TAG_EXPLICIT) {
        return 0;
    }
    return enter(ctx, readShortHeader(ctx, kTagNull, 0, STATUS_BAD_LENGTH, &length));
}

int xd_objid(ASN1CTXT* ctx, ASN1OBJID* oid, ASN1TagType tagType, int length) noexcept {
    int status = readExactHeader(ctx, kTagObjectId, tagType, &length);
    if (status == 0) {
        status = objectIdContents<readArc>(ctx, oid, length);
    }
    return enter(ctx, status);
}

}  // extern "C"
