// Forward output: octets appended to the context's buffer, which is flushed to a stream where one is installed. The
// library installs none itself; an application that wants one allocates the record from the message heap of its context
// and stores it in ASN1CTXT::pStream:
//
//   auto* stream = static_cast<ASN1Stream*>(rtMemHeapAllocZ(&ctx->pMsgMemHeap, sizeof(ASN1Stream)));
//   stream->write = writeToFile;
//   stream->flush = flushFile;
//   stream->flags = STREAM_FLAG_OUTPUT;
//   ctx->pStream = stream;                       // released with the context, without a flush
//
// The encoders of this runtime write back to front and do not use it. Failures are returned, not recorded in the
// context.
#pragma once

#include <cstdint>

#include "export.h"

struct ASN1CTXT;

/// A sink for encoded octets. Both operations return 0 or a negative status, which the calls below return unchanged;
/// they run on the caller's thread and must not throw. `write` takes all octets or fails.
struct ASN1Stream {
    int (*write)(ASN1Stream* stream, const std::uint8_t* data, std::uint32_t length);
    int (*flush)(ASN1Stream* stream);
    std::uint32_t bytesWritten;  ///< octets that went through rtStreamWrite
    std::uint32_t flags;         ///< STREAM_FLAG_ bits
    void* pUser;                 ///< the application's own; the runtime does not touch it
};

/// rtStreamWrite needs STREAM_FLAG_OUTPUT; rtStreamBufFlush accepts a stream with either flag.
inline constexpr std::uint32_t STREAM_FLAG_OUTPUT = 0x0002;
inline constexpr std::uint32_t STREAM_FLAG_BUFFERED = 0x8000;

extern "C" {

/// Frees the stream record through the message heap and removes it from the context. Nothing is flushed: call
/// rtStreamBufFlush first. No effect without a stream.
TALLOW_EXPORT void rtStreamRelease(ASN1CTXT* ctx) noexcept;

/// Passes octets to the write operation, past the context's buffer: flush that first where the order matters.
/// STATUS_NOT_INITIALIZED when there is none, or the stream is not for output.
[[nodiscard]] TALLOW_EXPORT int rtStreamWrite(ASN1CTXT* ctx, const std::uint8_t* data, std::uint32_t length) noexcept;

/// Calls the flush operation; STATUS_BAD_ARGUMENT when there is none. Octets in the context's buffer are not written.
[[nodiscard]] TALLOW_EXPORT int rtStreamFlush(ASN1CTXT* ctx) noexcept;

/// Writes out what the context's buffer holds, empties it and calls the flush operation. STATUS_BAD_ARGUMENT without a
/// stream that is for output or buffered. When writing fails, the octets stay in the buffer.
[[nodiscard]] TALLOW_EXPORT int rtStreamBufFlush(ASN1CTXT* ctx) noexcept;

/// Appends to the context's buffer, which is flushed first when the octets would not fit; what is at least as large as
/// the buffer is written directly. Returns 0, or a failure of the stream with nothing appended.
[[nodiscard]] TALLOW_EXPORT int rtStreamBufWrite(ASN1CTXT* ctx, const std::uint8_t* data,
                                                 std::uint32_t length) noexcept;

/// Makes room for `extra` octets at the position: by flushing the stream, or else by growing a dynamic buffer, which
/// may move it. STATUS_BUFFER_FULL when neither gives enough, STATUS_NO_MEMORY.
[[nodiscard]] TALLOW_EXPORT int rtCheckBuffer(ASN1CTXT* ctx, std::uint32_t extra) noexcept;

/// Appends `length` octets after the position, through the calls above: with a stream as rtStreamBufWrite, else after
/// rtCheckBuffer. Returns 0 or a status of these.
[[nodiscard]] TALLOW_EXPORT int rtWriteBytes(ASN1CTXT* ctx, const std::uint8_t* data, std::uint32_t length) noexcept;

}  // extern "C"
