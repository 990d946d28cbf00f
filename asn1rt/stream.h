// Forward output: octets appended to the context's buffer, which is flushed to a stream where one is installed. The
// library installs none itself; an application that wants one allocates the record from the message heap of its context
// and stores it in ASN1CTXT::pStream.
#pragma once

#include <cstdint>

#include "export.h"

struct ASN1CTXT;

/// A sink for encoded octets. Both operations return 0 or a negative status, which the calls below return unchanged.
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

/// Frees the stream record through the message heap. Nothing is flushed.
TALLOW_EXPORT void rtStreamRelease(ASN1CTXT* ctx) noexcept;

/// Passes octets to the write operation. STATUS_NOT_INITIALIZED when there is none, or the stream is not for output.
[[nodiscard]] TALLOW_EXPORT int rtStreamWrite(ASN1CTXT* ctx, const std::uint8_t* data, std::uint32_t length) noexcept;

/// Calls the flush operation; STATUS_BAD_ARGUMENT when there is none.
[[nodiscard]] TALLOW_EXPORT int rtStreamFlush(ASN1CTXT* ctx) noexcept;

/// Writes out what the context's buffer holds and flushes. STATUS_BAD_ARGUMENT without a stream that is for output or
/// buffered.
[[nodiscard]] TALLOW_EXPORT int rtStreamBufFlush(ASN1CTXT* ctx) noexcept;

/// Appends to the context's buffer, which is flushed first when the octets would not fit; what is at least as large as
/// the buffer is written directly.
[[nodiscard]] TALLOW_EXPORT int rtStreamBufWrite(ASN1CTXT* ctx, const std::uint8_t* data,
                                                 std::uint32_t length) noexcept;

/// Makes room for `extra` octets at the position: by flushing the stream, or else by growing a dynamic buffer.
/// STATUS_BUFFER_FULL when neither gives enough, STATUS_NO_MEMORY.
[[nodiscard]] TALLOW_EXPORT int rtCheckBuffer(ASN1CTXT* ctx, std::uint32_t extra) noexcept;

/// Appends octets after the position, through the calls above.
[[nodiscard]] TALLOW_EXPORT int rtWriteBytes(ASN1CTXT* ctx, const std::uint8_t* data, std::uint32_t length) noexcept;

}  // extern "C"
