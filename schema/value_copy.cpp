// Deep copies. A copy has no status: members that cannot be allocated are left empty, but the alternative of a CHOICE
// and typed open values throw.
#include <cstring>
#include <new>

#include "asn1rt/copy_values.h"
#include "schema/codec_steps.h"
#include "schema/value_codec.h"

namespace schema {

namespace {

void copyRecord(ASN1CTXT* ctxt, const TypeInfo& type, const void* from, void* to) {
    if (type.presenceOffset != 0) {
        at<std::uint32_t>(to, type.presenceOffset) = at<std::uint32_t>(from, type.presenceOffset);
    }
    for (unsigned i = 0; i < type.numMembers; ++i) {
        const MemberInfo& member = type.members[i];
        if ((member.flags & kOptional) == 0 || isPresent(type, member, from)) {
            copyMember(ctxt, member, from, to);
        }
    }
    if (type.extensible) {
        auto& target = at<ASN1TSeqOfList>(to, type.extensionOffset);
        rtDListInit(&target);
        rtCopyOpenTypeExt(ctxt, &at<ASN1TSeqOfList>(from, type.extensionOffset), &target);
    }
    if (type.table != nullptr) {
        copyTable(ctxt, type, from, to);
    }
}

void copyChoice(ASN1CTXT* ctxt, const TypeInfo& type, const void* from, void* to) {
    const std::uint32_t t = alternativeOf(from);
    alternativeOf(to) = 0;
    if (t == 0 || t > type.numMembers) {
        return;
    }
    copyMember(ctxt, type.members[t - 1], from, to);
    alternativeOf(to) = t;
}

void copyList(ASN1CTXT* ctxt, const TypeInfo& type, const void* from, void* to) {
    const MemberInfo& element = *type.members;
    const std::size_t size = storageSize(element);
    auto& target = at<ASN1TSeqOfList>(to, type.listOffset);
    rtDListInit(&target);
    const auto& source = at<ASN1TSeqOfList>(from, type.listOffset);
    for (const _Asn1RTDListNode* node = source.pHead; node != nullptr; node = node->pNext) {
        auto* copy =
            static_cast<_Asn1RTDListNode*>(rtMemHeapAllocZ(&ctxt->pTypeMemHeap, sizeof(_Asn1RTDListNode) + size));
        if (copy == nullptr) {
            return;
        }
        copyContents(ctxt, element, node->data, copy + 1);
        rtDListAppendNode(ctxt, &target, copy + 1);
    }
}

void copyArray(ASN1CTXT* ctxt, const TypeInfo& type, const void* from, void* to) {
    const auto& source = at<ArrayRecord>(from, type.listOffset);
    auto& target = at<ArrayRecord>(to, type.listOffset);
    target = {};
    const std::size_t size = storageSize(*type.members);
    if (source.n == 0 || source.elem == nullptr || source.n > MEM_HEAP_MAX_REQUEST / size) {
        return;
    }
    target.elem = rtMemHeapAllocZ(&ctxt->pTypeMemHeap, source.n * size);
    if (target.elem == nullptr) {
        return;
    }
    for (; target.n < source.n; ++target.n) {
        copyContents(ctxt, *type.members, static_cast<const std::uint8_t*>(source.elem) + target.n * size,
                     static_cast<std::uint8_t*>(target.elem) + target.n * size);
    }
}

}  // namespace

void copyPrimitive(ASN1CTXT* ctxt, const MemberInfo& member, const void* from, void* to) {
    switch (member.kind) {
        case Kind::BigInteger:
        case Kind::CharString:
        case Kind::Utf8String:
            *static_cast<const char**>(to) = nullptr;
            rtCopyCharStr(ctxt, *static_cast<const char* const*>(from), static_cast<const char**>(to));
            break;
        case Kind::ObjectId:
            *static_cast<ASN1TObjId*>(to) = *static_cast<const ASN1TObjId*>(from);
            break;
        case Kind::OctetString:
            rtCopyDynOctStr(ctxt, static_cast<const ASN1TDynOctStr*>(from), static_cast<ASN1TDynOctStr*>(to));
            break;
        case Kind::BitString:
            rtCopyDynBitStr(ctxt, static_cast<const ASN1TDynBitStr*>(from), static_cast<ASN1TDynBitStr*>(to));
            break;
        case Kind::BmpString:
            rtCopy16BitCharStr(ctxt, static_cast<const ASN1T16BitCharStr*>(from), static_cast<ASN1T16BitCharStr*>(to));
            break;
        case Kind::UniversalString:
            rtCopy32BitCharStr(ctxt, static_cast<const ASN1T32BitCharStr*>(from), static_cast<ASN1T32BitCharStr*>(to));
            break;
        case Kind::OpenType:
        case Kind::TypedValue:  // which starts with its raw octets
            rtCopyOpenType(ctxt, static_cast<const ASN1TOpenType*>(from), static_cast<ASN1TOpenType*>(to));
            break;
        case Kind::Null:
            break;
        default:
            std::memcpy(to, from, storageSize(member));
            break;
    }
}

void copyContents(ASN1CTXT* ctxt, const MemberInfo& member, const void* from, void* to) {
    if (member.kind < Kind::Sequence) {
        copyPrimitive(ctxt, member, from, to);
    } else {
        copyValue(ctxt, *member.type, from, to);
    }
}

void copyMember(ASN1CTXT* ctxt, const MemberInfo& member, const void* from, void* to) {
    if ((member.flags & kPointer) == 0) {
        copyContents(ctxt, member, &at<std::uint8_t>(from, member.offset), &at<std::uint8_t>(to, member.offset));
        return;
    }
    auto& target = at<void*>(to, member.offset);
    target = nullptr;
    const void* source = at<const void*>(from, member.offset);
    if (source == nullptr) {
        return;
    }
    void* value = rtMemHeapAllocZ(&ctxt->pTypeMemHeap, storageSize(member));
    if (value == nullptr) {
        throw std::bad_alloc();
    }
    copyContents(ctxt, member, source, value);
    target = value;
}

void copyValue(ASN1CTXT* ctxt, const TypeInfo& type, const void* from, void* to) {
    if (from == to) {
        return;
    }
    // The memory limit applies to decoding. A copy has no status to report that it was reached.
    rtMemHeapRemoveLimit(&ctxt->pTypeMemHeap);
    switch (type.kind) {
        case Kind::Sequence:
        case Kind::Set:
            copyRecord(ctxt, type, from, to);
            break;
        case Kind::Choice:
            copyChoice(ctxt, type, from, to);
            break;
        case Kind::SequenceOf:
        case Kind::SetOf:
            copyList(ctxt, type, from, to);
            break;
        case Kind::Array:
            copyArray(ctxt, type, from, to);
            break;
        case Kind::Tagged:
            copyContents(ctxt, *type.members, from, to);
            break;
        default:
            copyPrimitive(ctxt, *type.members, from, to);
            break;
    }
}

}  // namespace schema
