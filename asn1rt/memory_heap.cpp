#include "asn1rt/memory_heap.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "asn1rt/context.h"
#include "asn1rt/dlist.h"
#include "asn1rt/types.h"

// The header before each block's octets. pPrev names the field that points at the block, in the heap record for
// the newest block and in the neighbour for the others. Unlinking is thus right even when the block is given back
// through another heap, as happens to an encode buffer that grew while a context's two heaps differed.
struct alignas(std::max_align_t) ASN1MemBlock {
    ASN1MemBlock* pNext;
    ASN1MemBlock** pPrev;
    std::int64_t size;
};

namespace {

void* octetsOf(ASN1MemBlock* block) {
    return block + 1;
}

ASN1MemBlock* blockOf(void* ptr) {
    return static_cast<ASN1MemBlock*>(ptr) - 1;
}

std::uint64_t costOf(std::uint64_t size) {
    return sizeof(ASN1MemBlock) + size;
}

// A block that is given back through another heap was never counted there.
void uncount(ASN1MEMHEAP* heap, std::uint64_t octets) {
    heap->used -= std::min(heap->used, octets);
}

void unlinkAndFree(ASN1MEMHEAP* heap, ASN1MemBlock* block) {
    uncount(heap, costOf(static_cast<std::uint64_t>(block->size)));
    *block->pPrev = block->pNext;
    if (block->pNext != nullptr) {
        block->pNext->pPrev = block->pPrev;
    }
    g_free_func(heap->pAllocUser, block);
}

}  // namespace

extern "C" {

void* (*g_malloc_func)(void* allocUser, std::size_t size) = rtDefaultMalloc;
void* (*g_realloc_func)(void* allocUser, void* ptr, std::size_t size) = rtDefaultRealloc;
void (*g_free_func)(void* allocUser, void* ptr) = rtDefaultFree;
std::uint32_t g_defBlkSize = 4096;

void* rtDefaultMalloc(void* /*allocUser*/, std::size_t size) {
    return std::malloc(size);
}

void* rtDefaultRealloc(void* /*allocUser*/, void* ptr, std::size_t size) {
    return std::realloc(ptr, size);
}

void rtDefaultFree(void* /*allocUser*/, void* ptr) {
    std::free(ptr);
}

void* OV_malloc(std::size_t size) {
    return std::malloc(size);
}

void* OV_calloc(std::size_t count, std::size_t size) {
    return std::calloc(count, size);
}

void* OV_realloc(void* ptr, std::size_t size) {
    return std::realloc(ptr, size);
}

void OV_free(void* ptr) {
    std::free(ptr);
}

int rtMemHeapCreate(ASN1MEMHEAP** heap, void* allocUser) noexcept {
    if (heap == nullptr) {
        return STATUS_BAD_ARGUMENT;
    }
    auto* made = static_cast<ASN1MEMHEAP*>(g_malloc_func(allocUser, sizeof(ASN1MEMHEAP)));
    if (made == nullptr) {
        return STATUS_NO_MEMORY;
    }
    *made = ASN1MEMHEAP{nullptr, g_defBlkSize, 1, MEM_HEAP_OWNS_RECORD, 0, allocUser, 0, MEM_HEAP_NO_LIMIT};
    *heap = made;
    return 0;
}

void* rtMemHeapAlloc(ASN1MEMHEAP** heap, std::size_t size) noexcept {
    if (heap == nullptr || size > MEM_HEAP_MAX_REQUEST) {
        return nullptr;
    }
    if (*heap == nullptr && rtMemHeapCreate(heap, nullptr) != 0) {
        return nullptr;
    }
    ASN1MEMHEAP* owner = *heap;
    const std::uint64_t used = owner->used + costOf(size);
    void* memory = used <= owner->limit ? g_malloc_func(owner->pAllocUser, sizeof(ASN1MemBlock) + size) : nullptr;
    if (memory == nullptr) {
        ++owner->numRefused;
        return nullptr;
    }
    auto* block = static_cast<ASN1MemBlock*>(memory);
    block->pNext = owner->pFirstBlock;
    block->pPrev = &owner->pFirstBlock;
    block->size = static_cast<std::int64_t>(size);
    if (block->pNext != nullptr) {
        block->pNext->pPrev = &block->pNext;
    }
    owner->pFirstBlock = block;
    owner->used = used;
    return octetsOf(block);
}

void* rtMemHeapAllocZ(ASN1MEMHEAP** heap, std::size_t size) noexcept {
    void* ptr = rtMemHeapAlloc(heap, size);
    if (ptr != nullptr) {
        std::memset(ptr, 0, size);
    }
    return ptr;
}

void* rtMemHeapRealloc(ASN1MEMHEAP** heap, void* ptr, std::size_t size) noexcept {
    if (heap == nullptr || *heap == nullptr) {
        return nullptr;
    }
    if (ptr == nullptr) {
        return rtMemHeapAlloc(heap, size);
    }
    ASN1MemBlock* old = blockOf(ptr);
    const auto oldSize = static_cast<std::size_t>(old->size);
    if (oldSize >= size) {
        // The smaller size is what counts from now on: growing back later moves the block although the room is there.
        uncount(*heap, oldSize - size);
        old->size = static_cast<std::int64_t>(size);
        return ptr;
    }
    void* grown = rtMemHeapAlloc(heap, size);
    if (grown == nullptr) {
        return nullptr;
    }
    std::memcpy(grown, ptr, oldSize);
    unlinkAndFree(*heap, old);
    return grown;
}

void rtMemHeapFreePtr(ASN1MEMHEAP** heap, const void* ptr) noexcept {
    if (heap == nullptr || *heap == nullptr || ptr == nullptr) {
        return;
    }
    unlinkAndFree(*heap, blockOf(const_cast<void*>(ptr)));
}

int rtMemHeapCheckPtr(ASN1MEMHEAP** /*heap*/, const void* /*ptr*/) noexcept {
    return 1;
}

int rtMemHeapMarkSaved(ASN1CTXT* /*ctx*/) noexcept {
    return 0;
}

void rtMemHeapAddRef(ASN1MEMHEAP** heap) noexcept {
    if (heap != nullptr && *heap != nullptr) {
        ++(*heap)->refCount;
    }
}

void rtMemHeapRelease(ASN1MEMHEAP** heap) noexcept {
    if (heap == nullptr || *heap == nullptr) {
        return;
    }
    ASN1MEMHEAP* released = *heap;
    if (--released->refCount != 0) {
        return;
    }
    void* const allocUser = released->pAllocUser;
    ASN1MemBlock* block = released->pFirstBlock;
    while (block != nullptr) {
        ASN1MemBlock* next = block->pNext;
        g_free_func(allocUser, block);
        block = next;
    }
    if ((released->flags & MEM_HEAP_OWNS_RECORD) != 0) {
        g_free_func(allocUser, released);
    }
    *heap = nullptr;
}

void rtMemFreeOpenSeqExt(ASN1CTXT* ctx, _Asn1RTDList* list) noexcept {
    for (_Asn1RTDListNode* node = list->pHead; node != nullptr; node = node->pNext) {
        auto* element = static_cast<ASN1TOpenType*>(node->data);
        if (element != nullptr) {
            rtMemHeapFreePtr(&ctx->pTypeMemHeap, element->data);
        }
    }
    rtDListFreeAll(ctx, list);
}

}  // extern "C"

void rtMemHeapLimitToInput(ASN1MEMHEAP** heap, std::uint32_t sizeInput) noexcept {
    if (*heap != nullptr) {
        (*heap)->limit = (*heap)->used + sizeInput * MEM_HEAP_DECODE_FACTOR + MEM_HEAP_DECODE_BASE;
    }
}

void rtMemHeapRemoveLimit(ASN1MEMHEAP** heap) noexcept {
    if (*heap != nullptr) {
        (*heap)->limit = MEM_HEAP_NO_LIMIT;
    }
}

std::size_t rtMemHeapBlockSize(const void* ptr) noexcept {
    return static_cast<std::size_t>(blockOf(const_cast<void*>(ptr))->size);
}
