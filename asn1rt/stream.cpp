#include "asn1rt/stream.h"

#include <algorithm>
#include <cstring>

#include "asn1rt/context.h"

namespace {

bool hasRoom(const ASN1Buffer& buffer, std::uint32_t extra) {
    return std::uint64_t{buffer.byteIndex} + extra <= buffer.size;
}

void append(ASN1Buffer& buffer, const std::uint8_t* data, std::uint32_t length) {
    if (length != 0) {
        std::memcpy(buffer.data + buffer.byteIndex, data, length);
    }
    buffer.byteIndex += length;
}

int grow(ASN1CTXT* ctx, std::uint32_t extra) {
    ASN1Buffer& buffer = ctx->buffer;
    const std::uint64_t size = std::uint64_t{buffer.size} + std::max(extra, ASN1_DEFAULT_BUFFER_SIZE);
    void* grown = rtMemHeapRealloc(&ctx->pMsgMemHeap, buffer.data, size);
    if (grown == nullptr) {
        return STATUS_NO_MEMORY;
    }
    buffer.data = static_cast<std::uint8_t*>(grown);
    buffer.size = static_cast<std::uint32_t>(size);
    return 0;
}

}  // namespace

extern "C" {

void rtStreamRelease(ASN1CTXT* ctx) noexcept {
    rtMemHeapFreePtr(&ctx->pMsgMemHeap, ctx->pStream);
    ctx->pStream = nullptr;
}

int rtStreamWrite(ASN1CTXT* ctx, const std::uint8_t* data, std::uint32_t length) noexcept {
    ASN1Stream* stream = ctx->pStream;
    if (stream == nullptr || stream->write == nullptr || (stream->flags & STREAM_FLAG_OUTPUT) == 0) {
        return STATUS_NOT_INITIALIZED;
    }
    const int status = stream->write(stream, data, length);
    if (status >= 0) {
        stream->bytesWritten += length;
    }
    return status;
}

int rtStreamFlush(ASN1CTXT* ctx) noexcept {
    ASN1Stream* stream = ctx->pStream;
    if (stream == nullptr || stream->flush == nullptr) {
        return STATUS_BAD_ARGUMENT;
    }
    return stream->flush(stream);
}

int rtStreamBufFlush(ASN1CTXT* ctx) noexcept {
    const ASN1Stream* stream = ctx->pStream;
    if (stream == nullptr || (stream->flags & (STREAM_FLAG_OUTPUT | STREAM_FLAG_BUFFERED)) == 0) {
        return STATUS_BAD_ARGUMENT;
    }
    if (ctx->buffer.byteIndex != 0) {
        const int status = rtStreamWrite(ctx, ctx->buffer.data, ctx->buffer.byteIndex);
        if (status < 0) {
            return status;
        }
        ctx->buffer.byteIndex = 0;
    }
    return rtStreamFlush(ctx);
}

int rtStreamBufWrite(ASN1CTXT* ctx, const std::uint8_t* data, std::uint32_t length) noexcept {
    ASN1Buffer& buffer = ctx->buffer;
    if (!hasRoom(buffer, length)) {
        const int status = rtStreamBufFlush(ctx);
        if (status < 0) {
            return status;
        }
    }
    if (length >= buffer.size) {
        return rtStreamWrite(ctx, data, length);
    }
    append(buffer, data, length);
    return 0;
}

int rtCheckBuffer(ASN1CTXT* ctx, std::uint32_t extra) noexcept {
    if (hasRoom(ctx->buffer, extra)) {
        return 0;
    }
    if (ctx->pStream != nullptr) {
        const int status = rtStreamBufFlush(ctx);
        if (status < 0) {
            return status;
        }
        return hasRoom(ctx->buffer, extra) ? 0 : STATUS_BUFFER_FULL;
    }
    return ctx->buffer.dynamic != 0 ? grow(ctx, extra) : STATUS_BUFFER_FULL;
}

int rtWriteBytes(ASN1CTXT* ctx, const std::uint8_t* data, std::uint32_t length) noexcept {
    if (ctx->pStream != nullptr) {
        return rtStreamBufWrite(ctx, data, length);
    }
    const int status = rtCheckBuffer(ctx, length);
    if (status != 0) {
        return status;
    }
    append(ctx->buffer, data, length);
    return 0;
}

}  // extern "C"
