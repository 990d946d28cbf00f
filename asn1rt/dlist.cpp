#include "asn1rt/dlist.h"

#include <cstring>

#include "asn1rt/context.h"

namespace {

_Asn1RTDListNode* newNode(ASN1CTXT* ctx, void* data) {
    auto* node = static_cast<_Asn1RTDListNode*>(rtMemHeapAlloc(&ctx->pTypeMemHeap, sizeof(_Asn1RTDListNode)));
    if (node != nullptr) {
        *node = _Asn1RTDListNode{data, nullptr, nullptr};
    }
    return node;
}

/// Links `node` in after `previous`; null prepends.
_Asn1RTDListNode* linkBehind(_Asn1RTDList* list, _Asn1RTDListNode* previous, _Asn1RTDListNode* node) {
    node->pPrev = previous;
    node->pNext = previous != nullptr ? previous->pNext : list->pHead;
    (previous != nullptr ? previous->pNext : list->pHead) = node;
    (node->pNext != nullptr ? node->pNext->pPrev : list->pTail) = node;
    ++list->count;
    return node;
}

_Asn1RTDListNode* insertBehind(ASN1CTXT* ctx, _Asn1RTDList* list, _Asn1RTDListNode* previous, void* data) {
    _Asn1RTDListNode* node = newNode(ctx, data);
    return node != nullptr ? linkBehind(list, previous, node) : nullptr;
}

}  // namespace

extern "C" {

void rtDListInit(_Asn1RTDList* list) noexcept {
    if (list != nullptr) {
        *list = _Asn1RTDList{0, nullptr, nullptr};
    }
}

_Asn1RTDListNode* rtDListAppend(ASN1CTXT* ctx, _Asn1RTDList* list, void* data) noexcept {
    return insertBehind(ctx, list, list->pTail, data);
}

_Asn1RTDListNode* rtDListInsert(ASN1CTXT* ctx, _Asn1RTDList* list, int index, void* data) noexcept {
    if (index < 0 || static_cast<std::uint32_t>(index) > list->count) {
        return nullptr;
    }
    return insertBehind(ctx, list, index == 0 ? nullptr : rtDListFindByIndex(list, index - 1), data);
}

_Asn1RTDListNode* rtDListInsertBefore(ASN1CTXT* ctx, _Asn1RTDList* list, _Asn1RTDListNode* node, void* data) noexcept {
    return insertBehind(ctx, list, node != nullptr ? node->pPrev : list->pTail, data);
}

_Asn1RTDListNode* rtDListInsertAfter(ASN1CTXT* ctx, _Asn1RTDList* list, _Asn1RTDListNode* node, void* data) noexcept {
    return insertBehind(ctx, list, node, data);
}

_Asn1RTDListNode* rtDListAppendNode(ASN1CTXT* /*ctx*/, _Asn1RTDList* list, void* element) noexcept {
    _Asn1RTDListNode* node = static_cast<_Asn1RTDListNode*>(element) - 1;
    node->data = element;
    return linkBehind(list, list->pTail, node);
}

_Asn1RTDListNode* rtDListFindByIndex(const _Asn1RTDList* list, int index) noexcept {
    if (index >= 0 && static_cast<std::uint32_t>(index) >= list->count) {
        return nullptr;
    }
    _Asn1RTDListNode* node = list->pHead;
    for (int position = 0; position < index; ++position) {
        node = node->pNext;
    }
    return node;
}

_Asn1RTDListNode* rtDListFindByData(const _Asn1RTDList* list, const void* data) noexcept {
    _Asn1RTDListNode* node = list->pHead;
    while (node != nullptr && node->data != data) {
        node = node->pNext;
    }
    return node;
}

int rtDListFindIndexByData(const _Asn1RTDList* list, const void* data) noexcept {
    int index = 0;
    for (const _Asn1RTDListNode* node = list->pHead; node != nullptr; node = node->pNext, ++index) {
        if (node->data == data) {
            return index;
        }
    }
    return -1;
}

void rtDListRemove(_Asn1RTDList* list, _Asn1RTDListNode* node) noexcept {
    (node->pPrev != nullptr ? node->pPrev->pNext : list->pHead) = node->pNext;
    (node->pNext != nullptr ? node->pNext->pPrev : list->pTail) = node->pPrev;
    --list->count;
}

void rtDListFreeNodes(ASN1CTXT* ctx, _Asn1RTDList* list) noexcept {
    _Asn1RTDListNode* node = list->pHead;
    while (node != nullptr) {
        _Asn1RTDListNode* next = node->pNext;
        rtMemHeapFreePtr(&ctx->pTypeMemHeap, node);
        node = next;
    }
    rtDListInit(list);
}

void rtDListFreeAll(ASN1CTXT* ctx, _Asn1RTDList* list) noexcept {
    for (_Asn1RTDListNode* node = list->pHead; node != nullptr; node = node->pNext) {
        if (node->data != node + 1) {
            rtMemHeapFreePtr(&ctx->pTypeMemHeap, node->data);
        }
    }
    rtDListFreeNodes(ctx, list);
}

int rtDListToArray(ASN1CTXT* ctx, const _Asn1RTDList* list, void** array, std::uint32_t* capacity,
                   std::uint32_t elementSize) noexcept {
    const std::size_t size = std::size_t{list->count} * elementSize;
    if (*array == nullptr || (capacity != nullptr && *capacity < list->count)) {
        *array = rtMemHeapAlloc(&ctx->pTypeMemHeap, size);
        if (*array == nullptr) {
            return 0;
        }
        if (capacity != nullptr) {
            *capacity = list->count;
        }
    }
    auto* out = static_cast<std::uint8_t*>(*array);
    for (const _Asn1RTDListNode* node = list->pHead; node != nullptr; node = node->pNext, out += elementSize) {
        if (node->data != nullptr) {
            std::memcpy(out, node->data, elementSize);
        } else {
            std::memset(out, 0, elementSize);
        }
    }
    return static_cast<int>(list->count);
}

void rtDListAppendArray(ASN1CTXT* ctx, _Asn1RTDList* list, void* array, int count, std::uint32_t elementSize) noexcept {
    auto* element = static_cast<std::uint8_t*>(array);
    for (int i = 0; i < count; ++i, element += elementSize) {
        rtDListAppend(ctx, list, element);
    }
}

void rtDListAppendArrayCopy(ASN1CTXT* ctx, _Asn1RTDList* list, const void* array, int count,
                            std::uint32_t elementSize) noexcept {
    if (elementSize == 0) {
        return;
    }
    const auto* elements = static_cast<const std::uint8_t*>(array);
    // Callers count in octets here: the counter steps by the size of an element and stops at `count`.
    for (std::int64_t offset = 0; offset < count; offset += elementSize) {
        void* copy = rtMemHeapAlloc(&ctx->pTypeMemHeap, elementSize);
        if (copy == nullptr) {
            continue;
        }
        std::memcpy(copy, elements + offset, elementSize);
        if (rtDListAppend(ctx, list, copy) == nullptr) {
            rtMemHeapFreePtr(&ctx->pTypeMemHeap, copy);
        }
    }
}

}  // extern "C"
