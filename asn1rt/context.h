// The context record: what every encoder and decoder call receives. It holds the buffer being written or read, the two
// heaps, the first failure and the flags.
//
//   ASN1CTXT ctx;
//   if (rtInitContext(&ctx, nullptr) != 0) ...       // live
//   xd_setp(&ctx, data, size, nullptr, nullptr);     // bound to a message
//   ...                                              // decode; values live in the type heap
//   rtFreeContext(&ctx);                             // dead: the values are gone, too
//
// A context is dead until rtInitContext, live and without a buffer after it, and bound to a message by xe_setp or
// xd_setp, which may be called again to rebind it. rtFreeContext makes it dead again. It belongs to one thread.
#pragma once

#include <cstdint>

#include "asn1rt/memory_heap.h"
#include "asn1rt/slist.h"
#include "asn1rt/status.h"
#include "export.h"

struct ASN1Stream;

// Bits of ASN1CTXT::flags. The values are part of the interface of rtCtxtSetFlag. Once set, a flag stays for the life
// of the context; only the three that describe the current input (CONSTRUCTED, END_REACHED, OUTER_INDEFINITE) are
// changed by the readers. Set the others before the decoding starts.

/// The length reader accepts lengths beyond the input; contents that run past the end fail in their own reader.
inline constexpr std::uint16_t CTX_FLAG_NO_LENGTH_CHECK = 0x0040;
/// rtFreeContext leaves the dynamic buffer to the release of the heap.
inline constexpr std::uint16_t CTX_FLAG_KEEP_BUFFER = 0x0100;
/// The constructed bit of the tag last read; set by the tag readers.
inline constexpr std::uint16_t CTX_FLAG_CONSTRUCTED = 0x0400;
/// Primitive octet and bit strings and open types are not copied: decoded pointers point into the input, which must
/// outlive the values. Character strings are copied all the same, since they get a closing NUL. Do not free such values
/// block by block (rtMemFreeOpenSeqExt): they are not heap memory.
inline constexpr std::uint16_t CTX_FLAG_ZERO_COPY = 0x0800;
/// With CTX_FLAG_OUTER_INDEFINITE every tag reader returns STATUS_END_OF_BUFFER. Only an application sets it.
inline constexpr std::uint16_t CTX_FLAG_END_REACHED = 0x1000;
/// Open values under a table constraint stay as they are: decoders take their octets and do not look inside.
inline constexpr std::uint16_t CTX_FLAG_RAW_VALUES = 0x2000;
/// The outermost element has indefinite length; set and cleared by xd_setp.
inline constexpr std::uint16_t CTX_FLAG_OUTER_INDEFINITE = 0x4000;

/// The octets being read or written. A decoder moves `byteIndex` up from 0, an encoder down from `size`; the stream
/// calls move it up. What an encoder has written are the octets from `byteIndex` up to and without `size - 1`: an
/// encoder never uses the last octet.
struct ASN1Buffer {
    std::uint8_t* data;
    std::uint32_t byteIndex;  ///< decoding: next octet to read; encoding: first octet written
    std::uint32_t size;       ///< octets at `data`
    std::int16_t bitOffset;   ///< 8 after initialisation; saved and restored, otherwise unused
    std::uint8_t dynamic;     ///< 1 when the context allocated `data`, and may grow and free it
};

/// A position to which xu_RestoreBufferState can go back.
struct ASN1BufferState {
    std::uint32_t byteIndex;
    std::uint16_t bitOffset;
    std::uint16_t flags;
};

/// The record itself. Do not copy it: rtCopyContext saves and restores what may be copied. Functions that take a
/// context expect a live one, never null, unless they say otherwise.
///
/// Both heaps of a new context are one. They differ only after rtCtxtSetMemHeap or rtCtxtSetMsgMemHeap, which let a
/// value or an output buffer outlive the context that made it.
struct ASN1CTXT {
    ASN1MEMHEAP* pMsgMemHeap;   ///< owns the dynamic encode buffer
    ASN1MEMHEAP* pTypeMemHeap;  ///< owns every decoded value and every list node
    ASN1Buffer buffer;
    ASN1Stream* pStream;        ///< null except for the stream calls
    ASN1BufferState savedInfo;  ///< start of the element that xd_tag_len read last; default slot of xu_SaveBufferState
    ASN1ErrInfo errInfo;
    rtSList contextListA;      ///< freed with the context, otherwise unused
    rtSList contextListB;      ///< likewise
    std::uint32_t initCode;    ///< ASN1_INIT_CODE while the context is live
    std::uint16_t flags;       ///< CTX_FLAG_ bits
    void* pAllocUser;          ///< the user pointer given to rtInitContext
    std::uint32_t levelDepth;  ///< open levels of rtEnterLevel
};

/// The mark of a live context; with any other value in `initCode` the context is dead. Zero-fill a record that
/// rtFreeContext may meet before rtInitContext.
inline constexpr std::uint32_t ASN1_INIT_CODE = 0x1AA2A34A;

/// Size in octets of a dynamic buffer when none is named, and least step by which it grows.
inline constexpr std::uint32_t ASN1_DEFAULT_BUFFER_SIZE = 16384;

/// Most levels that recursive types may nest. Decoders reject deeper values with STATUS_BAD_VALUE.
inline constexpr std::uint32_t ASN1_MAX_LEVELS = 64;

extern "C" {

/// Makes a context live: all fields zero, one heap for both purposes. `allocUser` (may be null) is handed to every
/// allocator call. A context that is live already must be freed first, or its heaps leak.
///
/// STATUS_NO_MEMORY when there is none for the heap. The context may then be given to rtFreeContext, and to nothing
/// else.
[[nodiscard]] TALLOW_EXPORT int rtInitContext(ASN1CTXT* ctx, void* allocUser) noexcept;

/// Binds the context to `size` octets at `data`, which stay the caller's and must outlive their use; a decoder never
/// writes to them. Null `data` allocates `size` octets, or 16384 for size 0, from the message heap; their contents are
/// undefined. The position is 0. A buffer bound before is not freed.
///
/// Failures leave the buffer as it was, and are not recorded in the context:
/// - STATUS_NOT_INITIALIZED: the context is dead.
/// - STATUS_NO_MEMORY: the heap has no room for the buffer.
///
/// Encoders and decoders call xe_setp and xd_setp instead, which also set the position and the heap's limit.
[[nodiscard]] TALLOW_EXPORT int rtInitContextBuffer(ASN1CTXT* ctx, const std::uint8_t* data,
                                                    std::uint32_t size) noexcept;

/// Frees the dynamic buffer, the stream record and the lists, drops both heaps and makes the context dead. Everything
/// decoded goes too unless another context holds the heap. The record itself stays the caller's, who may initialise it
/// again. No effect on a dead context.
TALLOW_EXPORT void rtFreeContext(ASN1CTXT* ctx) noexcept;

/// Copies the buffer record and the flags, nothing else: saves and restores a position around an excursion into another
/// message. Both records then claim the same buffer, so only one of them may be freed or may grow it.
TALLOW_EXPORT void rtCopyContext(ASN1CTXT* destination, const ASN1CTXT* source) noexcept;

/// Sets the flags of `mask`, a combination of CTX_FLAG_ bits, and leaves the others as they are; there is no call to
/// clear them.
TALLOW_EXPORT void rtCtxtSetFlag(ASN1CTXT* ctx, std::uint16_t mask) noexcept;

/// Makes `ctx` share the type heap, or the message heap, of `other`; its own is released, and its blocks are freed with
/// its last reference, a dynamic buffer included: replace both only before there is one. Nothing happens when either
/// context is null or the heap is shared already. A shared heap lives until both contexts have released it, so values
/// decoded through `ctx` may then outlive `ctx`. The allocator's user pointer and the limit on its growth belong to the
/// heap and come with it.
TALLOW_EXPORT void rtCtxtSetMemHeap(ASN1CTXT* ctx, ASN1CTXT* other) noexcept;
TALLOW_EXPORT void rtCtxtSetMsgMemHeap(ASN1CTXT* ctx, ASN1CTXT* other) noexcept;

/// Opens a level of a recursive type. STATUS_BAD_VALUE, recorded in the context, when ASN1_MAX_LEVELS are open already;
/// the level is then not opened and must not be left. Messages nest as deep as their sender likes, the stack does not.
[[nodiscard]] TALLOW_EXPORT int rtEnterLevel(ASN1CTXT* ctx) noexcept;
/// Leaves the level opened last; call it once for each rtEnterLevel that returned 0, also on the way out after a
/// failure. Without an open level it does nothing.
TALLOW_EXPORT void rtLeaveLevel(ASN1CTXT* ctx) noexcept;

}  // extern "C"

/// Opens a level for the life of the object, as `ASN1Level level(ctx); if (level.status != 0) return level.status;`.
class ASN1Level {
public:
    explicit ASN1Level(ASN1CTXT* ctx) noexcept : status(rtEnterLevel(ctx)), ctx_(ctx) {}
    ~ASN1Level() {
        if (status == 0) {
            rtLeaveLevel(ctx_);
        }
    }
    ASN1Level(const ASN1Level&) = delete;
    ASN1Level& operator=(const ASN1Level&) = delete;

    const int status;  ///< 0, or STATUS_BAD_VALUE when the nesting is too deep

private:
    ASN1CTXT* ctx_;
};
