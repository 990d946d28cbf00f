#include "asn1rt/mem_buf.h"

#include <cstring>
#include <functional>

#include "asn1rt/context.h"

namespace {

/// Whether `data` is in the memory that the buffer has now.
bool isWithin(const ASN1MemBuf* buf, const std::uint8_t* data) {
    const std::less<> before;
    return buf->data != nullptr && !before(data, buf->data) && before(data, buf->data + buf->capacity);
}

int makeRoom(ASN1MemBuf* buf, std::uint32_t length) {
    const std::uint64_t wanted = std::uint64_t{buf->usedCount} + length;
    if (wanted <= buf->capacity) {
        return 0;
    }
    const std::uint64_t capacity = ((wanted - 1) / buf->segSize + 1) * buf->segSize;
    if (capacity > MEM_HEAP_MAX_REQUEST) {
        return STATUS_NO_MEMORY;
    }
    ASN1MEMHEAP** heap = &buf->pCtxt->pTypeMemHeap;
    const bool keep = buf->owned != 0 && buf->data != nullptr;
    // What an unowned buffer held is not carried over, yet counts as used: the fresh memory must not show old secrets.
    void* grown = keep ? rtMemHeapRealloc(heap, buf->data, capacity) : rtMemHeapAllocZ(heap, capacity);
    if (grown == nullptr) {
        return STATUS_NO_MEMORY;
    }
    buf->data = static_cast<std::uint8_t*>(grown);
    buf->capacity = static_cast<std::uint32_t>(capacity);
    buf->owned = 1;
    return 0;
}

}  // namespace

extern "C" {

void rtMemBufInit(ASN1CTXT* ctx, ASN1MemBuf* buf, std::uint32_t segSize) noexcept {
    *buf = ASN1MemBuf{};
    buf->pCtxt = ctx;
    buf->segSize = segSize != 0 ? segSize : 1;
    buf->owned = 1;
}

void rtMemBufReset(ASN1MemBuf* buf) noexcept {
    buf->startIndex = 0;
    buf->usedCount = 0;
    buf->reserved1 = 0;
    buf->reserved2 = 0;
}

void rtMemBufFree(ASN1MemBuf* buf) noexcept {
    if (buf->owned != 0) {
        rtMemHeapFreePtr(&buf->pCtxt->pTypeMemHeap, buf->data);
    }
    buf->data = nullptr;
    buf->capacity = 0;
    rtMemBufReset(buf);
}

int rtMemBufAppend(ASN1MemBuf* buf, const std::uint8_t* data, std::uint32_t length) noexcept {
    if (length == 0) {
        return 0;
    }
    const std::uint8_t* const old = buf->data;
    const bool isOwn = buf->owned != 0 && isWithin(buf, data);
    const int status = makeRoom(buf, length);
    if (status != 0) {
        return status;
    }
    if (isOwn) {
        data = buf->data + (data - old);  // growing has moved the memory, and freed where it was
    }
    if (data != nullptr) {
        std::memmove(buf->data + buf->usedCount, data, length);
    }
    buf->usedCount += length;
    return 0;
}

int rtMemBufSet(ASN1MemBuf* buf, std::uint8_t value, std::uint32_t length) noexcept {
    if (length == 0) {
        return 0;
    }
    const int status = makeRoom(buf, length);
    if (status != 0) {
        return status;
    }
    std::memset(buf->data + buf->usedCount, value, length);
    buf->usedCount += length;
    return 0;
}

int rtMemBufPreAllocate(ASN1MemBuf* buf, std::uint32_t length) noexcept {
    return length == 0 ? 0 : makeRoom(buf, length);
}

std::uint8_t* rtMemBufGetData(const ASN1MemBuf* buf, std::uint32_t* length) noexcept {
    if (length != nullptr) {
        *length = buf->usedCount - buf->startIndex;
    }
    return buf->data != nullptr ? buf->data + buf->startIndex : nullptr;
}

}  // extern "C"
