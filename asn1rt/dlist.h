// Doubly linked list of pointers, the form of SEQUENCE OF and SET OF values. Nodes come from the type heap of the
// context that is given with each call.
//
// An element may live in the same allocation as its node, directly after it: one block a list element. Allocate
// sizeof(_Asn1RTDListNode) + sizeof(Element), zero-filled, fill the element at `node + 1`, and link it in with
// rtDListAppendNode. The element's alignment must not exceed that of a pointer.
#pragma once

#include <cstdint>

#include "export.h"

struct ASN1CTXT;

struct _Asn1RTDListNode {
    void* data;
    _Asn1RTDListNode* pNext;
    _Asn1RTDListNode* pPrev;
};

struct _Asn1RTDList {
    std::uint32_t count;
    _Asn1RTDListNode* pHead;
    _Asn1RTDListNode* pTail;
};

extern "C" {

/// Makes the list empty without freeing anything; null is tolerated.
TALLOW_EXPORT void rtDListInit(_Asn1RTDList* list) noexcept;

// Each returns the new node, or null when it cannot be allocated.
TALLOW_EXPORT _Asn1RTDListNode* rtDListAppend(ASN1CTXT* ctx, _Asn1RTDList* list, void* data) noexcept;
/// Position 0 prepends, `count` appends; null too for an index outside 0 to `count`.
TALLOW_EXPORT _Asn1RTDListNode* rtDListInsert(ASN1CTXT* ctx, _Asn1RTDList* list, int index, void* data) noexcept;
/// A null `node` appends.
TALLOW_EXPORT _Asn1RTDListNode* rtDListInsertBefore(ASN1CTXT* ctx, _Asn1RTDList* list, _Asn1RTDListNode* node,
                                                    void* data) noexcept;
/// A null `node` prepends.
TALLOW_EXPORT _Asn1RTDListNode* rtDListInsertAfter(ASN1CTXT* ctx, _Asn1RTDList* list, _Asn1RTDListNode* node,
                                                   void* data) noexcept;

/// Links in the node that lies directly before `element`, and returns it. Nothing is allocated.
TALLOW_EXPORT _Asn1RTDListNode* rtDListAppendNode(ASN1CTXT* ctx, _Asn1RTDList* list, void* element) noexcept;

/// The node at `index`; null when `index` reaches `count`, the head for a negative one.
TALLOW_EXPORT _Asn1RTDListNode* rtDListFindByIndex(const _Asn1RTDList* list, int index) noexcept;
/// The first node whose pointer equals `data`, or null.
TALLOW_EXPORT _Asn1RTDListNode* rtDListFindByData(const _Asn1RTDList* list, const void* data) noexcept;
/// The index of that node, or -1.
TALLOW_EXPORT int rtDListFindIndexByData(const _Asn1RTDList* list, const void* data) noexcept;

/// Unlinks a node of this list; neither node nor data is freed.
TALLOW_EXPORT void rtDListRemove(_Asn1RTDList* list, _Asn1RTDListNode* node) noexcept;
/// Frees the nodes, not the data, and empties the list.
TALLOW_EXPORT void rtDListFreeNodes(ASN1CTXT* ctx, _Asn1RTDList* list) noexcept;
/// Frees data and nodes, one block each or one for both where the element lies after its node, and empties the list.
TALLOW_EXPORT void rtDListFreeAll(ASN1CTXT* ctx, _Asn1RTDList* list) noexcept;

/// Copies `elementSize` octets of each element, in list order, into `*array`, and returns the number of elements. When
/// `*capacity` (elements; the address may be null) is smaller than the list, or `*array` is null, a new array comes
/// from the type heap, `*capacity` becomes its size, and the old array is left unchanged. Without a capacity a given
/// array must be large enough. Returns 0 with `*array` null when there is no memory.
TALLOW_EXPORT int rtDListToArray(ASN1CTXT* ctx, const _Asn1RTDList* list, void** array, std::uint32_t* capacity,
                                 std::uint32_t elementSize) noexcept;

/// Appends a pointer to each of `count` elements; the array must outlive the list. An element whose node cannot be
/// allocated is skipped silently.
TALLOW_EXPORT void rtDListAppendArray(ASN1CTXT* ctx, _Asn1RTDList* list, void* array, int count,
                                      std::uint32_t elementSize) noexcept;
/// Appends heap copies. `count` is in effect a number of octets: count / elementSize elements, rounded up, are appended
/// from the start of the array.
TALLOW_EXPORT void rtDListAppendArrayCopy(ASN1CTXT* ctx, _Asn1RTDList* list, const void* array, int count,
                                          std::uint32_t elementSize) noexcept;

}  // extern "C"
