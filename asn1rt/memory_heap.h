// The heap from which all decoded values, list nodes and encode buffers come, and the allocator underneath it.
//
// A heap is a list of blocks, one allocator call each, and is freed as a whole when its last reference is released. It
// is always addressed through the field that holds it:
//
//   auto* record = static_cast<Record*>(rtMemHeapAllocZ(&ctx->pTypeMemHeap, sizeof(Record)));
//   if (record == nullptr) return STATUS_NO_MEMORY;
//   ...                                                // freed with the context; or earlier, one block at a time:
//   rtMemHeapFreePtr(&ctx->pTypeMemHeap, record);
//
// No call records a failure in a context. Destructors are not run: put only trivially destructible objects here. A heap
// and all who share it belong to one thread. Blocks must be given back to the heap they came from.
#pragma once

#include <cstddef>
#include <cstdint>

#include "export.h"

struct ASN1CTXT;
struct ASN1MemBlock;
struct _Asn1RTDList;

/// A heap. It is made by rtMemHeapCreate or rtInitContext, changed by the functions below only, and freed by the last
/// rtMemHeapRelease; do not copy it.
struct ASN1MEMHEAP {
    ASN1MemBlock* pFirstBlock;  ///< live blocks, newest first
    std::uint32_t defBlkSize;   ///< g_defBlkSize at creation; never consulted
    std::uint32_t refCount;
    std::uint32_t flags;       ///< MEM_HEAP_OWNS_RECORD or 0
    std::uint32_t numRefused;  ///< refused allocations; copying returns no status and detects failures here
    void* pAllocUser;          ///< first argument of every allocator call on this heap
    std::uint64_t used;        ///< octets in live blocks, their headers included
    std::uint64_t limit;       ///< allocations that would bring `used` above it fail; MEM_HEAP_NO_LIMIT at creation
};

/// The heap record itself is freed with the last reference.
inline constexpr std::uint32_t MEM_HEAP_OWNS_RECORD = 0x10000000;

/// Largest request, in octets; larger ones are refused without asking the allocator. The result is null as for any
/// other refusal, so a caller need not compare.
inline constexpr std::size_t MEM_HEAP_MAX_REQUEST = 2147483599;

/// The value of `limit` while only the allocator bounds the heap: at creation, and from xe_setp until the next xd_setp.
inline constexpr std::uint64_t MEM_HEAP_NO_LIMIT = UINT64_MAX;

// What decoding `size` octets may allocate: size * MEM_HEAP_DECODE_FACTOR + MEM_HEAP_DECODE_BASE. An element of three
// octets can fill a record of half a kilobyte, so without a limit a message could cost 200 times its size. Messages in
// use need less than half of that.
inline constexpr std::uint64_t MEM_HEAP_DECODE_FACTOR = 64;
inline constexpr std::uint64_t MEM_HEAP_DECODE_BASE = 1 << 20;

extern "C" {

// The allocator. An application may replace all three before the first use of the runtime, never while any heap lives:
// a block must be freed by the allocator it came from. The first argument is the user pointer of the heap.
// g_malloc_func returns null to refuse; the block must be aligned like malloc's. Blocks grow through g_malloc_func and
// g_free_func: g_realloc_func is not called. All run on the thread that uses the heap, and on several at once when
// several threads have heaps.
TALLOW_EXPORT extern void* (*g_malloc_func)(void* allocUser, std::size_t size);
TALLOW_EXPORT extern void* (*g_realloc_func)(void* allocUser, void* ptr, std::size_t size);
TALLOW_EXPORT extern void (*g_free_func)(void* allocUser, void* ptr);
/// Octets of a block; noted in each new heap and otherwise unused.
TALLOW_EXPORT extern std::uint32_t g_defBlkSize;

/// What the pointers above hold at the start: the system's malloc, realloc and free; `allocUser` is ignored.
TALLOW_EXPORT void* rtDefaultMalloc(void* allocUser, std::size_t size);
TALLOW_EXPORT void* rtDefaultRealloc(void* allocUser, void* ptr, std::size_t size);
TALLOW_EXPORT void rtDefaultFree(void* allocUser, void* ptr);

/// The system's malloc, calloc, realloc and free, independent of any heap.
TALLOW_EXPORT void* OV_malloc(std::size_t size);
TALLOW_EXPORT void* OV_calloc(std::size_t count, std::size_t size);
TALLOW_EXPORT void* OV_realloc(void* ptr, std::size_t size);
TALLOW_EXPORT void OV_free(void* ptr);

/// Makes an empty heap with one reference, which the caller releases with rtMemHeapRelease, and stores it in `*heap`. A
/// heap that the field held before is not released. `allocUser` (may be null) is handed to every allocator call.
///
/// STATUS_BAD_ARGUMENT for a null address, STATUS_NO_MEMORY; the field is then left as it was.
[[nodiscard]] TALLOW_EXPORT int rtMemHeapCreate(ASN1MEMHEAP** heap, void* allocUser) noexcept;

/// `size` octets aligned like malloc's, contents undefined. They belong to the heap: free them with rtMemHeapFreePtr or
/// leave them to the heap's end. A field that holds no heap gets one, with a null user pointer. Size 0 gives an empty
/// block.
///
/// Returns null, and the heap is unchanged but for `numRefused`, when `size` is above MEM_HEAP_MAX_REQUEST, when the
/// heap's limit would be exceeded, when `heap` is null or when the allocator fails.
TALLOW_EXPORT void* rtMemHeapAlloc(ASN1MEMHEAP** heap, std::size_t size) noexcept;

/// The same, zero-filled.
TALLOW_EXPORT void* rtMemHeapAllocZ(ASN1MEMHEAP** heap, std::size_t size) noexcept;

/// Resizes a block, which may move: use the returned pointer only. A null `ptr` allocates a new block. Octets beyond
/// the old size are undefined. While a block moves, old and new one both count against the heap's limit. A smaller size
/// keeps the block and is remembered, so that growing back moves it.
///
/// Null, with the old block still valid, on failure and for a field without a heap.
TALLOW_EXPORT void* rtMemHeapRealloc(ASN1MEMHEAP** heap, void* ptr, std::size_t size) noexcept;

/// Gives a block back. Nothing happens for a null `heap`, a field without a heap or a null `ptr`. `ptr` must be the
/// start of a block of this heap that is not free yet; that is not verified.
TALLOW_EXPORT void rtMemHeapFreePtr(ASN1MEMHEAP** heap, const void* ptr) noexcept;

/// Whether a block may be freed. Always 1: this heap keeps no marks. Schema code calls it before every free, so that a
/// checking heap can be substituted.
TALLOW_EXPORT int rtMemHeapCheckPtr(ASN1MEMHEAP** heap, const void* ptr) noexcept;

/// Would mark the heap's blocks as saved. This heap keeps no marks: does nothing and returns 0.
TALLOW_EXPORT int rtMemHeapMarkSaved(ASN1CTXT* ctx) noexcept;

/// Adds a reference, which the caller releases with rtMemHeapRelease. Null and empty fields are tolerated.
TALLOW_EXPORT void rtMemHeapAddRef(ASN1MEMHEAP** heap) noexcept;

/// Drops a reference. With the last one all blocks go, then the heap itself, and this field becomes null; other fields
/// that still hold the heap would dangle, so each needs a reference of its own. As long as references remain, the field
/// keeps its value. Null and empty fields are tolerated.
TALLOW_EXPORT void rtMemHeapRelease(ASN1MEMHEAP** heap) noexcept;

/// Frees a list of open-type records: the octets of each record, which must come from the type heap (not decoded under
/// CTX_FLAG_ZERO_COPY), the records and the nodes. The list is empty afterward. Neither argument may be null.
TALLOW_EXPORT void rtMemFreeOpenSeqExt(ASN1CTXT* ctx, _Asn1RTDList* list) noexcept;

}  // extern "C"

/// Lets the heap grow by what decoding `sizeInput` octets may allocate, counted from what it holds now.
void rtMemHeapLimitToInput(ASN1MEMHEAP** heap, std::uint32_t sizeInput) noexcept;
/// Removes the limit: what is written or copied is the caller's own choice.
void rtMemHeapRemoveLimit(ASN1MEMHEAP** heap) noexcept;

/// The size that a block was allocated or last resized with.
std::size_t rtMemHeapBlockSize(const void* ptr) noexcept;
