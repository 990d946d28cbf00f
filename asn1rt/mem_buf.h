// A buffer that grows at its end, in steps of a segment size, with memory from the type heap of its context.
//
//   ASN1MemBuf buffer;
//   rtMemBufInit(ctx, &buffer, 1024);
//   if (int status = rtMemBufAppend(&buffer, data, size); status != 0) return status;
//   std::uint32_t length;
//   const std::uint8_t* octets = rtMemBufGetData(&buffer, &length);
//   rtMemBufFree(&buffer);                          // or leave it to the heap
#pragma once

#include <cstdint>

#include "export.h"

struct ASN1CTXT;

/// The buffer. Read its fields through the functions below; sizes are in octets. A caller that puts its own memory into
/// `data` sets `capacity` and clears `owned`; that memory is never freed here. Do not copy the record of an owned
/// buffer.
struct ASN1MemBuf {
    ASN1CTXT* pCtxt;
    std::uint32_t segSize;     ///< the capacity is a multiple of it
    std::uint32_t startIndex;  ///< first octet that is still of interest
    std::uint32_t usedCount;   ///< octets filled, counted from the start of `data`
    std::uint32_t capacity;    ///< octets at `data`
    std::uint32_t reserved1;   ///< cleared, never read
    std::uint32_t reserved2;   ///< cleared, never read
    std::uint8_t* data;
    std::uint8_t owned;  ///< `data` belongs to the heap of the context, and may be moved and freed
};

extern "C" {

/// Makes an empty buffer; nothing is allocated before the first octet. The context must outlive it. A segment size of 0
/// counts as 1: every append may then move the memory.
TALLOW_EXPORT void rtMemBufInit(ASN1CTXT* ctx, ASN1MemBuf* buf, std::uint32_t segSize) noexcept;

/// Removes the contents and keeps the memory, which is not overwritten: secrets stay in it.
TALLOW_EXPORT void rtMemBufReset(ASN1MemBuf* buf) noexcept;

/// Frees the memory when it is owned, and leaves an empty buffer, which may be filled again but keeps its `owned`
/// field.
TALLOW_EXPORT void rtMemBufFree(ASN1MemBuf* buf) noexcept;

// Each returns 0, or STATUS_NO_MEMORY with the buffer as it was; the failure is not recorded in the context. Length 0
// does nothing. Growing may move the memory, so pointers into it do not survive. When an unowned buffer must grow, it
// is replaced by an owned, zero-filled one: the old contents are not carried over.

/// Appends `length` octets, which may be the buffer's own; with null `data` they are counted as used but not written.
[[nodiscard]] TALLOW_EXPORT int rtMemBufAppend(ASN1MemBuf* buf, const std::uint8_t* data,
                                               std::uint32_t length) noexcept;
/// Appends `length` octets of `value`.
[[nodiscard]] TALLOW_EXPORT int rtMemBufSet(ASN1MemBuf* buf, std::uint8_t value, std::uint32_t length) noexcept;
/// Makes room for `length` more octets without using them, so that appending them cannot fail.
[[nodiscard]] TALLOW_EXPORT int rtMemBufPreAllocate(ASN1MemBuf* buf, std::uint32_t length) noexcept;

/// The contents after `startIndex`, which belong to the buffer; `length` (may be null) receives their octets. Valid
/// until the next change. Null for a buffer without memory.
TALLOW_EXPORT std::uint8_t* rtMemBufGetData(const ASN1MemBuf* buf, std::uint32_t* length) noexcept;

}  // extern "C"
