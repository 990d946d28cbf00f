// SEQUENCE OF and SET OF as linked lists, and SEQUENCE OF as an array.
#include <cstring>
#include <new>

#include "asn1rt/canonical_sort.h"
#include "asn1rt/encode.h"
#include "asn1rt/slist.h"
#include "schema/codec_steps.h"

namespace schema {

namespace {

constexpr std::uint32_t kMostElements = 0x7FFFFFFF;
constexpr const char* kCountPath = "pvalue->count";

int checkCount(ASN1CTXT* ctxt, const TypeInfo& type, std::uint32_t count) {
    if (type.bounded && (count < type.lower || count > type.upper)) {
        return failConstraint(ctxt, kCountPath, count);
    }
    return 0;
}

int readHeader(ASN1CTXT* ctxt, const TypeInfo& type, ASN1TagType tagType, int& length) {
    if (tagType != TAG_EXPLICIT) {
        return 0;
    }
    return xd_match1(ctxt, static_cast<std::uint8_t>((type.kind == Kind::SetOf ? kTagSet : kTagSequence) & 0x1FU),
                     &length);
}

int encodeElements(ASN1CTXT* ctxt, const MemberInfo& element, const ASN1TSeqOfList& list) {
    int total = 0;
    for (const _Asn1RTDListNode* node = list.pTail; node != nullptr; node = node->pPrev) {
        const int length = encodeMember(ctxt, element, node->data);
        if (length < 0) {
            return length;
        }
        total += length;
    }
    return total;
}

void noteElement(ASN1CTXT* ctxt, rtSList& descriptors, int length) {
    auto* descriptor = static_cast<ASN1BufLocDescr*>(rtMemHeapAlloc(&ctxt->pTypeMemHeap, sizeof(ASN1BufLocDescr)));
    if (descriptor == nullptr) {
        throw std::bad_alloc();
    }
    xe_getBufLocDescr(ctxt, static_cast<std::uint32_t>(length), descriptor);
    if (rtSListAppend(&descriptors, descriptor) == nullptr) {
        throw std::bad_alloc();
    }
}

/// Writes the elements in canonical order. A single element needs no sorting; most sets, those in names, have one.
int encodeSorted(ASN1CTXT* ctxt, const MemberInfo& element, const ASN1TSeqOfList& list) {
    if (list.count < 2) {
        return encodeElements(ctxt, element, list);
    }
    rtSList descriptors;
    rtSListInitEx(ctxt, &descriptors);
    for (const _Asn1RTDListNode* node = list.pTail; node != nullptr; node = node->pPrev) {
        const int length = encodeMember(ctxt, element, node->data);
        if (length < 0) {
            rtSListFree(&descriptors);
            return length;
        }
        noteElement(ctxt, descriptors, length);
    }
    return xe_derCanonicalSort(ctxt, &descriptors);
}

int decodeItem(ASN1CTXT* ctxt, const MemberInfo& element, void* slot) {
    return (element.flags & kOwnTag) != 0 ? decodeOwnTag(ctxt, element, slot)
                                          : decodeContents(ctxt, element, slot, TAG_EXPLICIT, 0);
}

int decodeElement(ASN1CTXT* ctxt, const MemberInfo& element, std::size_t size, ASN1TSeqOfList& list) {
    auto* node = static_cast<_Asn1RTDListNode*>(rtMemHeapAllocZ(&ctxt->pTypeMemHeap, sizeof(_Asn1RTDListNode) + size));
    if (node == nullptr) {
        return STATUS_NO_MEMORY;
    }
    const std::uint32_t before = ctxt->buffer.byteIndex;
    const int status = decodeItem(ctxt, element, node + 1);
    if (status != 0) {
        return status;
    }
    if (ctxt->buffer.byteIndex == before) {
        return STATUS_END_OF_BUFFER;  // a truncated open type reads nothing and reports no error
    }
    rtDListAppendNode(ctxt, &list, node + 1);
    return 0;
}

int decodeElements(ASN1CTXT* ctxt, const TypeInfo& type, ASN1TSeqOfList& list, int length) {
    const std::size_t size = storageSize(*type.members);
    const ContentsEnd end(ctxt, length);
    while (!end.isReached(ctxt)) {
        if (type.bounded && list.count >= kMostElements) {
            return STATUS_EXTRA_ELEMENT;
        }
        const int status = decodeElement(ctxt, *type.members, size, list);
        if (status != 0) {
            return status;
        }
    }
    return checkCount(ctxt, type, list.count);
}

int decodeItems(ASN1CTXT* ctxt, const TypeInfo& type, ArrayRecord& array, int length) {
    std::uint32_t count = 0;
    int status = xd_count(ctxt, length, &count);
    if (status != 0 || count == 0) {
        return status != 0 ? status : checkCount(ctxt, type, 0);
    }
    const std::size_t size = storageSize(*type.members);
    if (count > MEM_HEAP_MAX_REQUEST / size) {
        return STATUS_NO_MEMORY;
    }
    auto* items = static_cast<std::uint8_t*>(rtMemHeapAlloc(&ctxt->pTypeMemHeap, count * size));
    if (items == nullptr) {
        return STATUS_NO_MEMORY;
    }
    array.elem = items;
    const ContentsEnd end(ctxt, length);
    for (; array.n < count && !end.isReached(ctxt); ++array.n, items += size) {
        if (type.members->kind != Kind::ObjectId) {
            std::memset(items, 0, size);
        }
        status = decodeItem(ctxt, *type.members, items);
        if (status != 0) {
            return status;
        }
    }
    return checkCount(ctxt, type, array.n);
}

}  // namespace

int encodeList(ASN1CTXT* ctxt, const TypeInfo& type, void* record, ASN1TagType tagType) {
    const auto& list = at<ASN1TSeqOfList>(record, type.listOffset);
    const bool isSet = type.kind == Kind::SetOf;
    int total = checkCount(ctxt, type, list.count);
    if (total == 0) {
        total = isSet ? encodeSorted(ctxt, *type.members, list) : encodeElements(ctxt, *type.members, list);
    }
    if (total >= 0 && tagType == TAG_EXPLICIT) {
        total = xe_tag_len(ctxt, isSet ? kTagSet : kTagSequence, total);
    }
    return total < 0 ? fail(ctxt, total) : total;
}

int decodeList(ASN1CTXT* ctxt, const TypeInfo& type, void* record, ASN1TagType tagType, int length) {
    auto& list = at<ASN1TSeqOfList>(record, type.listOffset);
    int status = readHeader(ctxt, type, tagType, length);
    if (status != 0) {
        return fail(ctxt, status);
    }
    rtDListInit(&list);
    status = decodeElements(ctxt, type, list, length);
    return status != 0 ? fail(ctxt, status) : 0;
}

int encodeArray(ASN1CTXT* ctxt, const TypeInfo& type, void* record, ASN1TagType tagType) {
    const auto& array = at<ArrayRecord>(record, type.listOffset);
    const std::size_t size = storageSize(*type.members);
    int total = array.n != 0 && array.elem == nullptr ? STATUS_BAD_VALUE : checkCount(ctxt, type, array.n);
    for (std::uint32_t i = array.n; total >= 0 && i-- > 0;) {
        const int length = encodeMember(ctxt, *type.members, static_cast<std::uint8_t*>(array.elem) + i * size);
        total = length < 0 ? length : total + length;
    }
    if (total >= 0 && tagType == TAG_EXPLICIT) {
        total = xe_tag_len(ctxt, kTagSequence, total);
    }
    return total < 0 ? fail(ctxt, total) : total;
}

int decodeArray(ASN1CTXT* ctxt, const TypeInfo& type, void* record, ASN1TagType tagType, int length) {
    auto& array = at<ArrayRecord>(record, type.listOffset);
    int status = readHeader(ctxt, type, tagType, length);
    if (status != 0) {
        return fail(ctxt, status);
    }
    array = {};
    status = decodeItems(ctxt, type, array, length);
    return status != 0 ? fail(ctxt, status) : 0;
}

}  // namespace schema
