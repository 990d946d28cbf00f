// Lists of values to and from the records of SEQUENCE OF and SET OF.
#pragma once

#include "asn1/codec/context_memory.h"
#include "asn1rt/dlist.h"

namespace Orvane::ASN1 {

/// Adapts the traits of an element. `ListValue` is a standard list of `ElemValue`, and the record a list of `ElemT`.
template <class ElemT, class ElemTraits, class ElemValue, class ListValue>
struct ASN1TSeqOfList_traits {
    /// Fills the list anew, an element for each value in order. Node and element share one block, as in decoded lists.
    static void set(ASN1CTXT* ctxt, _Asn1RTDList& list, const ListValue& values) {
        rtDListInit(&list);
        for (const ElemValue& value : values) {
            ElemT* element = append(ctxt, list);
            ElemTraits::set(ctxt, *element, value);
        }
    }

    /// Replaces `values`, which a failure in an element leaves unchanged. The old values go last: the octets of the
    /// record may lie in one of them, when a list is decoded from what an entry of it holds.
    static void get(const _Asn1RTDList& list, ListValue& values) {
        ListValue read;
        for (const _Asn1RTDListNode* node = list.pHead; node != nullptr; node = node->pNext) {
            ElemTraits::get(*static_cast<const ElemT*>(node->data), read.emplace_back());
        }
        values.swap(read);
    }

    static void copy(ASN1CTXT* ctxt, const _Asn1RTDList& from, _Asn1RTDList& to) {
        rtDListInit(&to);
        for (const _Asn1RTDListNode* node = from.pHead; node != nullptr; node = node->pNext) {
            ElemT* element = append(ctxt, to);
            ElemTraits::copy(ctxt, *static_cast<const ElemT*>(node->data), *element);
        }
    }

private:
    static ElemT* append(ASN1CTXT* ctxt, _Asn1RTDList& list) {
        static_assert(alignof(ElemT) <= alignof(_Asn1RTDListNode));
        auto* node = new (allocate(ctxt, sizeof(_Asn1RTDListNode) + sizeof(ElemT))) _Asn1RTDListNode();
        auto* element = new (node + 1) ElemT();
        rtDListAppendNode(ctxt, &list, element);
        return element;
    }
};

}  // namespace Orvane::ASN1
