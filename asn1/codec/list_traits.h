// Lists of values to and from the records of SEQUENCE OF and SET OF.
#pragma once

#include "asn1/codec/context_memory.h"
#include "asn1rt/dlist.h"

namespace Orvane::ASN1 {

/// Adapts the traits of an element. `ListValue` is a standard list of `ElemValue`, and the record a list of `ElemT`.
template <class ElemT, class ElemTraits, class ElemValue, class ListValue>
struct ASN1TSeqOfList_traits {
    /// Fills an empty list, an element for each value in order. Node and element share one block, as in decoded lists.
    static void set(ASN1CTXT* ctxt, _Asn1RTDList& list, const ListValue& values) {
        rtDListInit(&list);
        for (const ElemValue& value : values) {
            ElemT* element = append(ctxt, list);
            ElemTraits::set(ctxt, *element, value);
        }
    }

    /// Replaces `values`.
    static void get(const _Asn1RTDList& list, ListValue& values) {
        values.clear();
        for (const _Asn1RTDListNode* node = list.pHead; node != nullptr; node = node->pNext) {
            ElemTraits::get(*static_cast<const ElemT*>(node->data), values.emplace_back());
        }
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

/// For optional lists that the standard does not allow to be empty: they are omitted. Null when `list` is empty or
/// null.
template <class List>
const List* unlessEmpty(const List* list) {
    return list != nullptr && !list->empty() ? list : nullptr;
}

/// The traits of a list that is its own schema type.
template <class Record, class Control, class ElemTraits, class ListValue>
struct ListTraits
    : ASN1TSeqOfList_traits<typename ElemTraits::ASN1_T, ElemTraits, typename ListValue::value_type, ListValue> {
    using ASN1_T = Record;
    using ASN1_C = Control;
};

}  // namespace Orvane::ASN1
