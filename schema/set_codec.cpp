// SET: decoded in any order, each member at most once; encoded in reverse definition order, unsorted.
#include <algorithm>

#include "asn1rt/encode.h"
#include "asn1rt/open_type.h"
#include "schema/codec_steps.h"

namespace schema {

namespace {

constexpr std::uint8_t kMayBeAbsent = kOptional | kDefaultFalse | kDefaultTrue;

/// The members decoded so far, one bit each. Only the words that the SET needs are initialised.
class SeenMembers {
public:
    explicit SeenMembers(unsigned numMembers) { std::fill_n(words_, (numMembers + kBits - 1) / kBits, 0); }

    [[nodiscard]] bool contains(unsigned member) const { return (words_[member / kBits] >> member % kBits & 1U) != 0; }
    void add(unsigned member) { words_[member / kBits] |= std::uint64_t{1} << member % kBits; }

private:
    static constexpr unsigned kBits = 64;
    std::uint64_t words_[kMaxMembers / kBits];
};

/// Returns the member with this tag, or null.
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

int decodeElement(ASN1CTXT* ctxt, const TypeInfo& type, void* record, SeenMembers& seen) {
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
        return decodeAddition(ctxt, type, record);
    }
    const auto number = static_cast<unsigned>(member - type.members);
    if (seen.contains(number)) {
        return STATUS_SET_DUPLICATE;
    }
    seen.add(number);
    return decodeFound(ctxt, *member, record, length);
}

int finish(const TypeInfo& type, void* record, const SeenMembers& seen) {
    std::uint32_t present = 0;
    for (unsigned i = 0; i < type.numMembers; ++i) {
        const MemberInfo& member = type.members[i];
        const bool isThere = seen.contains(i);
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
    SeenMembers seen(type.numMembers);
    while (!end.isReached(ctxt)) {
        const std::uint32_t before = ctxt->buffer.byteIndex;
        const int status = decodeElement(ctxt, type, record, seen);
        if (status != 0) {
            return status;
        }
        if (ctxt->buffer.byteIndex == before) {
            return STATUS_END_OF_BUFFER;  // a truncated open type reads nothing and reports no error
        }
    }
    return finish(type, record, seen);
}

}  // namespace

int encodeSet(ASN1CTXT* ctxt, const TypeInfo& type, void* record, ASN1TagType tagType) {
    return encodeRecord(ctxt, type, record, tagType, kTagSet);
}

int decodeSet(ASN1CTXT* ctxt, const TypeInfo& type, void* record, ASN1TagType tagType, int length) {
    return decodeRecord(ctxt, type, record, kTagSet, tagType, length, decodeMembers);
}

}  // namespace schema
