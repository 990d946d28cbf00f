// Steps shared by the codecs of all forms: reaching members, the end test, the contents of one member. Private to
// schema/.
#pragma once

#include <cstddef>
#include <cstdint>

#include "asn1rt/decode.h"
#include "asn1rt/status.h"
#include "schema/record.h"
#include "schema/value_codec.h"

namespace schema {

/// Set when the member has a tag of its own, around or instead of the tag of its type.
inline constexpr std::uint8_t kOwnTag = kExplicit | kImplicit;

/// Records the status in the context unless one is already set, and returns it.
inline int fail(ASN1CTXT* ctxt, int status) {
    return rtErrSetData(&ctxt->errInfo, status, nullptr, 0);
}

template <class T>
T& at(void* record, std::uint32_t offset) {
    return *reinterpret_cast<T*>(static_cast<std::uint8_t*>(record) + offset);
}
template <class T>
const T& at(const void* record, std::uint32_t offset) {
    return *reinterpret_cast<const T*>(static_cast<const std::uint8_t*>(record) + offset);
}

/// The presence bits start at the lowest bit of the word at `m`.
inline bool isPresent(const TypeInfo& type, const MemberInfo& member, const void* record) {
    return (at<std::uint32_t>(record, type.presenceOffset) >> member.bit & 1U) != 0;
}

/// The number of a CHOICE's alternative. It follows the context pointer in every CHOICE record.
inline std::uint32_t& alternativeOf(void* record) {
    return at<std::uint32_t>(record, sizeof(ASN1TPDU));
}
inline const std::uint32_t& alternativeOf(const void* record) {
    return at<std::uint32_t>(record, sizeof(ASN1TPDU));
}

/// The storage of the member's value: in the record, or where the record's pointer leads. May be null.
inline void* slotOf(const MemberInfo& member, void* record) {
    return (member.flags & kPointer) != 0 ? at<void*>(record, member.offset) : &at<std::uint8_t>(record, member.offset);
}

/// Whether the member's tag takes several octets (X.690, clause 8.1.2.4).
inline bool hasLongTag(const MemberInfo& member) {
    return (member.tag & kTagNumberMask) > 30;
}

/// The identifier octet of a tag that is not long, without the constructed bit.
inline std::uint8_t tagOctet(const MemberInfo& member) {
    return static_cast<std::uint8_t>((member.tag >> 24 & 0xDFU) | (member.tag & 0x1FU));
}

/// Detects the end of a constructed value whose contents start at the current position. The end-of-contents octets of
/// an indefinite length are detected but not consumed.
class ContentsEnd {
public:
    ContentsEnd(const ASN1CTXT* ctxt, int length) : start_(ctxt->buffer.byteIndex), length_(length) {}

    [[nodiscard]] bool isReached(const ASN1CTXT* ctxt) const {
        const ASN1Buffer& buffer = ctxt->buffer;
        if (buffer.byteIndex >= buffer.size) {
            return true;
        }
        if (length_ != LEN_INDEFINITE) {
            return length_ <= 0 || buffer.byteIndex - start_ >= static_cast<std::uint32_t>(length_);
        }
        return buffer.size - buffer.byteIndex < 2 ||
               (buffer.data[buffer.byteIndex] == 0 && buffer.data[buffer.byteIndex + 1] == 0);
    }

private:
    std::uint32_t start_;
    int length_;
};

/// The codecs' view of an array record, at the offset of `n`.
struct ArrayRecord {
    std::uint32_t n;
    void* elem;
};

/// True for an untagged CHOICE and a raw value: their decoders read the header again, even if the caller has read it.
inline bool readsOwnHeader(const MemberInfo& member) {
    return member.tag == 0 || (member.kind == Kind::OpenType && (member.flags & kOwnTag) == 0);
}

/// The size in octets of the member's value when it is allocated separately or as a list element.
std::size_t storageSize(const MemberInfo& member);

/// Records the path and the count for the error report; returns STATUS_CONSTRAINT.
[[nodiscard]] int failConstraint(ASN1CTXT* ctxt, const char* path, std::uint32_t count);

/// Codecs for the value of a primitive member at `slot`. They check the bounds.
[[nodiscard]] int encodePrimitive(ASN1CTXT* ctxt, const MemberInfo& member, void* slot, ASN1TagType tagType);
[[nodiscard]] int decodePrimitive(ASN1CTXT* ctxt, const MemberInfo& member, void* slot, ASN1TagType tagType,
                                  int length);
void copyPrimitive(ASN1CTXT* ctxt, const MemberInfo& member, const void* from, void* to);
void freePrimitive(ASN1CTXT* ctxt, const MemberInfo& member, void* slot);

/// Codecs for the value of any member at `slot`, without the member's own tag.
[[nodiscard]] int encodeContents(ASN1CTXT* ctxt, const MemberInfo& member, void* slot, ASN1TagType tagType);
[[nodiscard]] inline int decodeContents(ASN1CTXT* ctxt, const MemberInfo& member, void* slot, ASN1TagType tagType,
                                        int length) {
    return member.kind < Kind::Sequence ? decodePrimitive(ctxt, member, slot, tagType, length)
                                        : decodeValue(ctxt, *member.type, slot, tagType, length);
}
void copyContents(ASN1CTXT* ctxt, const MemberInfo& member, const void* from, void* to);
void freeContents(ASN1CTXT* ctxt, const MemberInfo& member, void* slot);

/// Codecs for a member of a record. encodeMember writes the member's own tag; the decoders expect that the caller has
/// read it and its `length`. A value held by pointer is allocated, and the pointer is set after decoding succeeds.
[[nodiscard]] int encodeMember(ASN1CTXT* ctxt, const MemberInfo& member, void* record);
[[nodiscard]] int decodePointer(ASN1CTXT* ctxt, const MemberInfo& member, void* record, ASN1TagType tagType,
                                int length);
[[nodiscard]] inline int decodeMember(ASN1CTXT* ctxt, const MemberInfo& member, void* record, ASN1TagType tagType,
                                      int length) {
    return (member.flags & kPointer) != 0
               ? decodePointer(ctxt, member, record, tagType, length)
               : decodeContents(ctxt, member, &at<std::uint8_t>(record, member.offset), tagType, length);
}
/// Reads the member's own tag, then the member.
[[nodiscard]] int decodeOwnTag(ASN1CTXT* ctxt, const MemberInfo& member, void* record);
/// Throws std::bad_alloc when the value of a pointer cannot be allocated.
void copyMember(ASN1CTXT* ctxt, const MemberInfo& member, const void* from, void* to);
void freeMember(ASN1CTXT* ctxt, const MemberInfo& member, void* record);

/// Whether a value of the CHOICE can start with this tag word.
[[nodiscard]] bool acceptsTag(const TypeInfo& choice, std::uint32_t tag);
/// Whether the member or alternative can start with this tag word.
[[nodiscard]] bool acceptsTag(const MemberInfo& member, std::uint32_t tag);

// One pair per form. The caller has counted the nesting depth.
[[nodiscard]] int encodeSequence(ASN1CTXT* ctxt, const TypeInfo& type, void* record, ASN1TagType tagType);
[[nodiscard]] int decodeSequence(ASN1CTXT* ctxt, const TypeInfo& type, void* record, ASN1TagType tagType, int length);
[[nodiscard]] int encodeSet(ASN1CTXT* ctxt, const TypeInfo& type, void* record, ASN1TagType tagType);
[[nodiscard]] int decodeSet(ASN1CTXT* ctxt, const TypeInfo& type, void* record, ASN1TagType tagType, int length);
[[nodiscard]] int encodeChoice(ASN1CTXT* ctxt, const TypeInfo& type, void* record);
[[nodiscard]] int decodeChoice(ASN1CTXT* ctxt, const TypeInfo& type, void* record);
[[nodiscard]] int encodeList(ASN1CTXT* ctxt, const TypeInfo& type, void* record, ASN1TagType tagType);
[[nodiscard]] int decodeList(ASN1CTXT* ctxt, const TypeInfo& type, void* record, ASN1TagType tagType, int length);
[[nodiscard]] int encodeArray(ASN1CTXT* ctxt, const TypeInfo& type, void* record, ASN1TagType tagType);
[[nodiscard]] int decodeArray(ASN1CTXT* ctxt, const TypeInfo& type, void* record, ASN1TagType tagType, int length);

/// Appends the next element to the unknown additions of an extensible SEQUENCE or SET.
[[nodiscard]] int decodeAddition(ASN1CTXT* ctxt, const TypeInfo& type, void* record);
/// Writes the members of a SEQUENCE or SET in reverse order, with the unknown additions in their place. Returns the
/// number of octets.
[[nodiscard]] int encodeMembers(ASN1CTXT* ctxt, const TypeInfo& type, void* record);
/// Writes a SEQUENCE or SET, after encoding its open value if it has one. Writes `tag` unless the caller writes
/// another.
[[nodiscard]] int encodeRecord(ASN1CTXT* ctxt, const TypeInfo& type, void* record, ASN1TagType tagType, ASN1TAG tag);
/// Sets the value that an absent member has in the record.
void setDefault(const MemberInfo& member, void* record);
/// Prepares a record for decoding: no member present, open values empty.
void clearRecord(const TypeInfo& type, void* record);

/// encodeTable and decodeTable, which save and restore the buffer of the context.
[[nodiscard]] int encodeTableAside(ASN1CTXT* ctxt, const TypeInfo& type, void* record);
[[nodiscard]] int decodeTableAside(ASN1CTXT* ctxt, const TypeInfo& type, void* record);
/// Reads a SEQUENCE or SET: its header if the caller has not, the members with `decodeMembers`, then its open values.
template <class DecodeMembers>
[[nodiscard]] int decodeRecord(ASN1CTXT* ctxt, const TypeInfo& type, void* record, ASN1TAG tag, ASN1TagType tagType,
                               int length, DecodeMembers decodeMembers) {
    if (tagType == TAG_EXPLICIT) {
        const int status = xd_match1(ctxt, static_cast<std::uint8_t>(tag & 0x1FU), &length);
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
/// Copies the decoded form of open values. Their raw octets are copied as members.
void copyTable(ASN1CTXT* ctxt, const TypeInfo& type, const void* from, void* to);
/// Frees the decoded form of open values. Call it before freeing the members: it restores raw octets that can be freed.
void freeTable(ASN1CTXT* ctxt, const TypeInfo& type, void* record);

/// Returns a block to the type heap and clears the pointer.
template <class T>
void freeBlock(ASN1CTXT* ctxt, T*& block) {
    if (block != nullptr && rtMemHeapCheckPtr(&ctxt->pTypeMemHeap, block) != 0) {
        rtMemHeapFreePtr(&ctxt->pTypeMemHeap, block);
    }
    block = nullptr;
}

}  // namespace schema
