#include "asn1rt/copy_values.h"

#include <cstring>

#include "asn1rt/memory_heap.h"

namespace {

constexpr std::uint64_t kMaxBlock = 0x7FFFFFFF;

std::uint32_t sizeOfBits(std::uint32_t numbits) {
    return numbits / 8 + (numbits % 8 != 0 ? 1 : 0);
}

// A heap copy; null when the size is beyond the heap or memory runs out.
void* copyBlock(ASN1CTXT* ctx, const void* source, std::uint64_t size) {
    if (size > kMaxBlock) {
        return nullptr;
    }
    void* copy = rtMemHeapAlloc(&ctx->pTypeMemHeap, static_cast<std::uint32_t>(size));
    if (copy != nullptr) {
        std::memcpy(copy, source, size);
    }
    return copy;
}

// Copies `count` units of `unitSize` octets after a count and a pointer. No units give a null pointer.
template <typename Count, typename Pointer>
int copyCounted(ASN1CTXT* ctx, Count count, Pointer data, std::uint64_t size, Count& countOut, Pointer& dataOut) {
    countOut = 0;
    dataOut = nullptr;
    if (size == 0) {
        return 1;
    }
    if (data == nullptr) {
        return 0;
    }
    dataOut = static_cast<Pointer>(copyBlock(ctx, data, size));
    if (dataOut == nullptr) {
        return 0;
    }
    countOut = count;
    return 1;
}

}  // namespace

extern "C" {

int rtCopyBitStr(ASN1CTXT* ctx, std::uint32_t numbits, const std::uint8_t* data, std::uint32_t* numbitsOut,
                 std::uint8_t* dataOut) noexcept {
    if (ctx == nullptr || numbitsOut == nullptr) {
        return 0;
    }
    *numbitsOut = numbits;
    if (numbits == 0 || data == nullptr || dataOut == nullptr) {
        return 0;
    }
    std::memmove(dataOut, data, sizeOfBits(numbits));
    return 1;
}

int rtCopyDynBitStr(ASN1CTXT* ctx, const ASN1TDynBitStr* source, ASN1TDynBitStr* destination) noexcept {
    if (ctx == nullptr || source == nullptr || destination == nullptr) {
        return 0;
    }
    return copyCounted(ctx, source->numbits, source->data, sizeOfBits(source->numbits), destination->numbits,
                       destination->data);
}

int rtCopyOctStr(ASN1CTXT* ctx, std::uint32_t numocts, const std::uint8_t* data, std::uint32_t* numoctsOut,
                 std::uint8_t* dataOut) noexcept {
    if (ctx == nullptr || numoctsOut == nullptr) {
        return 0;
    }
    *numoctsOut = numocts;
    if (numocts == 0 || data == nullptr || dataOut == nullptr) {
        return 0;
    }
    std::memmove(dataOut, data, numocts);
    return 1;
}

int rtCopyDynOctStr(ASN1CTXT* ctx, const ASN1TDynOctStr* source, ASN1TDynOctStr* destination) noexcept {
    if (ctx == nullptr || source == nullptr || destination == nullptr) {
        return 0;
    }
    return copyCounted(ctx, source->numocts, source->data, source->numocts, destination->numocts, destination->data);
}

int rtCopyOpenType(ASN1CTXT* ctx, const ASN1TOpenType* source, ASN1TOpenType* destination) noexcept {
    if (ctx == nullptr || source == nullptr || destination == nullptr) {
        return 0;
    }
    return copyCounted(ctx, source->numocts, source->data, source->numocts, destination->numocts, destination->data);
}

int rtCopyOpenTypeExt(ASN1CTXT* ctx, const _Asn1RTDList* source, _Asn1RTDList* destination) noexcept {
    if (ctx == nullptr || source == nullptr || destination == nullptr) {
        return 0;
    }
    // Built in a separate list, so that the source may be the destination.
    _Asn1RTDList copies;
    rtDListInit(&copies);
    for (const _Asn1RTDListNode* node = source->pHead; node != nullptr; node = node->pNext) {
        if (node->data == nullptr) {
            continue;
        }
        auto* copy = static_cast<ASN1TOpenType*>(rtMemHeapAllocZ(&ctx->pTypeMemHeap, sizeof(ASN1TOpenType)));
        if (copy == nullptr || rtCopyOpenType(ctx, static_cast<const ASN1TOpenType*>(node->data), copy) == 0 ||
            rtDListAppend(ctx, &copies, copy) == nullptr) {
            rtMemFreeOpenSeqExt(ctx, &copies);
            rtDListInit(destination);
            return 0;
        }
    }
    *destination = copies;
    return 1;
}

int rtCopyCharStr(ASN1CTXT* ctx, const char* text, const char** textOut) noexcept {
    if (ctx == nullptr || text == nullptr || textOut == nullptr) {
        return 0;
    }
    *textOut = static_cast<const char*>(copyBlock(ctx, text, std::strlen(text) + 1));
    return *textOut != nullptr ? 1 : 0;
}

int rtCopy16BitCharStr(ASN1CTXT* ctx, const ASN1T16BitCharStr* source, ASN1T16BitCharStr* destination) noexcept {
    if (ctx == nullptr || source == nullptr || destination == nullptr) {
        return 0;
    }
    return copyCounted(ctx, source->nchars, source->data, std::uint64_t{source->nchars} * 2, destination->nchars,
                       destination->data);
}

int rtCopy32BitCharStr(ASN1CTXT* ctx, const ASN1T32BitCharStr* source, ASN1T32BitCharStr* destination) noexcept {
    if (ctx == nullptr || source == nullptr || destination == nullptr) {
        return 0;
    }
    return copyCounted(ctx, source->nchars, source->data, std::uint64_t{source->nchars} * 4, destination->nchars,
                       destination->data);
}

}  // extern "C"
