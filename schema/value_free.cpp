// Frees values, members first. Values decoded in zero-copy mode may point into the input; their octets are left to the
// heap.
#include "schema/codec_steps.h"
#include "schema/value_codec.h"

namespace schema {

namespace {

bool mayPointIntoInput(const ASN1CTXT* ctxt) {
    return (ctxt->flags & CTX_FLAG_ZERO_COPY) != 0;
}

template <class Text>
void freeOctets(ASN1CTXT* ctxt, void* slot) {
    auto* value = static_cast<Text*>(slot);
    if (!mayPointIntoInput(ctxt)) {
        freeBlock(ctxt, value->data);
    }
    *value = {};
}

void freeRecord(ASN1CTXT* ctxt, const TypeInfo& type, void* record) {
    if (type.table != nullptr) {
        freeTable(ctxt, type, record);
    }
    for (unsigned i = 0; i < type.numMembers; ++i) {
        const MemberInfo& member = type.members[i];
        if ((member.flags & kOptional) == 0 || isPresent(type, member, record)) {
            freeMember(ctxt, member, record);
        }
    }
    if (type.presenceOffset != 0) {
        at<std::uint32_t>(record, type.presenceOffset) = 0;
    }
    if (type.extensible) {
        auto& additions = at<ASN1TSeqOfList>(record, type.extensionOffset);
        if (mayPointIntoInput(ctxt)) {
            rtDListFreeAll(ctxt, &additions);
        } else {
            rtMemFreeOpenSeqExt(ctxt, &additions);
        }
    }
}

void freeChoice(ASN1CTXT* ctxt, const TypeInfo& type, void* record) {
    std::uint32_t& t = alternativeOf(record);
    if (t != 0 && t <= type.numMembers) {
        freeMember(ctxt, type.members[t - 1], record);
    }
    t = 0;
}

void freeList(ASN1CTXT* ctxt, const TypeInfo& type, void* record) {
    auto& list = at<ASN1TSeqOfList>(record, type.listOffset);
    for (_Asn1RTDListNode* node = list.pHead; node != nullptr; node = node->pNext) {
        freeContents(ctxt, *type.members, node->data);
    }
    rtDListFreeAll(ctxt, &list);
}

void freeArray(ASN1CTXT* ctxt, const TypeInfo& type, void* record) {
    auto& array = at<ArrayRecord>(record, type.listOffset);
    const std::size_t size = storageSize(*type.members);
    for (std::uint32_t i = 0; i < array.n; ++i) {
        freeContents(ctxt, *type.members, static_cast<std::uint8_t*>(array.elem) + i * size);
    }
    freeBlock(ctxt, array.elem);
    array.n = 0;
}

}  // namespace

void freePrimitive(ASN1CTXT* ctxt, const MemberInfo& member, void* slot) {
    switch (member.kind) {
        case Kind::BigInteger:
        case Kind::CharString:
        case Kind::Utf8String:
            freeBlock(ctxt, *static_cast<const char**>(slot));
            break;
        case Kind::OctetString:
            freeOctets<ASN1TDynOctStr>(ctxt, slot);
            break;
        case Kind::BitString:
            freeOctets<ASN1TDynBitStr>(ctxt, slot);
            break;
        case Kind::OpenType:
        case Kind::TypedValue:  // which starts with its raw octets
            freeOctets<ASN1TOpenType>(ctxt, slot);
            break;
        case Kind::BmpString:
            freeBlock(ctxt, static_cast<ASN1T16BitCharStr*>(slot)->data);
            break;
        case Kind::UniversalString:
            freeBlock(ctxt, static_cast<ASN1T32BitCharStr*>(slot)->data);
            break;
        default:
            break;
    }
}

void freeContents(ASN1CTXT* ctxt, const MemberInfo& member, void* slot) {
    if (member.kind < Kind::Sequence) {
        freePrimitive(ctxt, member, slot);
    } else {
        freeValue(ctxt, *member.type, slot);
    }
}

void freeMember(ASN1CTXT* ctxt, const MemberInfo& member, void* record) {
    void* slot = slotOf(member, record);
    if (slot == nullptr) {
        return;
    }
    freeContents(ctxt, member, slot);
    if ((member.flags & kPointer) != 0) {
        freeBlock(ctxt, at<void*>(record, member.offset));
    }
}

void freeValue(ASN1CTXT* ctxt, const TypeInfo& type, void* value) {
    switch (type.kind) {
        case Kind::Sequence:
        case Kind::Set:
            freeRecord(ctxt, type, value);
            break;
        case Kind::Choice:
            freeChoice(ctxt, type, value);
            break;
        case Kind::SequenceOf:
        case Kind::SetOf:
            freeList(ctxt, type, value);
            break;
        case Kind::Array:
            freeArray(ctxt, type, value);
            break;
        case Kind::Tagged:
            freeContents(ctxt, *type.members, value);
            break;
        default:
            freePrimitive(ctxt, *type.members, value);
            break;
    }
}

}  // namespace schema
