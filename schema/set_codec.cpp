// SET: members in any order on the way in, each at most once; on the way out in reverse definition order, unsorted.
#include "asn1rt/encode.h"
#include "asn1rt/open_type.h"
#include "schema/codec_steps.h"

namespace schema {

namespace {

constexpr std::uint8_t kSetOctet = 0x11;
constexpr std::uint8_t kMayBeAbsent = kOptional | kDefaultFalse | kDefaultTrue;

/// The member that an element with this tag is, or null.
const MemberInfo* findMember(const TypeInfo& type, std::uint32_t tag) {
    for (unsigned i = 0; i < type.numMembers; ++i) {
        if (acceptsTag(type.members[i], tag)) {
            return &type.members[i];
        }
    }
    return nullptr;
}

int decodeFound(ASN1CTXT* ctxt, const MemberInfo& member, void* record, int length) {
    if (readsOwnHeader(member)) {
        xu_RestoreBufferState(ctxt, nullptr);
        return decodeMember(ctxt, member, record, TAG_EXPLICIT, 0);
    }
    return decodeMember(ctxt, member, record, (member.flags & kExplicit) != 0 ? TAG_EXPLICIT : TAG_IMPLICIT, length);
}

int decodeElement(ASN1CTXT* ctxt, const TypeInfo& type, void* record, std::uint64_t& seen) {
    std::uint32_t tag = 0;
    int length = 0;
    const int status = xd_tag_len(ctxt, &tag, &length, MATCH_ADVANCE);
    if (status != 0) {
        return status;
    }
    const MemberInfo* member = findMember(type, tag);
    if (member == nullptr) {
        if (!type.extensible) {
            return STATUS_SET_UNKNOWN_ELEMENT;
        }
        xu_RestoreBufferState(ctxt, nullptr);
        return xd_OpenTypeAppend(ctxt, &at<ASN1TSeqOfList>(record, type.extensionOffset));
    }
    const std::uint64_t mask = std::uint64_t{1} << (member - type.members);
    if ((seen & mask) != 0) {
        return STATUS_SET_DUPLICATE;
    }
    seen |= mask;
    return decodeFound(ctxt, *member, record, length);
}

int finish(const TypeInfo& type, void* record, std::uint64_t seen) {
    std::uint32_t present = 0;
    for (unsigned i = 0; i < type.numMembers; ++i) {
        const MemberInfo& member = type.members[i];
        const bool isThere = (seen >> i & 1U) != 0;
        if (!isThere && (member.flags & kMayBeAbsent) == 0) {
            return STATUS_MISSING_ELEMENT;
        }
        if (!isThere) {
            setDefault(member, record);
        } else if ((member.flags & kOptional) != 0) {
            present |= 1U << member.bit;
        }
    }
    if (type.presenceOffset != 0) {
        at<std::uint32_t>(record, type.presenceOffset) = present;
    }
    return 0;
}

int decodeMembers(ASN1CTXT* ctxt, const TypeInfo& type, void* record, int length) {
    const ContentsEnd end(ctxt, length);
    std::uint64_t seen = 0;
    while (!end.isReached(ctxt)) {
        const std::uint32_t before = ctxt->buffer.byteIndex;
        const int status = decodeElement(ctxt, type, record, seen);
        if (status != 0) {
            return status;
        }
        if (ctxt->buffer.byteIndex == before) {
            return STATUS_END_OF_BUFFER;  // an open type whose header is cut off reads nothing and fails nowhere
        }
    }
    return finish(type, record, seen);
}

}  // namespace

int encodeSet(ASN1CTXT* ctxt, const TypeInfo& type, void* record, ASN1TagType tagType) {
    return encodeRecord(ctxt, type, record, tagType, kTagSet);
}

int decodeSet(ASN1CTXT* ctxt, const TypeInfo& type, void* record, ASN1TagType tagType, int length) {
    if (tagType == TAG_EXPLICIT) {
        const int status = xd_match1(ctxt, kSetOctet, &length);
        if (status != 0) {
            return fail(ctxt, status);
        }
    }
    clearRecord(type, record);
    int status = decodeMembers(ctxt, type, record, length);
    if (status == 0 && type.table != nullptr) {
        status = decodeTableAside(ctxt, type, record);
    }
    return status != 0 ? fail(ctxt, status) : 0;
}

}  // namespace schema
