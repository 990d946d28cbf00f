// SEQUENCE: encoded in reverse order; decoded in one pass over the member positions.
#include <cstring>

#include "asn1rt/encode.h"
#include "asn1rt/open_type.h"
#include "schema/codec_steps.h"
#include "schema/value_codec.h"

namespace schema {

namespace {

constexpr std::uint8_t kMayBeAbsent = kOptional | kDefaultFalse | kDefaultTrue;

bool isWritten(const TypeInfo& type, const MemberInfo& member, const void* record) {
    if ((member.flags & kOptional) != 0) {
        return isPresent(type, member, record);
    }
    if ((member.flags & kDefaultFalse) != 0) {
        return at<std::uint8_t>(record, member.offset) != 0;
    }
    if ((member.flags & kDefaultTrue) != 0) {
        return at<std::uint8_t>(record, member.offset) == 0;
    }
    return true;
}

/// Whether an untagged CHOICE or raw value that may be absent is present. Members of other types are simply tried, but
/// an absent CHOICE would report STATUS_BAD_CHOICE, and a raw value would accept any element.
bool isAhead(ASN1CTXT* ctxt, const MemberInfo& member) {
    std::uint32_t tag = 0;
    int length = 0;
    return xd_tag_len(ctxt, &tag, &length, 0) != 0 || acceptsTag(member, tag);
}

[[gnu::noinline]] bool isLongTagAhead(ASN1CTXT* ctxt, const MemberInfo& member) {
    std::uint32_t tag = 0;
    int length = 0;
    // A header that cannot be read counts as a match, so that decoding the member reports why.
    return xd_tag_len(ctxt, &tag, &length, 0) != 0 || ((tag ^ member.tag) & ~kTagConstructed) == 0;
}

/// Whether the next element has the member's own tag, ignoring the constructed bit.
bool isOwnTagAhead(ASN1CTXT* ctxt, const MemberInfo& member) {
    if (hasLongTag(member)) [[unlikely]] {
        return isLongTagAhead(ctxt, member);
    }
    return (ctxt->buffer.data[ctxt->buffer.byteIndex] & 0xDFU) == tagOctet(member);
}

/// Decodes the member at this position and sets `isThere`. An untagged OPTIONAL member is tried: any tag mismatch
/// inside it means that it is absent, and the input position is not restored.
int decodeAtPosition(ASN1CTXT* ctxt, const MemberInfo& member, void* record, bool& isThere) {
    isThere = true;
    const bool mayBeAbsent = (member.flags & kMayBeAbsent) != 0;
    if ((member.flags & kOwnTag) != 0) {
        if (mayBeAbsent && !isOwnTagAhead(ctxt, member)) {
            isThere = false;
            return 0;
        }
        if (mayBeAbsent && (member.flags & kExplicit) != 0 && !hasLongTag(member)) {
            int length = 0;
            const int status = xd_Tag1AndLen(ctxt, &length);
            return status != 0 ? status : decodeMember(ctxt, member, record, TAG_EXPLICIT, length);
        }
        return decodeOwnTag(ctxt, member, record);
    }
    const bool isTold = member.kind == Kind::Choice || member.kind == Kind::OpenType;
    if (mayBeAbsent && isTold && !isAhead(ctxt, member)) {
        isThere = false;
        return 0;
    }
    const int status = decodeMember(ctxt, member, record, TAG_EXPLICIT, 0);
    if (mayBeAbsent && status == STATUS_TAG_MISMATCH) {
        isThere = false;
        return rtErrReset(&ctxt->errInfo);
    }
    return status;
}

/// Whether the member can start with this tag word, ignoring the constructed bit.
bool acceptsEitherForm(const MemberInfo& member, std::uint32_t tag) {
    return acceptsTag(member, tag) || acceptsTag(member, tag ^ kTagConstructed);
}

/// Whether the next element belongs to the second root, the members after the additions.
bool isSecondRootAhead(ASN1CTXT* ctxt, const TypeInfo& type) {
    std::uint32_t tag = 0;
    int length = 0;
    if (type.numBeforeAdditions == type.numMembers || xd_tag_len(ctxt, &tag, &length, 0) != 0) {
        return false;
    }
    for (unsigned i = type.numBeforeAdditions; i < type.numMembers; ++i) {
        if (acceptsEitherForm(type.members[i], tag)) {
            return true;
        }
        if ((type.members[i].flags & kMayBeAbsent) == 0) {
            return false;
        }
    }
    return false;
}

/// Whether the next element is an optional member or known addition that was absent at its own position. Taken for an
/// unknown addition, it would be written again out of order, and callers would not see it.
bool isMisplacedMemberAhead(ASN1CTXT* ctxt, const TypeInfo& type, const void* record) {
    std::uint32_t tag = 0;
    int length = 0;
    if (xd_tag_len(ctxt, &tag, &length, 0) != 0) {
        return false;
    }
    for (unsigned i = type.numBeforeAdditions; i-- > 0 && (type.members[i].flags & kMayBeAbsent) != 0;) {
        if (acceptsEitherForm(type.members[i], tag) && !isWritten(type, type.members[i], record)) {
            return true;
        }
    }
    return false;
}

/// Keeps the additions of later versions of the type. They are encoded again unchanged.
[[gnu::noinline]] int decodeAdditions(ASN1CTXT* ctxt, const TypeInfo& type, void* record, ContentsEnd end) {
    while (!end.isReached(ctxt) && !isSecondRootAhead(ctxt, type)) {
        if (isMisplacedMemberAhead(ctxt, type, record)) {
            return STATUS_EXTRA_ELEMENT;
        }
        const int status = decodeAddition(ctxt, type, record);
        if (status != 0) {
            return status;
        }
    }
    return 0;
}

void setPresence(const TypeInfo& type, void* record, std::uint32_t present) {
    if (type.presenceOffset != 0) {
        at<std::uint32_t>(record, type.presenceOffset) = present;
    }
}

int decodeMembers(ASN1CTXT* ctxt, const TypeInfo& type, void* record, int length) {
    const ContentsEnd end(ctxt, length);
    const MemberInfo* member = type.members;
    const MemberInfo* const last = type.members + type.numMembers;
    // First the place of unknown additions, then the end.
    const MemberInfo* stop = type.members + type.numBeforeAdditions;
    std::uint32_t present = 0;
    unsigned numRequired = 0;
    while (!end.isReached(ctxt)) {
        if (member == stop) {
            const bool hadAdditions = stop == last && type.numBeforeAdditions != type.numMembers;
            if (!type.extensible || hadAdditions) {
                return STATUS_EXTRA_ELEMENT;
            }
            setPresence(type, record, present);
            const int status = decodeAdditions(ctxt, type, record, end);
            if (status != 0) {
                return status;
            }
            stop = last;
            continue;
        }
        bool isThere = false;
        const int status = decodeAtPosition(ctxt, *member, record, isThere);
        if (status != 0) {
            return status;
        }
        if (!isThere) {
            setDefault(*member, record);
        } else if ((member->flags & kOptional) != 0) {
            present |= 1U << member->bit;
        } else if ((member->flags & kMayBeAbsent) == 0) {
            ++numRequired;
        }
        ++member;
    }
    for (; member != last; ++member) {
        setDefault(*member, record);
    }
    setPresence(type, record, present);
    return numRequired < type.numRequired ? STATUS_MISSING_ELEMENT : 0;
}

}  // namespace

void setDefault(const MemberInfo& member, void* record) {
    if ((member.flags & (kDefaultFalse | kDefaultTrue)) != 0) {
        at<std::uint8_t>(record, member.offset) = (member.flags & kDefaultTrue) != 0 ? 1 : 0;
    } else if (member.kind == Kind::Unsigned && (member.flags & kOptional) != 0) {
        // An absent version is 0 (v1), even if the record was used before.
        at<std::uint32_t>(record, member.offset) = 0;
    }
}

void clearRecord(const TypeInfo& type, void* record) {
    if (type.presenceOffset != 0) {
        at<std::uint32_t>(record, type.presenceOffset) = 0;
    }
    if (type.extensible) {
        rtDListInit(&at<ASN1TSeqOfList>(record, type.extensionOffset));
    }
    if (type.table != nullptr && !type.table->isList) {
        at<ASN1TOpenType>(record, type.table->rawOffset) = {};
        at<Asn1TObject>(record, type.table->objectOffset) = {};
    }
}

int decodeAddition(ASN1CTXT* ctxt, const TypeInfo& type, void* record) {
    const std::uint32_t before = ctxt->buffer.byteIndex;
    const int status = xd_OpenTypeAppend(ctxt, &at<ASN1TSeqOfList>(record, type.extensionOffset));
    // A truncated open type reads nothing and reports no error.
    return status == 0 && ctxt->buffer.byteIndex == before ? STATUS_END_OF_BUFFER : status;
}

int encodeMembers(ASN1CTXT* ctxt, const TypeInfo& type, void* record) {
    int total = 0;
    for (unsigned i = type.numMembers + 1U; i-- > 0;) {
        if (type.extensible && i == type.numBeforeAdditions) {
            const int length = xe_OpenTypeExt(ctxt, &at<ASN1TSeqOfList>(record, type.extensionOffset));
            if (length < 0) {
                return length;
            }
            total += length;
        }
        if (i != 0 && isWritten(type, type.members[i - 1], record)) {
            const int length = encodeMember(ctxt, type.members[i - 1], record);
            if (length < 0) {
                return length;
            }
            total += length;
        }
    }
    return total;
}

int encodeRecord(ASN1CTXT* ctxt, const TypeInfo& type, void* record, ASN1TagType tagType, ASN1TAG tag) {
    if (type.table != nullptr) {
        const int status = encodeTableAside(ctxt, type, record);
        if (status != 0) {
            return fail(ctxt, status);
        }
    }
    int total = encodeMembers(ctxt, type, record);
    if (total >= 0 && tagType == TAG_EXPLICIT) {
        total = xe_tag_len(ctxt, tag, total);
    }
    return total < 0 ? fail(ctxt, total) : total;
}

int encodeSequence(ASN1CTXT* ctxt, const TypeInfo& type, void* record, ASN1TagType tagType) {
    return encodeRecord(ctxt, type, record, tagType, kTagSequence);
}

int decodeSequence(ASN1CTXT* ctxt, const TypeInfo& type, void* record, ASN1TagType tagType, int length) {
    return decodeRecord(ctxt, type, record, kTagSequence, tagType, length, decodeMembers);
}

}  // namespace schema
