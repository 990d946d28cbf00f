// Dispatches on the form of the type, and finds the value of a member.
#include "schema/value_codec.h"

#include "asn1rt/encode.h"
#include "schema/codec_steps.h"

namespace schema {

namespace {

/// TAG_EXPLICIT when the member's type keeps its own tag inside the member's tag.
ASN1TagType innerTagType(const MemberInfo& member) {
    return (member.flags & kExplicit) != 0 ? TAG_EXPLICIT : TAG_IMPLICIT;
}

/// Like xd_match1, for a tag of several octets.
int matchLongTag(ASN1CTXT* ctxt, const MemberInfo& member, int& length) {
    ASN1TAG tag = 0;
    const int status = xd_tag_len(ctxt, &tag, &length, MATCH_ADVANCE);
    if (status == 0 && ((tag ^ member.tag) & ~kTagConstructed) != 0) {
        xu_RestoreBufferState(ctxt, nullptr);
        return STATUS_TAG_MISMATCH;
    }
    return status;
}

}  // namespace

int encodeValue(ASN1CTXT* ctxt, const TypeInfo& type, void* value, ASN1TagType tagType) {
    switch (type.kind) {
        case Kind::Sequence:
            return encodeSequence(ctxt, type, value, tagType);
        case Kind::Set:
            return encodeSet(ctxt, type, value, tagType);
        case Kind::Choice:
            return encodeChoice(ctxt, type, value);
        case Kind::SequenceOf:
        case Kind::SetOf:
            return encodeList(ctxt, type, value, tagType);
        case Kind::Array:
            return encodeArray(ctxt, type, value, tagType);
        case Kind::Tagged: {
            // With TAG_IMPLICIT, the caller's tag replaces this one.
            const MemberInfo& inner = *type.members;
            return tagType == TAG_EXPLICIT ? encodeMember(ctxt, inner, value)
                                           : encodeContents(ctxt, inner, value, innerTagType(inner));
        }
        default: {
            const int length = encodePrimitive(ctxt, *type.members, value, tagType);
            return length < 0 ? fail(ctxt, length) : length;
        }
    }
}

int decodeValue(ASN1CTXT* ctxt, const TypeInfo& type, void* value, ASN1TagType tagType, int length) {
    if (type.kind < Kind::Sequence) {
        const int status = decodePrimitive(ctxt, *type.members, value, tagType, length);
        return status != 0 ? fail(ctxt, status) : 0;
    }
    const ASN1Level level(ctxt);
    if (level.status != 0) {
        return level.status;
    }
    switch (type.kind) {
        case Kind::Sequence:
            return decodeSequence(ctxt, type, value, tagType, length);
        case Kind::Set:
            return decodeSet(ctxt, type, value, tagType, length);
        case Kind::Choice:
            return decodeChoice(ctxt, type, value);
        case Kind::Array:
            return decodeArray(ctxt, type, value, tagType, length);
        case Kind::Tagged: {
            const MemberInfo& inner = *type.members;
            const int status = tagType == TAG_EXPLICIT
                                   ? decodeOwnTag(ctxt, inner, value)
                                   : decodeContents(ctxt, inner, value, innerTagType(inner), length);
            return status != 0 ? fail(ctxt, status) : 0;
        }
        default:
            return decodeList(ctxt, type, value, tagType, length);
    }
}

int encodeContents(ASN1CTXT* ctxt, const MemberInfo& member, void* slot, ASN1TagType tagType) {
    return member.kind < Kind::Sequence ? encodePrimitive(ctxt, member, slot, tagType)
                                        : encodeValue(ctxt, *member.type, slot, tagType);
}

int encodeMember(ASN1CTXT* ctxt, const MemberInfo& member, void* record) {
    void* slot = slotOf(member, record);
    if (slot == nullptr) {
        return STATUS_BAD_VALUE;
    }
    if ((member.flags & kExplicit) != 0) {
        return xe_tag_len(ctxt, member.tag, encodeContents(ctxt, member, slot, TAG_EXPLICIT));
    }
    if ((member.flags & kImplicit) != 0) {
        return xe_tag_len(ctxt, member.tag, encodeContents(ctxt, member, slot, TAG_IMPLICIT));
    }
    return encodeContents(ctxt, member, slot, TAG_EXPLICIT);
}

int decodePointer(ASN1CTXT* ctxt, const MemberInfo& member, void* record, ASN1TagType tagType, int length) {
    void* value = rtMemHeapAllocZ(&ctxt->pTypeMemHeap, storageSize(member));
    if (value == nullptr) {
        return STATUS_NO_MEMORY;
    }
    const int status = decodeContents(ctxt, member, value, tagType, length);
    if (status == 0) {
        at<void*>(record, member.offset) = value;
    }
    return status;
}

int decodeOwnTag(ASN1CTXT* ctxt, const MemberInfo& member, void* record) {
    int length = 0;
    // Not xd_Tag1AndLen: the identifier octet also tells whether an implicitly tagged string is constructed.
    const int status =
        hasLongTag(member) ? matchLongTag(ctxt, member, length) : xd_match1(ctxt, tagOctet(member), &length);
    if (status != 0) {
        return status;
    }
    return decodeMember(ctxt, member, record, innerTagType(member), length);
}

}  // namespace schema
