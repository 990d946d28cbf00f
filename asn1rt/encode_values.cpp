#include "asn1rt/encode_values.h"

#include "asn1rt/big_integer_text.h"
#include "asn1rt/encode_core.h"

namespace {

/// Contents of at most 8 octets, and their header, written in one piece.
int writeSmall(ASN1CTXT* ctx, const std::uint8_t* contents, std::uint8_t length, ASN1TAG tag, ASN1TagType tagType) {
    if (tagType != TAG_EXPLICIT) {
        return encoding::prepend(ctx, contents, length);
    }
    std::uint8_t element[10];
    element[0] = static_cast<std::uint8_t>(tag);
    element[1] = length;
    std::memcpy(element + 2, contents, length);
    return encoding::prepend(ctx, element, length + 2U);
}

int writeSigned(ASN1CTXT* ctx, std::int32_t value, ASN1TAG tag, ASN1TagType tagType) {
    std::uint8_t octets[5];
    std::uint8_t* const end = octets + sizeof octets;
    std::uint8_t* first = end;
    std::int32_t rest = value;
    do {
        *--first = static_cast<std::uint8_t>(rest);
        rest >>= 8;
    } while (rest != 0 && rest != -1);
    const bool topBit = (*first & 0x80) != 0;
    if (value > 0 && topBit) {
        *--first = 0x00;
    }
    if (value < 0 && !topBit) {
        *--first = 0xFF;
    }
    return writeSmall(ctx, first, static_cast<std::uint8_t>(end - first), tag, tagType);
}

int writeUnsigned(ASN1CTXT* ctx, std::uint32_t value, ASN1TagType tagType) {
    std::uint8_t octets[5];
    std::uint8_t* const end = octets + sizeof octets;
    std::uint8_t* first = end;
    do {
        *--first = static_cast<std::uint8_t>(value);
        value >>= 8;
    } while (value != 0);
    if ((*first & 0x80) != 0) {
        *--first = 0x00;
    }
    return writeSmall(ctx, first, static_cast<std::uint8_t>(end - first), kTagInteger, tagType);
}

/// Digits of a radix whose digits fill octets evenly: 2 hexadecimal or 8 binary ones.
struct Digits {
    const char* first;
    const char* end;
    int perOctet;

    [[nodiscard]] bool empty() const { return first == end; }
    [[nodiscard]] bool wholeOctets() const { return (end - first) % perOctet == 0; }
};

/// The digit's value, or -1.
int digitValue(char digit, int perOctet) {
    int value = -1;
    if (digit >= '0' && digit <= '9') {
        value = digit - '0';
    }
    if (digit >= 'a' && digit <= 'f') {
        value = digit - 'a' + 10;
    }
    if (digit >= 'A' && digit <= 'F') {
        value = digit - 'A' + 10;
    }
    return value <= (perOctet == 2 ? 15 : 1) ? value : -1;
}

/// True for text with one of the two prefixes and something after it.
bool readPrefix(const char* text, Digits* digits) {
    if (text[0] != '0' || (text[1] != 'x' && text[1] != 'b') || text[2] == '\0') {
        return false;
    }
    *digits = Digits{text + 2, text + std::strlen(text), text[1] == 'x' ? 2 : 8};
    return true;
}

bool firstDigitHasTopBit(const Digits& digits) {
    return digitValue(*digits.first, digits.perOctet) >= (digits.perOctet == 2 ? 8 : 1);
}

bool firstOctetIsAllOnes(const Digits& digits) {
    for (int i = 0; i < digits.perOctet; ++i) {
        if (digitValue(digits.first[i], digits.perOctet) != (digits.perOctet == 2 ? 15 : 1)) {
            return false;
        }
    }
    return true;
}

void dropZeros(Digits* digits) {
    while (!digits->empty() && *digits->first == '0') {
        ++digits->first;
    }
}

int writeOctet(ASN1CTXT* ctx, std::uint8_t octet) {
    const int status = encoding::reserve(ctx, 1);
    if (status == 0) {
        *encoding::claim(ctx, 1) = octet;
    }
    return status;
}

/// Writes the digits from the last to the first, the topmost octet perhaps from fewer of them. Returns the octets
/// written; `top` receives the topmost.
int writeDigits(ASN1CTXT* ctx, const Digits& digits, std::uint8_t* top) {
    const int bitsPerDigit = 8 / digits.perOctet;
    int written = 0;
    for (const char* position = digits.end; position != digits.first;) {
        unsigned octet = 0;
        for (int shift = 0; shift != 8 && position != digits.first; shift += bitsPerDigit) {
            const int value = digitValue(*--position, digits.perOctet);
            if (value < 0) {
                return STATUS_BAD_VALUE;
            }
            octet |= static_cast<unsigned>(value) << shift;
        }
        *top = static_cast<std::uint8_t>(octet);
        const int status = writeOctet(ctx, *top);
        if (status != 0) {
            return status;
        }
        ++written;
    }
    return written;
}

/// `contents` octets, or a failure, followed by one octet in front.
int withOctet(ASN1CTXT* ctx, int contents, std::uint8_t octet) {
    const int status = writeOctet(ctx, octet);
    return status != 0 ? status : contents + 1;
}

int writeTwosComplement(ASN1CTXT* ctx, Digits digits) {
    const bool negative = digits.wholeOctets() && firstDigitHasTopBit(digits);
    if (negative) {
        while (!digits.empty() && firstOctetIsAllOnes(digits)) {
            digits.first += digits.perOctet;
        }
    } else {
        dropZeros(&digits);
    }
    std::uint8_t top = 0;
    const int written = writeDigits(ctx, digits, &top);
    if (written < 0 || !digits.wholeOctets()) {
        return written;
    }
    const bool signShows = !digits.empty() && ((top & 0x80) != 0) == negative;
    return signShows ? written : withOctet(ctx, written, negative ? 0xFF : 0x00);
}

int writeMagnitude(ASN1CTXT* ctx, Digits digits) {
    const char* const given = digits.first;
    dropZeros(&digits);
    std::uint8_t top = 0;
    const int written = writeDigits(ctx, digits, &top);
    if (written < 0 || !digits.wholeOctets()) {
        return written;
    }
    // The writer of the text decides by a leading zero whether the top bit is protected; "0xFF" stays one octet.
    const bool protect = digits.first != given || digits.empty();
    return protect ? withOctet(ctx, written, 0x00) : written;
}

int writeBigInteger(ASN1CTXT* ctx, const RtBigInteger& big) {
    const std::int32_t length = rtBigIntGetDataLen(&big);
    if (std::int64_t{ctx->buffer.byteIndex} - length < 2) {
        const int status = xe_expandBuffer(ctx, static_cast<std::uint32_t>(length));
        if (status != 0) {
            return status;
        }
    }
    std::uint8_t* place = encoding::claim(ctx, static_cast<std::uint32_t>(length));
    return rtBigIntGetData(ctx, &big, place, length);
}

int writeNumberText(ASN1CTXT* ctx, const char* text) {
    std::uint8_t area[512];
    RtBigInteger big;
    rtBigIntInit(&big);
    big.mag = area;
    big.allocated = sizeof area;
    const int status = rtBigIntSetStr(ctx, &big, text, 0);
    const int written = status == 0 ? writeBigInteger(ctx, big) : status;
    rtBigIntFree(ctx, &big);
    return written;
}

/// Tags the contents of a big integer, or records the failure.
int finishBig(ASN1CTXT* ctx, int written, ASN1TagType tagType) {
    if (written >= 0 && tagType == TAG_EXPLICIT) {
        written = xe_tag_len(ctx, kTagInteger, written);
    }
    return written >= 0 ? written : rtErrSetData(&ctx->errInfo, written, nullptr, 0);
}

bool validObjectId(const ASN1OBJID* oid) {
    if (oid == nullptr || oid->numids < 2 || oid->numids > ASN1_MAX_ARCS) {
        return false;
    }
    return oid->subid[0] <= 2 && (oid->subid[1] <= 39 || oid->subid[0] == 2);
}

}  // namespace

extern "C" {

int xe_boolean(ASN1CTXT* ctx, const std::uint8_t* value, ASN1TagType tagType) noexcept {
    if (value == nullptr) {
        return STATUS_BAD_VALUE;
    }
    const std::uint8_t contents = *value != 0 ? 0xFF : 0x00;
    return writeSmall(ctx, &contents, 1, kTagBoolean, tagType);
}

int xe_integer(ASN1CTXT* ctx, const std::int32_t* value, ASN1TagType tagType) noexcept {
    return value != nullptr ? writeSigned(ctx, *value, kTagInteger, tagType) : STATUS_BAD_VALUE;
}

int xe_unsigned(ASN1CTXT* ctx, const std::uint32_t* value, ASN1TagType tagType) noexcept {
    return value != nullptr ? writeUnsigned(ctx, *value, tagType) : STATUS_BAD_VALUE;
}

int xe_uint16(ASN1CTXT* ctx, const std::uint16_t* value, ASN1TagType tagType) noexcept {
    return value != nullptr ? writeUnsigned(ctx, *value, tagType) : STATUS_BAD_VALUE;
}

int xe_enum(ASN1CTXT* ctx, const std::int32_t* value, ASN1TagType tagType) noexcept {
    return value != nullptr ? writeSigned(ctx, *value, kTagEnumerated, tagType) : STATUS_BAD_VALUE;
}

int xe_bigint(ASN1CTXT* ctx, const char* text, ASN1TagType tagType) noexcept {
    int written = STATUS_BAD_VALUE;
    Digits digits{};
    if (text != nullptr && *text != '\0') {
        if (std::strcmp(text, "0") == 0) {
            written = withOctet(ctx, 0, 0x00);
        } else {
            written = readPrefix(text, &digits) ? writeTwosComplement(ctx, digits) : writeNumberText(ctx, text);
        }
    }
    return finishBig(ctx, written, tagType);
}

int xe_biguint(ASN1CTXT* ctx, const char* text, ASN1TagType tagType) noexcept {
    int written = STATUS_BAD_VALUE;
    Digits digits{};
    if (text != nullptr) {
        if (std::strcmp(text, "0") == 0) {
            written = withOctet(ctx, 0, 0x00);
        } else if (readPrefix(text, &digits)) {
            written = writeMagnitude(ctx, digits);
        }
    }
    return finishBig(ctx, written, tagType);
}

int xe_null(ASN1CTXT* ctx, ASN1TagType tagType) noexcept {
    return tagType == TAG_EXPLICIT ? xe_tag_len(ctx, kTagNull, 0) : 0;
}

int xe_objid(ASN1CTXT* ctx, const ASN1OBJID* oid, ASN1TagType tagType) noexcept {
    if (!validObjectId(oid)) {
        return STATUS_BAD_OBJECT_ID;
    }
    // Five octets at most for each arc; the first two share one value, which may exceed 32 bits.
    std::uint8_t octets[ASN1_MAX_ARCS * 5];
    std::uint8_t* const end = octets + sizeof octets;
    std::uint8_t* first = end;
    for (std::uint32_t arc = oid->numids - 1; arc >= 2; --arc) {
        first = encoding::placeBase128(first, oid->subid[arc]);
    }
    first = encoding::placeBase128(first, std::uint64_t{oid->subid[0]} * 40 + oid->subid[1]);
    const int length = encoding::prepend(ctx, first, static_cast<std::uint32_t>(end - first));
    return length >= 0 && tagType == TAG_EXPLICIT ? xe_tag_len(ctx, kTagObjectId, length) : length;
}

}  // extern "C"
