// Singly linked list of pointers that it does not own. Nodes come from the type heap of the owning context, or from
// malloc when the list has no owner; a list with an owner must not be used after it. No function accepts a null list
// unless it says so.
//
//   rtSList list;
//   rtSListInitEx(ctx, &list);
//   if (rtSListAppend(&list, item) == nullptr) return STATUS_NO_MEMORY;
//   for (rtSListNode* node = list.pHead; node != nullptr; node = node->pNext) ...
//   rtSListFree(&list);
//
// SET OF encoders gather the places of their members in such a list; values themselves use asn1rt/dlist.h.
#pragma once

#include <cstdint>

#include "export.h"

struct ASN1CTXT;

/// One element. `data` is the caller's; `pNext` is null in the last node.
struct rtSListNode {
    void* data;
    rtSListNode* pNext;
};

/// The list. Both ends are null when it is empty. Copying the record does not copy the nodes: only one of the two may
/// be changed or freed.
struct rtSList {
    std::uint32_t count;
    rtSListNode* pHead;
    rtSListNode* pTail;
    ASN1CTXT* pOwner;  ///< null: nodes come from malloc
};

extern "C" {

/// Makes the list empty and records its owner (may be null). Nodes that it held are not freed. A null list is
/// tolerated.
TALLOW_EXPORT void rtSListInitEx(ASN1CTXT* owner, rtSList* list) noexcept;

/// Appends a pointer, null included; returns the new node, or null, with the list unchanged, when it cannot be
/// allocated. No failure is recorded in the owner.
TALLOW_EXPORT rtSListNode* rtSListAppend(rtSList* list, void* data) noexcept;

/// Frees the nodes, not the data, and empties the list. The owner is removed too: a list that is used again takes its
/// nodes from malloc, and must then be freed by this call.
TALLOW_EXPORT void rtSListFree(rtSList* list) noexcept;

}  // extern "C"
