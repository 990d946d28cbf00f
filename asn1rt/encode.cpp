#include "asn1rt/encode.h"

#include <algorithm>
#include <limits>

#include "asn1rt/encode_core.h"

namespace {

/// Gives the context a larger buffer and returns the old block, which the caller frees once nothing refers to it.
int growBuffer(ASN1CTXT* ctx, std::uint32_t length, std::uint8_t** old) {
    ASN1Buffer& buffer = ctx->buffer;
    if (buffer.dynamic == 0) {
        return STATUS_BUFFER_FULL;
    }
    const std::uint32_t grow = std::max(length, ASN1_DEFAULT_BUFFER_SIZE);
    const std::uint64_t size = std::uint64_t{buffer.size} + grow;
    auto* data = static_cast<std::uint8_t*>(rtMemHeapAlloc(&ctx->pTypeMemHeap, size));
    if (data == nullptr) {
        return STATUS_NO_MEMORY;
    }
    const std::uint32_t written = buffer.size - std::min(buffer.byteIndex, buffer.size);
    std::memcpy(data + size - written, buffer.data + buffer.byteIndex, written);
    *old = buffer.data;
    buffer.data = data;
    buffer.byteIndex += grow;
    buffer.size = static_cast<std::uint32_t>(size);
    return 0;
}

}  // namespace

extern "C" {

int xe_setp(ASN1CTXT* ctx, std::uint8_t* data, int size) noexcept {
    if (ctx->initCode == ASN1_INIT_CODE) {
        rtMemHeapRemoveLimit(&ctx->pTypeMemHeap);
    }
    const int status = rtInitContextBuffer(ctx, data, static_cast<std::uint32_t>(std::max(size, 0)));
    if (status != 0) {
        return status;
    }
    // The last octet is never written. A buffer of the caller's without any octet has no room from the start.
    ctx->buffer.byteIndex = ctx->buffer.size != 0 ? ctx->buffer.size - 1 : 0;
    return 0;
}

std::uint8_t* xe_getp(const ASN1CTXT* ctx) noexcept {
    return ctx->buffer.data + ctx->buffer.byteIndex;
}

void xe_free(ASN1CTXT* ctx) noexcept {
    if (ctx->buffer.dynamic == 0 || ctx->buffer.data == nullptr) {
        return;
    }
    rtMemHeapFreePtr(&ctx->pTypeMemHeap, ctx->buffer.data);
    // Without a block there is no room and nothing written: a writer that comes next must not trust the old counts.
    ctx->buffer.data = nullptr;
    ctx->buffer.dynamic = 0;
    ctx->buffer.byteIndex = 0;
    ctx->buffer.size = 0;
}

int xe_expandBuffer(ASN1CTXT* ctx, std::uint32_t length) noexcept {
    std::uint8_t* old = nullptr;
    const int status = growBuffer(ctx, length, &old);
    if (status == 0) {
        rtMemHeapFreePtr(&ctx->pTypeMemHeap, old);
    }
    return status;
}

int xe_memcpy(ASN1CTXT* ctx, const void* source, std::uint32_t length) noexcept {
    if (source == nullptr) {
        return STATUS_BAD_VALUE;
    }
    if (ctx->buffer.byteIndex >= length) {
        std::uint8_t* place = encoding::claim(ctx, length);
        if (length == 1) {
            *place = *static_cast<const std::uint8_t*>(source);
        } else {
            std::memmove(place, source, length);
        }
        return static_cast<int>(length);
    }
    // The source may be part of the message itself, so the old block goes last.
    std::uint8_t* old = nullptr;
    const int status = growBuffer(ctx, length, &old);
    if (status != 0) {
        return status;
    }
    std::memcpy(encoding::claim(ctx, length), source, length);
    rtMemHeapFreePtr(&ctx->pTypeMemHeap, old);
    return static_cast<int>(length);
}

void xe_getBufLocDescr(const ASN1CTXT* ctx, std::uint32_t numocts, ASN1BufLocDescr* descriptor) noexcept {
    descriptor->numocts = numocts;
    descriptor->offset = ctx->buffer.size - 1 - ctx->buffer.byteIndex;
}

int xe_tag(ASN1CTXT* ctx, ASN1TAG tag) noexcept {
    std::uint8_t octets[encoding::kMaxHeader];
    std::uint8_t* const end = octets + sizeof octets;
    const std::uint8_t* first = encoding::placeTag(end, tag);
    return encoding::prepend(ctx, first, static_cast<std::uint32_t>(end - first));
}

int xe_len(ASN1CTXT* ctx, int length) noexcept {
    std::uint8_t octets[encoding::kMaxHeader];
    std::uint8_t* const end = octets + sizeof octets;
    std::uint8_t* first = end;
    if (length == LEN_INDEFINITE) {
        *--first = 0x80;
    } else if (length >= 0) {
        first = encoding::placeLength(first, static_cast<std::uint32_t>(length));
    } else {
        return 0;
    }
    return encoding::prepend(ctx, first, static_cast<std::uint32_t>(end - first));
}

int xe_tag_len(ASN1CTXT* ctx, ASN1TAG tag, int length) noexcept {
    if (length < 0 && length != LEN_INDEFINITE) {
        return length;
    }
    std::uint8_t octets[encoding::kMaxHeader];
    std::uint8_t* const end = octets + sizeof octets;
    std::uint8_t* first = end;
    if (length == LEN_INDEFINITE) {
        *--first = 0x80;
        length = 0;
    } else {
        first = encoding::placeLength(first, static_cast<std::uint32_t>(length));
    }
    first = encoding::placeTag(first, tag);
    const int header = encoding::prepend(ctx, first, static_cast<std::uint32_t>(end - first));
    if (header < 0) {
        return header;
    }
    return length <= std::numeric_limits<int>::max() - header ? length + header : STATUS_BAD_LENGTH;
}

int xe_identifier(ASN1CTXT* ctx, std::uint32_t value) noexcept {
    std::uint8_t octets[encoding::kMaxHeader];
    std::uint8_t* const end = octets + sizeof octets;
    const std::uint8_t* first = encoding::placeBase128(end, value);
    return encoding::prepend(ctx, first, static_cast<std::uint32_t>(end - first));
}

}  // extern "C"
