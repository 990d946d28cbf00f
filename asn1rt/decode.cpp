#include "asn1rt/decode.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "asn1rt/decode_core.h"

namespace decoding {

namespace {

/// Most subsequent octets of a tag, leading zero groups included.
constexpr int kMaxTagOctets = 9;

int readTagNumber(ASN1CTXT* ctx, ASN1TAG* number) {
    *number = 0;
    for (int taken = 0;; ++taken) {
        if (remaining(ctx) == 0) {
            return STATUS_END_OF_BUFFER;
        }
        // Seven more bits must not push the number beyond bit 28, where class and form begin.
        if ((*number >> 22) != 0 || taken == kMaxTagOctets) {
            return STATUS_BAD_TAG;
        }
        const std::uint8_t octet = *position(ctx);
        ++ctx->buffer.byteIndex;
        *number = (*number << 7) | (octet & 0x7FU);
        if ((octet & 0x80) == 0) {
            return 0;
        }
    }
}

int readTag(ASN1CTXT* ctx, ASN1TAG* tag) {
    if (remaining(ctx) == 0) {
        return STATUS_END_OF_BUFFER;
    }
    const std::uint8_t identifier = *position(ctx);
    ++ctx->buffer.byteIndex;
    setConstructed(ctx, (identifier & kConstructedBit) != 0);
    ASN1TAG number = identifier & 0x1FU;
    if (number == 0x1F) {
        const int status = readTagNumber(ctx, &number);
        if (status != 0) {
            return status;
        }
    }
    *tag = (ASN1TAG{identifier & 0xE0U} << 24) | number;
    return 0;
}

int readTagAndLength(ASN1CTXT* ctx, ASN1TAG* tag, int* length) {
    int status = readTag(ctx, tag);
    if (status == 0) {
        status = readLength(ctx, length);
    }
    if (status != 0) {
        return status;
    }
    return *length == LEN_INDEFINITE && (*tag & kTagConstructed) == 0 ? STATUS_BAD_LENGTH : 0;
}

/// Walks elements, entering indefinite ones, until as many have ended as began. The depth is a number and not a stack,
/// so nesting costs nothing and needs no limit; each octet is passed once.
int walkToEndOfContents(ASN1CTXT* ctx, int depth) {
    do {
        ASN1TAG tag = 0;
        int length = 0;
        const int status = readHeader(ctx, &tag, &length, MATCH_ADVANCE);
        if (status != 0) {
            return status;
        }
        if (length == LEN_INDEFINITE) {
            ++depth;
        } else if (length != 0) {
            skip(ctx, length);
        } else if (tag == 0) {
            --depth;
        }
    } while (depth > 0);
    return 0;
}

/// What a search returns for the end of the input: the tag is not there.
int notFound(int status) {
    return status == STATUS_END_OF_BUFFER ? STATUS_TAG_MISMATCH : status;
}

int skipFirst(ASN1CTXT* ctx) {
    ASN1TAG tag = 0;
    int length = 0;
    const int status = readHeader(ctx, &tag, &length, MATCH_ADVANCE);
    if (status != 0) {
        xu_RestoreBufferState(ctx, nullptr);
        return notFound(status);
    }
    // A constructed element is not skipped: the search continues inside it.
    if ((tag & kTagConstructed) == 0) {
        skip(ctx, length);
    }
    return 0;
}

bool sameTag(ASN1TAG a, ASN1TAG b) {
    return ((a ^ b) & ~kTagConstructed) == 0;
}

/// Reads headers from the position on until one has the tag. `start` receives the index of the last one read.
int seek(ASN1CTXT* ctx, ASN1TAG tag, int* length, bool seekOn, std::uint32_t* start) {
    for (;;) {
        ASN1TAG found = 0;
        *start = ctx->buffer.byteIndex;
        const int status = readHeader(ctx, &found, length, MATCH_ADVANCE);
        if (status != 0) {
            return notFound(status);
        }
        if (sameTag(found, tag)) {
            return 0;
        }
        if (!seekOn) {
            return STATUS_TAG_MISMATCH;
        }
        if ((found & kTagConstructed) == 0) {
            skip(ctx, *length);
        }
    }
}

}  // namespace

int readLongLength(ASN1CTXT* ctx, int* length) {
    const std::uint32_t count = *position(ctx) & 0x7FU;
    ++ctx->buffer.byteIndex;
    if (count == 0) {
        *length = LEN_INDEFINITE;
        return 0;
    }
    if (count > 4) {
        return STATUS_BAD_LENGTH;
    }
    if (remaining(ctx) < count) {
        ctx->buffer.byteIndex = ctx->buffer.size;
        return STATUS_END_OF_BUFFER;
    }
    std::uint32_t value = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        value = (value << 8) | position(ctx)[i];
    }
    ctx->buffer.byteIndex += count;
    // The four octets FF FF D8 F1 are the number that means the indefinite form, and are taken for it: an element
    // that claims this length must end with end-of-contents.
    *length = static_cast<int>(value);
    if (*length == LEN_INDEFINITE || (ctx->flags & CTX_FLAG_NO_LENGTH_CHECK) != 0) {
        return 0;
    }
    return holds(ctx, *length) ? 0 : STATUS_BAD_LENGTH;
}

int readHeader(ASN1CTXT* ctx, ASN1TAG* tag, int* length, int options) {
    if (outerIndefinite(ctx)) {
        if ((ctx->flags & CTX_FLAG_END_REACHED) != 0) {
            return STATUS_END_OF_BUFFER;
        }
    } else if (remaining(ctx) == 0) {
        return STATUS_END_OF_BUFFER;
    }
    xu_SaveBufferState(ctx, nullptr);
    const int status = readTagAndLength(ctx, tag, length);
    if ((options & MATCH_ADVANCE) == 0) {
        ctx->buffer.byteIndex = ctx->savedInfo.byteIndex;
        ctx->flags = ctx->savedInfo.flags;
    }
    return status;
}

int movePastEndOfContents(ASN1CTXT* ctx) {
    return walkToEndOfContents(ctx, 1);
}

int skipElement(ASN1CTXT* ctx) {
    ASN1TAG tag = 0;
    int length = 0;
    const int status = readHeader(ctx, &tag, &length, MATCH_ADVANCE);
    if (status != 0) {
        return status;
    }
    if (length == LEN_INDEFINITE) {
        return movePastEndOfContents(ctx);
    }
    skip(ctx, length);
    return 0;
}

int match(ASN1CTXT* ctx, ASN1TAG tag, int* length, int options) {
    if ((options & MATCH_SKIP_FIRST) != 0) {
        const int status = skipFirst(ctx);
        if (status != 0) {
            return status;
        }
    }
    ASN1BufferState before;
    xu_SaveBufferState(ctx, &before);
    std::uint32_t start = 0;
    int found = 0;
    const int status = seek(ctx, tag, &found, (options & MATCH_SEEK) != 0, &start);
    if (status != 0) {
        xu_RestoreBufferState(ctx, &before);
        return status;
    }
    if (length != nullptr) {
        *length = found;
    }
    if ((options & MATCH_ADVANCE) == 0) {
        ctx->buffer.byteIndex = start;
    }
    return 0;
}

int indefiniteLength(const std::uint8_t* data, int size) {
    if (data == nullptr) {
        return STATUS_BAD_ARGUMENT;
    }
    ASN1CTXT reader = readOnlyContext();
    int length = 0;
    int status = xd_setp(&reader, data, size, nullptr, &length);
    if (status != 0) {
        return status;
    }
    if (length != LEN_INDEFINITE) {
        return STATUS_BAD_LENGTH;
    }
    status = walkToEndOfContents(&reader, 0);
    return status != 0 ? status : static_cast<int>(reader.buffer.byteIndex);
}

ASN1CTXT readOnlyContext() {
    ASN1CTXT ctx{};
    ctx.initCode = ASN1_INIT_CODE;
    return ctx;
}

}  // namespace decoding

namespace {

/// Cuts the input down to its first element, whose contents of `length` octets begin at the position.
int clipToElement(ASN1CTXT* ctx, int length, int* elementLength) {
    if (length == LEN_INDEFINITE) {
        ctx->flags |= CTX_FLAG_OUTER_INDEFINITE;
        if (elementLength != nullptr) {
            *elementLength = LEN_INDEFINITE;
        }
        return 0;
    }
    const std::uint64_t end = std::uint64_t{ctx->buffer.byteIndex} + static_cast<std::uint32_t>(length);
    if (elementLength != nullptr) {
        *elementLength = static_cast<int>(std::min<std::uint64_t>(end, std::numeric_limits<int>::max()));
    }
    if (end <= ctx->buffer.size) {
        ctx->buffer.size = static_cast<std::uint32_t>(end);
        return 0;
    }
    return (ctx->flags & CTX_FLAG_NO_LENGTH_CHECK) != 0 ? 0 : STATUS_BAD_LENGTH;
}

int countElements(ASN1CTXT* ctx, int length, std::uint32_t* count) {
    const std::uint32_t start = ctx->buffer.byteIndex;
    if (length != LEN_INDEFINITE && length <= 0) {
        return 0;
    }
    while (!decoding::atEndOfValue(ctx, start, length)) {
        const int status = decoding::skipElement(ctx);
        if (status != 0) {
            return status;
        }
        ++*count;
    }
    return 0;
}

}  // namespace

namespace decoding {

int bind(ASN1CTXT* ctx, const std::uint8_t* data, int size, ASN1TAG* tag, int* length) {
    const auto sizeInput = static_cast<std::uint32_t>(size > 0 ? size : std::numeric_limits<int>::max());
    int status = rtInitContextBuffer(ctx, data, sizeInput);
    if (status != 0) {
        return status;
    }
    // Without data the input is a fresh block, whose octets must not depend on what the memory held before.
    if (data == nullptr) {
        std::memset(ctx->buffer.data, 0, ctx->buffer.size);
    }
    ctx->flags &= static_cast<std::uint16_t>(~(CTX_FLAG_OUTER_INDEFINITE | CTX_FLAG_END_REACHED));
    ASN1TAG firstTag = 0;
    int firstLength = 0;
    status = readHeader(ctx, &firstTag, &firstLength, MATCH_ADVANCE);
    if (status == 0) {
        status = clipToElement(ctx, firstLength, length);
        ctx->buffer.byteIndex = 0;
        if (tag != nullptr) {
            *tag = firstTag;
        }
    } else if (status == STATUS_BAD_LENGTH) {
        ctx->buffer.byteIndex = 0;
    }
    return enter(ctx, status);
}

}  // namespace decoding

extern "C" {

int xd_setp(ASN1CTXT* ctx, const std::uint8_t* data, int size, ASN1TAG* tag, int* length) noexcept {
    const int status = decoding::bind(ctx, data, size, tag, length);
    // Also after a failure: a caller may continue to read what is bound now.
    if (ctx->initCode == ASN1_INIT_CODE) {
        rtMemHeapLimitToInput(&ctx->pTypeMemHeap, ctx->buffer.size);
    }
    return status;
}

int xd_tag_len(ASN1CTXT* ctx, ASN1TAG* tag, int* length, int options) noexcept {
    return decoding::enter(ctx, decoding::readHeader(ctx, tag, length, options));
}

int xd_tag(ASN1CTXT* ctx, ASN1TAG* tag) noexcept {
    return decoding::enter(ctx, decoding::readTag(ctx, tag));
}

int xd_len(ASN1CTXT* ctx, int* length) noexcept {
    return decoding::enter(ctx, decoding::readLength(ctx, length));
}

int xd_Tag1AndLen(ASN1CTXT* ctx, int* length) noexcept {
    if (decoding::remaining(ctx) == 0) {
        return decoding::enter(ctx, STATUS_END_OF_BUFFER);
    }
    decoding::setConstructed(ctx, true);
    ++ctx->buffer.byteIndex;
    return decoding::enter(ctx, decoding::readLength(ctx, length));
}

int xd_match1(ASN1CTXT* ctx, std::uint8_t tagOctet, int* length) noexcept {
    return decoding::enter(ctx, decoding::readOctetHeader(ctx, tagOctet, decoding::kConstructedBit, length));
}

int xd_match(ASN1CTXT* ctx, ASN1TAG tag, int* length, int options) noexcept {
    return decoding::enter(ctx, decoding::match(ctx, tag, length, options));
}

int xd_count(ASN1CTXT* ctx, int length, std::uint32_t* count) noexcept {
    const ASN1Buffer before = ctx->buffer;
    *count = 0;
    const int status = countElements(ctx, length, count);
    if (status == 0) {
        ctx->buffer = before;
    }
    return decoding::enter(ctx, status);
}

int xd_NextElement(ASN1CTXT* ctx) noexcept {
    return decoding::enter(ctx, decoding::skipElement(ctx));
}

int xd_MovePastEOC(ASN1CTXT* ctx) noexcept {
    return decoding::enter(ctx, decoding::movePastEndOfContents(ctx));
}

int xd_indeflen_ex(const std::uint8_t* data, int bufferSize) noexcept {
    return bufferSize < 5 ? 0 : decoding::indefiniteLength(data, bufferSize);
}

int xd_memcpy(ASN1CTXT* ctx, void* destination, int length) noexcept {
    if (!decoding::holds(ctx, length)) {
        return decoding::enter(ctx, STATUS_END_OF_BUFFER);
    }
    if (length != 0) {
        std::memcpy(destination, decoding::position(ctx), static_cast<std::size_t>(length));
    }
    ctx->buffer.byteIndex += static_cast<std::uint32_t>(length);
    return 0;
}

void xu_SaveBufferState(ASN1CTXT* ctx, ASN1BufferState* state) noexcept {
    if (state == nullptr) {
        state = &ctx->savedInfo;
    }
    state->byteIndex = ctx->buffer.byteIndex;
    state->bitOffset = static_cast<std::uint16_t>(ctx->buffer.bitOffset);
    state->flags = ctx->flags;
}

void xu_RestoreBufferState(ASN1CTXT* ctx, const ASN1BufferState* state) noexcept {
    if (state == nullptr) {
        state = &ctx->savedInfo;
    }
    ctx->buffer.byteIndex = state->byteIndex;
    ctx->buffer.bitOffset = static_cast<std::int16_t>(state->bitOffset);
    ctx->flags = state->flags & static_cast<std::uint16_t>(~CTX_FLAG_END_REACHED);
}

}  // extern "C"
