#include "asn1rt/slist.h"

#include "asn1rt/context.h"

extern "C" {

void rtSListInitEx(ASN1CTXT* owner, rtSList* list) noexcept {
    if (list != nullptr) {
        *list = rtSList{0, nullptr, nullptr, owner};
    }
}

rtSListNode* rtSListAppend(rtSList* list, void* data) noexcept {
    void* memory = list->pOwner != nullptr ? rtMemHeapAlloc(&list->pOwner->pTypeMemHeap, sizeof(rtSListNode))
                                           : OV_malloc(sizeof(rtSListNode));
    auto* node = static_cast<rtSListNode*>(memory);
    if (node == nullptr) {
        return nullptr;
    }
    *node = rtSListNode{data, nullptr};
    (list->pTail != nullptr ? list->pTail->pNext : list->pHead) = node;
    list->pTail = node;
    ++list->count;
    return node;
}

void rtSListFree(rtSList* list) noexcept {
    rtSListNode* node = list->pHead;
    while (node != nullptr) {
        rtSListNode* next = node->pNext;
        if (list->pOwner != nullptr) {
            rtMemHeapFreePtr(&list->pOwner->pTypeMemHeap, node);
        } else {
            OV_free(node);
        }
        node = next;
    }
    *list = rtSList{0, nullptr, nullptr, nullptr};
}

}  // extern "C"
