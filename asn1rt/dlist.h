// Doubly linked list of pointers, the form of SEQUENCE OF and SET OF values. Nodes come from the type heap of the
// context that is given with each call; it must be the same one for the life of the list. Unless a comment says
// otherwise, no function accepts null, records a failure in the context, or looks at what the data points to.
//
//   _Asn1RTDList list;
//   rtDListInit(&list);
//   if (rtDListAppend(ctx, &list, element) == nullptr) return STATUS_NO_MEMORY;
//   for (_Asn1RTDListNode* node = list.pHead; node != nullptr; node = node->pNext) use(node->data);
//
// An element may live in the same allocation as its node, directly after it: one block a list element. Allocate
// sizeof(_Asn1RTDListNode) + sizeof(Element), zero-filled, fill the element at `node + 1`, and link it in with
// rtDListAppendNode. The element's alignment must not exceed that of a pointer.
#pragma once

#include <cstdint>

#include "export.h"

struct ASN1CTXT;

/// One element. The links are null at the ends of the list; change them through the functions only.
struct _Asn1RTDListNode {
    void* data;
    _Asn1RTDListNode* pNext;
    _Asn1RTDListNode* pPrev;
};

/// The list. Both ends are null when it is empty. A copy of the record shares the nodes: only one of the two may be
/// changed or freed.
struct _Asn1RTDList {
    std::uint32_t count;
    _Asn1RTDListNode* pHead;
    _Asn1RTDListNode* pTail;
};

extern "C" {

/// Makes the list empty without freeing anything; null is tolerated. Needed before the first use of a list on the
/// stack.
TALLOW_EXPORT void rtDListInit(_Asn1RTDList* list) noexcept;

// Each puts in a pointer, which the list does not own, and returns the new node, or null, with the list unchanged, when
// it cannot be allocated.
TALLOW_EXPORT _Asn1RTDListNode* rtDListAppend(ASN1CTXT* ctx, _Asn1RTDList* list, void* data) noexcept;
/// Position 0 prepends, `count` appends; null too for an index outside 0 to `count`.
TALLOW_EXPORT _Asn1RTDListNode* rtDListInsert(ASN1CTXT* ctx, _Asn1RTDList* list, int index, void* data) noexcept;
/// `node` must be of this list; null appends.
TALLOW_EXPORT _Asn1RTDListNode* rtDListInsertBefore(ASN1CTXT* ctx, _Asn1RTDList* list, _Asn1RTDListNode* node,
                                                    void* data) noexcept;
/// `node` must be of this list; null prepends.
TALLOW_EXPORT _Asn1RTDListNode* rtDListInsertAfter(ASN1CTXT* ctx, _Asn1RTDList* list, _Asn1RTDListNode* node,
                                                   void* data) noexcept;

/// Links in the node directly before `element`, at the end of the list, and returns it. Nothing is allocated. The block
/// must not be in a list already.
TALLOW_EXPORT _Asn1RTDListNode* rtDListAppendNode(ASN1CTXT* ctx, _Asn1RTDList* list, void* element) noexcept;

/// The node at `index`, counted from 0, found by walking from the head; null when `index` reaches `count`, the head for
/// a negative one.
TALLOW_EXPORT _Asn1RTDListNode* rtDListFindByIndex(const _Asn1RTDList* list, int index) noexcept;
/// The first node whose pointer equals `data`, or null.
TALLOW_EXPORT _Asn1RTDListNode* rtDListFindByData(const _Asn1RTDList* list, const void* data) noexcept;
/// The index of that node, or -1.
TALLOW_EXPORT int rtDListFindIndexByData(const _Asn1RTDList* list, const void* data) noexcept;

/// Unlinks a node of this list, which is not verified; neither node nor data is freed.
TALLOW_EXPORT void rtDListRemove(_Asn1RTDList* list, _Asn1RTDListNode* node) noexcept;
/// Frees the nodes, not the data, and empties the list. An element in the same block as its node goes with it.
TALLOW_EXPORT void rtDListFreeNodes(ASN1CTXT* ctx, _Asn1RTDList* list) noexcept;
/// Frees data and nodes, one block each, or one for both where the element follows its node, and empties the list. The
/// data must be blocks of the type heap, or null; what they point to is not freed.
TALLOW_EXPORT void rtDListFreeAll(ASN1CTXT* ctx, _Asn1RTDList* list) noexcept;

/// Copies `elementSize` octets of each element, in list order, into `*array`, and returns the number of elements; null
/// data give zero octets.
///
/// When `*capacity` (elements; the address may be null) is smaller than the list, or `*array` is null, a new array
/// comes from the type heap, `*capacity` becomes its size, and the old array is left unchanged. Without a capacity a
/// given array must be large enough. Returns 0 with `*array` null when there is no memory.
TALLOW_EXPORT int rtDListToArray(ASN1CTXT* ctx, const _Asn1RTDList* list, void** array, std::uint32_t* capacity,
                                 std::uint32_t elementSize) noexcept;

/// Appends a pointer to each of `count` elements of `elementSize` octets; the array must outlive the list. An element
/// whose node cannot be allocated is skipped silently: compare `count` of the list.
TALLOW_EXPORT void rtDListAppendArray(ASN1CTXT* ctx, _Asn1RTDList* list, void* array, int count,
                                      std::uint32_t elementSize) noexcept;
/// Appends heap copies, made octet by octet. `count` is in effect a number of octets: count / elementSize elements,
/// rounded up, are appended from the start of the array, which must have as many. Elements without memory are skipped
/// silently; with `elementSize` 0 nothing happens.
TALLOW_EXPORT void rtDListAppendArrayCopy(ASN1CTXT* ctx, _Asn1RTDList* list, const void* array, int count,
                                          std::uint32_t elementSize) noexcept;

}  // extern "C"
