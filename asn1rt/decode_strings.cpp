#include "asn1rt/decode_strings.h"

#include <algorithm>
#include <cstring>

#include "asn1rt/decode_core.h"

namespace {

using decoding::enter;
using decoding::position;
using decoding::remaining;

constexpr std::uint8_t kOctetStringOctet = 0x04;
constexpr std::uint8_t kBitStringOctet = 0x03;

/// A string whose header has been read and whose extent is known.
struct Extent {
    bool constructed;
    bool indefinite;
    int contents;  ///< octets of contents; of all segments in the indefinite form
    int encoded;   ///< octets up to the end of the value or its end-of-contents
};

int measureSegments(ASN1CTXT* ctx, ASN1TAG segmentTag, int* contentLength, int* encodedLength) {
    const std::uint32_t start = ctx->buffer.byteIndex;
    std::int64_t sum = 0;
    for (;;) {
        ASN1TAG tag = 0;
        int length = 0;
        const int status = decoding::readHeader(ctx, &tag, &length, MATCH_ADVANCE);
        if (status != 0) {
            return status;
        }
        if (tag != 0 && tag != segmentTag) {
            return STATUS_BAD_TAG;
        }
        if (tag == 0 && length == 0) {
            break;
        }
        if (length > 0) {
            // Segments that run past the input cannot be followed by end-of-contents, so the sum stays below its size.
            if (!decoding::holds(ctx, length)) {
                return STATUS_END_OF_BUFFER;
            }
            decoding::skip(ctx, length);
            sum += length;
        }
    }
    *encodedLength = static_cast<int>(ctx->buffer.byteIndex - start - 2);
    *contentLength = static_cast<int>(sum);
    return 0;
}

/// Measures and stays at the start of the contents.
int measure(ASN1CTXT* ctx, ASN1TAG segmentTag, int* contentLength, int* encodedLength) {
    ASN1BufferState state;
    xu_SaveBufferState(ctx, &state);
    const int status = measureSegments(ctx, segmentTag, contentLength, encodedLength);
    if (status == 0) {
        xu_RestoreBufferState(ctx, &state);
    }
    return status;
}

/// Reads the header (with TAG_EXPLICIT) and measures the string. Memory is requested by this extent, so a primitive
/// form must be complete.
int readExtent(ASN1CTXT* ctx, std::uint8_t octet, ASN1TAG segmentTag, ASN1TagType tagType, int length, Extent* extent) {
    if (tagType == TAG_EXPLICIT) {
        const int status = decoding::readOctetHeader(ctx, octet, decoding::kConstructedBit, &length);
        if (status != 0) {
            return status;
        }
    }
    *extent = Extent{decoding::isConstructed(ctx), length == LEN_INDEFINITE, length, length};
    if (extent->indefinite) {
        return measure(ctx, segmentTag, &extent->contents, &extent->encoded);
    }
    return extent->constructed || length < 0 || decoding::holds(ctx, length) ? 0 : STATUS_END_OF_BUFFER;
}

/// The room that the contents need. A definite constructed form may claim more than the input holds, and fails on that
/// later; its segments are within the input, so this is enough for them.
std::uint32_t roomFor(const ASN1CTXT* ctx, const Extent& extent) {
    return std::min(static_cast<std::uint32_t>(extent.contents), remaining(ctx));
}

/// The strings consume their own end-of-contents.
int finish(ASN1CTXT* ctx, const Extent& extent) {
    if (!extent.constructed || !extent.indefinite) {
        return 0;
    }
    if (!decoding::atEndOfContents(ctx)) {
        return STATUS_BAD_LENGTH;
    }
    ctx->buffer.byteIndex += 2;
    return 0;
}

int copyInput(ASN1CTXT* ctx, std::uint8_t* destination, int length) {
    if (!decoding::holds(ctx, length)) {
        return STATUS_END_OF_BUFFER;
    }
    if (length != 0) {
        std::memcpy(destination, position(ctx), static_cast<std::size_t>(length));
    }
    ctx->buffer.byteIndex += static_cast<std::uint32_t>(length);
    return 0;
}

/// Reads the header of a string that must be primitive. When the length cannot be read, the failure is recorded and
/// `length` keeps the caller's value: reading goes on with that, and its outcome is the result, while the context keeps
/// the first failure.
int readPrimitiveHeader(ASN1CTXT* ctx, std::uint8_t octet, int* length) {
    if (remaining(ctx) == 0) {
        return STATUS_END_OF_BUFFER;
    }
    if (*position(ctx) != octet) {
        return STATUS_TAG_MISMATCH;
    }
    decoding::setConstructed(ctx, false);
    ++ctx->buffer.byteIndex;
    int read = 0;
    if (enter(ctx, decoding::readLength(ctx, &read)) == 0) {
        *length = read;
    }
    return 0;
}

/// Contents of `length` octets that must fit `room`; returns the octets copied.
int primitiveOctets(ASN1CTXT* ctx, std::uint8_t* destination, std::uint32_t room, int length, std::uint32_t* count) {
    if (length < 0) {
        return STATUS_BAD_LENGTH;
    }
    if (static_cast<std::uint32_t>(length) > room) {
        return STATUS_STRING_OVERFLOW;
    }
    const int status = copyInput(ctx, destination, length);
    if (status == 0) {
        *count = static_cast<std::uint32_t>(length);
    }
    return status;
}

/// A wrong tag inside a string must not look like the absence of the string itself.
int segmentStatus(int status) {
    return status == STATUS_TAG_MISMATCH ? STATUS_BAD_TAG : status;
}

/// Primitive segments that fill exactly `length` octets of input.
int segmentedOctets(ASN1CTXT* ctx, std::uint8_t* destination, std::uint32_t room, int length, std::uint32_t* count) {
    const std::uint32_t start = ctx->buffer.byteIndex;
    std::uint32_t gathered = 0;
    while (!decoding::atEndOfValue(ctx, start, length)) {
        int segment = static_cast<int>(room - gathered);
        int status = segmentStatus(readPrimitiveHeader(ctx, kOctetStringOctet, &segment));
        std::uint32_t copied = 0;
        if (status == 0) {
            status = primitiveOctets(ctx, destination + gathered, room - gathered, segment, &copied);
        }
        if (status != 0) {
            return status;
        }
        gathered += copied;
    }
    *count = gathered;
    return ctx->buffer.byteIndex - start == static_cast<std::uint32_t>(length) ? 0 : STATUS_BAD_LENGTH;
}

int octetContents(ASN1CTXT* ctx, std::uint8_t* destination, std::uint32_t room, bool constructed, int length,
                  std::uint32_t* count) {
    return constructed ? segmentedOctets(ctx, destination, room, length, count)
                       : primitiveOctets(ctx, destination, room, length, count);
}

/// A heap block with the contents and `extra` zero octets after them; nothing is allocated for a negative length.
int allocateContents(ASN1CTXT* ctx, const Extent& extent, std::uint32_t extra, std::uint8_t** block,
                     std::uint32_t* count) {
    const std::uint32_t room = extent.contents >= 0 ? roomFor(ctx, extent) : 0;
    auto* made = static_cast<std::uint8_t*>(rtMemHeapAlloc(&ctx->pTypeMemHeap, std::size_t{room} + extra));
    if (made == nullptr) {
        return STATUS_NO_MEMORY;
    }
    *block = made;
    int status = 0;
    if (extent.contents >= 0) {
        status = octetContents(ctx, made, room, extent.constructed, extent.encoded, count);
    }
    if (status != 0) {
        return status;
    }
    if (extra != 0) {
        std::memset(made + *count, 0, extra);
    }
    // Segment headers were measured, too; the size of the block must be that of the string.
    if (*count < room) {
        static_cast<void>(rtMemHeapRealloc(&ctx->pTypeMemHeap, made, std::size_t{*count} + extra));
    }
    return finish(ctx, extent);
}

bool zeroCopy(const ASN1CTXT* ctx, const Extent& extent) {
    return (ctx->flags & CTX_FLAG_ZERO_COPY) != 0 && !extent.constructed && !extent.indefinite;
}

int readOctets(ASN1CTXT* ctx, const std::uint8_t** data, std::uint32_t* numocts, const Extent& extent) {
    *data = nullptr;
    *numocts = 0;
    if (extent.contents < 0) {
        return 0;
    }
    if (zeroCopy(ctx, extent)) {
        *data = position(ctx);
        *numocts = static_cast<std::uint32_t>(extent.contents);
        decoding::skip(ctx, extent.contents);
        return 0;
    }
    std::uint8_t* block = nullptr;
    const int status = allocateContents(ctx, extent, 0, &block, numocts);
    *data = block;
    return status;
}

/// The tag octet of a character string, for tag numbers up to 30.
std::uint8_t octetOf(ASN1TAG tag) {
    return static_cast<std::uint8_t>((tag & 31) | (tag >> 24));
}

template <typename Character>
Character toHost(const std::uint8_t* octets) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < sizeof(Character); ++i) {
        value = (value << 8) | octets[i];
    }
    return static_cast<Character>(value);
}

template <typename String>
int readWide(ASN1CTXT* ctx, String* string, ASN1TagType tagType, ASN1TAG tag, int length) {
    using Character = std::remove_pointer_t<decltype(string->data)>;
    string->nchars = 0;
    string->data = nullptr;
    Extent extent{};
    const int status = readExtent(ctx, octetOf(tag), kTagOctetString, tagType, length, &extent);
    if (status != 0) {
        return status;
    }
    if (extent.contents == 0 && extent.encoded == 0) {
        return finish(ctx, extent);
    }
    std::uint8_t* block = nullptr;
    std::uint32_t count = 0;
    const int read = allocateContents(ctx, extent, 0, &block, &count);
    if (read != 0 || count == 0) {
        return read;
    }
    string->nchars = count / sizeof(Character);
    string->data = static_cast<Character*>(static_cast<void*>(block));
    for (std::uint32_t i = 0; i < string->nchars; ++i) {
        string->data[i] = toHost<Character>(block + std::size_t{i} * sizeof(Character));
    }
    return 0;
}

/// Octets of `numbits` bits; none for none.
std::uint32_t octetsOf(std::uint32_t numbits) {
    return numbits != 0 ? (numbits - 1) / 8 + 1 : 0;
}

int bitCount(std::uint32_t octets, std::uint8_t unused, std::uint32_t* numbits) {
    if (unused > 7) {
        return STATUS_BAD_VALUE;
    }
    if (octets == 0 && unused != 0) {
        return STATUS_BAD_LENGTH;
    }
    *numbits = octets * 8 - unused;
    return 0;
}

int primitiveBits(ASN1CTXT* ctx, std::uint8_t* destination, std::uint32_t capacity, int length,
                  std::uint32_t* numbits) {
    *numbits = 0;
    if (length == 0) {
        return 0;
    }
    if (length < 0) {
        return STATUS_BAD_LENGTH;
    }
    if (remaining(ctx) == 0) {
        return STATUS_END_OF_BUFFER;
    }
    const std::uint8_t unused = *position(ctx);
    ++ctx->buffer.byteIndex;
    if (length == 1) {
        return unused == 0 ? 0 : STATUS_BAD_LENGTH;
    }
    const int octets = length - 1;
    if (unused > 7) {
        return STATUS_BAD_VALUE;
    }
    if (static_cast<std::uint32_t>(octets) > capacity) {
        return STATUS_STRING_OVERFLOW;
    }
    const int status = copyInput(ctx, destination, octets);
    return status != 0 ? status : bitCount(static_cast<std::uint32_t>(octets), unused, numbits);
}

/// Gathers the segments of a constructed bit string. Only one initial octet is taken as the count of unused bits: that
/// of the segment which fills the destination and one more, or else that of the last segment. The initial octets of the
/// other segments stay among the data, so that such strings come out longer than they should; DER has none of them.
class BitSegments {
public:
    BitSegments(std::uint8_t* destination, std::uint32_t capacity) : destination_(destination), capacity_(capacity) {}

    int add(ASN1CTXT* ctx, int length) {
        if (length < 0) {
            return STATUS_BAD_LENGTH;
        }
        if (!decoding::holds(ctx, length)) {
            return STATUS_END_OF_BUFFER;
        }
        const std::uint64_t total = std::uint64_t{gathered_} + static_cast<std::uint32_t>(length);
        if (!unusedFound_ && length > 0 && total == std::uint64_t{capacity_} + 1) {
            unused_ = *position(ctx);
            unusedFound_ = true;
            ++ctx->buffer.byteIndex;
            --length;
        } else if (total > capacity_) {
            return STATUS_STRING_OVERFLOW;
        }
        lastStart_ = gathered_;
        gathered_ += static_cast<std::uint32_t>(length);
        return copyInput(ctx, destination_ + lastStart_, length);
    }

    int finish(std::uint32_t* numbits) {
        if (!unusedFound_ && gathered_ != lastStart_) {
            unused_ = destination_[lastStart_];
            --gathered_;
            std::memmove(destination_ + lastStart_, destination_ + lastStart_ + 1, gathered_ - lastStart_);
        }
        return bitCount(gathered_, unused_, numbits);
    }

private:
    std::uint8_t* destination_;
    std::uint32_t capacity_;
    std::uint32_t gathered_ = 0;
    std::uint32_t lastStart_ = 0;
    std::uint8_t unused_ = 0;
    bool unusedFound_ = false;
};

int segmentedBits(ASN1CTXT* ctx, std::uint8_t* destination, std::uint32_t capacity, int length,
                  std::uint32_t* numbits) {
    const std::uint32_t start = ctx->buffer.byteIndex;
    BitSegments segments(destination, capacity);
    while (!decoding::atEndOfValue(ctx, start, length)) {
        int segment = 0;
        int status = decoding::readOctetHeader(ctx, kBitStringOctet, decoding::kConstructedBit, &segment);
        status = status == 0 ? segments.add(ctx, segment) : segmentStatus(status);
        if (status != 0) {
            return status;
        }
    }
    const int status = segments.finish(numbits);
    if (status != 0 || length == LEN_INDEFINITE) {
        return status;
    }
    return ctx->buffer.byteIndex - start == static_cast<std::uint32_t>(length) ? 0 : STATUS_BAD_LENGTH;
}

int bitContents(ASN1CTXT* ctx, std::uint8_t* destination, std::uint32_t capacity, bool constructed, int length,
                std::uint32_t* numbits) {
    return constructed ? segmentedBits(ctx, destination, capacity, length, numbits)
                       : primitiveBits(ctx, destination, capacity, length, numbits);
}

/// Bits of two or more contents octets in place.
int bitsInInput(ASN1CTXT* ctx, const std::uint8_t** data, std::uint32_t* numbits, int contents) {
    const std::uint8_t* octets = position(ctx);
    const int status = bitCount(static_cast<std::uint32_t>(contents - 1), *octets, numbits);
    if (status != 0) {
        return status;
    }
    *data = octets + 1;
    decoding::skip(ctx, contents);
    return 0;
}

/// Fewer than two contents octets: no bits.
int noBits(ASN1CTXT* ctx, const Extent& extent) {
    std::uint8_t none = 0;
    std::uint32_t numbits = 0;
    if (extent.constructed && extent.indefinite && extent.encoded > 0) {
        return bitContents(ctx, &none, 0, true, extent.encoded, &numbits);
    }
    if (extent.contents != 1) {
        return 0;
    }
    if (remaining(ctx) == 0) {
        return STATUS_END_OF_BUFFER;
    }
    const bool zero = *position(ctx) == 0;
    ++ctx->buffer.byteIndex;
    return zero ? 0 : STATUS_BAD_LENGTH;
}

int readBits(ASN1CTXT* ctx, const std::uint8_t** data, std::uint32_t* numbits, const Extent& extent) {
    *data = nullptr;
    *numbits = 0;
    if (extent.contents < 2) {
        return noBits(ctx, extent);
    }
    // The count of bits has 32 of them.
    if (static_cast<std::uint32_t>(extent.contents) > UINT32_MAX / 8) {
        return STATUS_BAD_LENGTH;
    }
    if (zeroCopy(ctx, extent)) {
        return bitsInInput(ctx, data, numbits, extent.contents);
    }
    const std::uint32_t capacity = static_cast<std::uint32_t>(extent.contents) - 1;
    const std::uint32_t room = std::min(capacity, remaining(ctx));
    auto* block = static_cast<std::uint8_t*>(rtMemHeapAlloc(&ctx->pTypeMemHeap, room));
    if (block == nullptr) {
        return STATUS_NO_MEMORY;
    }
    *data = block;
    return bitContents(ctx, block, room, extent.constructed, extent.encoded, numbits);
}

}  // namespace

extern "C" {

int xd_octstr(ASN1CTXT* ctx, const std::uint8_t** data, std::uint32_t* numocts, ASN1TagType tagType,
              int length) noexcept {
    Extent extent{};
    int status = readExtent(ctx, kOctetStringOctet, kTagOctetString, tagType, length, &extent);
    if (status == 0) {
        status = readOctets(ctx, data, numocts, extent);
    }
    return enter(ctx, status);
}

int xd_octstr_s(ASN1CTXT* ctx, std::uint8_t* destination, std::uint32_t* numocts, ASN1TagType tagType,
                int length) noexcept {
    if (tagType == TAG_EXPLICIT) {
        const int status = readPrimitiveHeader(ctx, kOctetStringOctet, &length);
        if (status != 0) {
            return enter(ctx, status);
        }
    }
    if (length < 0) {
        return enter(ctx, STATUS_BAD_LENGTH);
    }
    const std::uint32_t capacity = *numocts;
    if (static_cast<std::uint32_t>(length) > capacity) {
        return enter(ctx, STATUS_STRING_OVERFLOW);
    }
    return enter(ctx, octetContents(ctx, destination, capacity, decoding::isConstructed(ctx), length, numocts));
}

int xd_bitstr(ASN1CTXT* ctx, const std::uint8_t** data, std::uint32_t* numbits, ASN1TagType tagType,
              int length) noexcept {
    Extent extent{};
    int status = readExtent(ctx, kBitStringOctet, kTagBitString, tagType, length, &extent);
    if (status == 0) {
        status = readBits(ctx, data, numbits, extent);
    }
    if (status == 0) {
        status = finish(ctx, extent);
    }
    return enter(ctx, status);
}

int xd_bitstr_s(ASN1CTXT* ctx, std::uint8_t* destination, std::uint32_t* numbits, ASN1TagType tagType,
                int length) noexcept {
    if (tagType == TAG_EXPLICIT) {
        const int status = decoding::readOctetHeader(ctx, kBitStringOctet, 0, &length);
        if (status != 0) {
            return enter(ctx, status);
        }
    }
    const std::uint32_t capacity = octetsOf(*numbits);
    return enter(ctx, bitContents(ctx, destination, capacity, decoding::isConstructed(ctx), length, numbits));
}

int xd_charstr(ASN1CTXT* ctx, const char** text, ASN1TagType tagType, ASN1TAG tag, int length) noexcept {
    Extent extent{};
    int status = readExtent(ctx, octetOf(tag), kTagOctetString, tagType, length, &extent);
    if (status != 0) {
        return enter(ctx, status);
    }
    std::uint8_t* block = nullptr;
    std::uint32_t count = 0;
    status = allocateContents(ctx, extent, 1, &block, &count);
    *text = static_cast<const char*>(static_cast<const void*>(block));
    return enter(ctx, status);
}

int xd_16BitCharStr(ASN1CTXT* ctx, ASN1T16BitCharStr* string, ASN1TagType tagType, ASN1TAG tag, int length) noexcept {
    return enter(ctx, readWide(ctx, string, tagType, tag, length));
}

int xd_32BitCharStr(ASN1CTXT* ctx, ASN1T32BitCharStr* string, ASN1TagType tagType, ASN1TAG tag, int length) noexcept {
    return enter(ctx, readWide(ctx, string, tagType, tag, length));
}

int xd_consStrIndefLenAndSize(ASN1CTXT* ctx, ASN1TAG segmentTag, int* contentLength, int* encodedLength) noexcept {
    return enter(ctx, measure(ctx, segmentTag, contentLength, encodedLength));
}

}  // extern "C"
