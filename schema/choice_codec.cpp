// CHOICE: `t` holds the number of the alternative, the union after it the value. A CHOICE has no tag of its own.
#include "schema/codec_steps.h"

namespace schema {

bool acceptsTag(const MemberInfo& member, std::uint32_t tag) {
    if (member.tag != 0) {
        return member.tag == tag;
    }
    return member.kind == Kind::OpenType || (member.kind == Kind::Choice && acceptsTag(*member.type, tag));
}

bool acceptsTag(const TypeInfo& choice, std::uint32_t tag) {
    for (unsigned i = 0; i < choice.numMembers; ++i) {
        if (acceptsTag(choice.members[i], tag)) {
            return true;
        }
    }
    return false;
}

int encodeChoice(ASN1CTXT* ctxt, const TypeInfo& type, void* record) {
    const std::uint32_t t = alternativeOf(record);
    if (t == 0 || t > type.numMembers) {
        return fail(ctxt, STATUS_BAD_CHOICE);
    }
    const int length = encodeMember(ctxt, type.members[t - 1], record);
    return length < 0 ? fail(ctxt, length) : length;
}

int decodeChoice(ASN1CTXT* ctxt, const TypeInfo& type, void* record) {
    auto& t = alternativeOf(record);
    t = 0;
    std::uint32_t tag = 0;
    int length = 0;
    int status = xd_tag_len(ctxt, &tag, &length, MATCH_ADVANCE);
    if (status != 0) {
        return fail(ctxt, status);
    }
    for (unsigned i = 0; i < type.numMembers; ++i) {
        const MemberInfo& member = type.members[i];
        if (!acceptsTag(member, tag)) {
            continue;
        }
        ASN1TagType tagType = (member.flags & kExplicit) != 0 ? TAG_EXPLICIT : TAG_IMPLICIT;
        if (readsOwnHeader(member)) {
            xu_RestoreBufferState(ctxt, nullptr);
            tagType = TAG_EXPLICIT;
        }
        status = decodeMember(ctxt, member, record, tagType, length);
        if (status != 0) {
            return fail(ctxt, status);
        }
        t = i + 1;
        return 0;
    }
    return fail(ctxt, STATUS_BAD_CHOICE);
}

}  // namespace schema
