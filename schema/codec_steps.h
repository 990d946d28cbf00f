// The steps that the codecs of all forms share: reaching members, the end test, one member's contents. Private to
// schema/.
#pragma once

#include <cstddef>
#include <cstdint>

#include "asn1rt/decode.h"
#include "asn1rt/status.h"
#include "schema/record.h"
#include "schema/value_codec.h"

namespace schema {

/// A tag of the member's own, around or in place of the tag of its type.
inline constexpr std::uint8_t kOwnTag = kExplicit | kImplicit;

/// Enters the status in the context, where the first one stays, and answers it.
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

/// The presence bits begin with the lowest bit of the word at `m`.
inline bool isPresent(const TypeInfo& type, const MemberInfo& member, const void* record) {
    return (at<std::uint32_t>(record, type.presenceOffset) >> member.bit & 1U) != 0;
}

/// The number of the alternative of a CHOICE, which stands directly behind the context pointer.
inline std::uint32_t& alternativeOf(void* record) {
    return at<std::uint32_t>(record, sizeof(ASN1TPDU));
}
inline const std::uint32_t& alternativeOf(const void* record) {
    return at<std::uint32_t>(record, sizeof(ASN1TPDU));
}

/// Where the value of the member lies: in the record, or behind its pointer, which may be null.
inline void* slotOf(const MemberInfo& member, void* record) {
    return (member.flags & kPointer) != 0 ? at<void*>(record, member.offset) : &at<std::uint8_t>(record, member.offset);
}

/// Whether the member's tag takes several octets (X.690, clause 8.1.2.4).
inline bool hasLongTag(const MemberInfo& member) {
    return (member.tag & kTagNumberMask) > 30;
}

/// The octet of a tag that is not long, without the constructed bit.
inline std::uint8_t tagOctet(const MemberInfo& member) {
    return static_cast<std::uint8_t>((member.tag >> 24 & 0xDFU) | (member.tag & 0x1FU));
}

/// The end test of a constructed value whose contents begin at the position of the context. The two zeros that end an
/// indefinite length are seen and left unread.
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

/// The record of an array as the codecs see it, at the offset of `n`.
struct ArrayRecord {
    std::uint32_t n;
    void* elem;
};

/// An untagged CHOICE and a value that is kept raw read their header themselves, also when the tag has been looked at.
inline bool readsOwnHeader(const MemberInfo& member) {
    return member.tag == 0 || (member.kind == Kind::OpenType && (member.flags & kOwnTag) == 0);
}

/// Octets that the value of the member takes, behind a pointer or as an element.
std::size_t storageSize(const MemberInfo& member);

/// Records the path and the count for the report; answers STATUS_CONSTRAINT.
[[nodiscard]] int failConstraint(ASN1CTXT* ctxt, const char* path, std::uint32_t count);

/// The value of a primitive member at `slot`, bounds checked.
[[nodiscard]] int encodePrimitive(ASN1CTXT* ctxt, const MemberInfo& member, void* slot, ASN1TagType tagType);
[[nodiscard]] int decodePrimitive(ASN1CTXT* ctxt, const MemberInfo& member, void* slot, ASN1TagType tagType,
                                  int length);
void copyPrimitive(ASN1CTXT* ctxt, const MemberInfo& member, const void* from, void* to);
void freePrimitive(ASN1CTXT* ctxt, const MemberInfo& member, void* slot);

/// The value of any member at `slot`, without a tag of the member's own.
[[nodiscard]] int encodeContents(ASN1CTXT* ctxt, const MemberInfo& member, void* slot, ASN1TagType tagType);
[[nodiscard]] inline int decodeContents(ASN1CTXT* ctxt, const MemberInfo& member, void* slot, ASN1TagType tagType,
                                        int length) {
    return member.kind < Kind::Sequence ? decodePrimitive(ctxt, member, slot, tagType, length)
                                        : decodeValue(ctxt, *member.type, slot, tagType, length);
}
void copyContents(ASN1CTXT* ctxt, const MemberInfo& member, const void* from, void* to);
void freeContents(ASN1CTXT* ctxt, const MemberInfo& member, void* slot);

/// A member of a record with its own tag, found behind its pointer or allocated for it. For decoding, a tag of its own
/// has been read, and `length` behind it. A pointer is set once its value is decoded.
[[nodiscard]] int encodeMember(ASN1CTXT* ctxt, const MemberInfo& member, void* record);
[[nodiscard]] int decodePointer(ASN1CTXT* ctxt, const MemberInfo& member, void* record, ASN1TagType tagType,
                                int length);
[[nodiscard]] inline int decodeMember(ASN1CTXT* ctxt, const MemberInfo& member, void* record, ASN1TagType tagType,
                                      int length) {
    return (member.flags & kPointer) != 0
               ? decodePointer(ctxt, member, record, tagType, length)
               : decodeContents(ctxt, member, &at<std::uint8_t>(record, member.offset), tagType, length);
}
/// A required member with a tag of its own: reads the tag, then the member.
[[nodiscard]] int decodeOwnTag(ASN1CTXT* ctxt, const MemberInfo& member, void* record);
/// std::bad_alloc when the value behind a pointer finds no memory.
void copyMember(ASN1CTXT* ctxt, const MemberInfo& member, const void* from, void* to);
void freeMember(ASN1CTXT* ctxt, const MemberInfo& member, void* record);

/// Whether a value of the CHOICE can begin with this tag word.
[[nodiscard]] bool acceptsTag(const TypeInfo& choice, std::uint32_t tag);
/// The same for a member or alternative without a tag of its own to compare.
[[nodiscard]] bool acceptsTag(const MemberInfo& member, std::uint32_t tag);

// One form each; the depth of nesting has been counted.
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
/// A SEQUENCE or SET, the open value of a table constraint first; `tag` is written unless the caller writes another.
[[nodiscard]] int encodeRecord(ASN1CTXT* ctxt, const TypeInfo& type, void* record, ASN1TagType tagType, ASN1TAG tag);
/// What an absent member leaves in the record.
void setDefault(const MemberInfo& member, void* record);
/// A record as decoding begins: no member present, open values empty.
void clearRecord(const TypeInfo& type, void* record);

/// encodeTable and decodeTable with the buffer saved and restored.
[[nodiscard]] int encodeTableAside(ASN1CTXT* ctxt, const TypeInfo& type, void* record);
[[nodiscard]] int decodeTableAside(ASN1CTXT* ctxt, const TypeInfo& type, void* record);
/// The decoded part of open values; their raw octets are copied and freed as members.
void copyTable(ASN1CTXT* ctxt, const TypeInfo& type, const void* from, void* to);
/// Before the members: frees decoded values, and makes the raw octets safe to be freed.
void freeTable(ASN1CTXT* ctxt, const TypeInfo& type, void* record);

/// Gives a block back to the type heap and clears the pointer.
template <class T>
void freeBlock(ASN1CTXT* ctxt, T*& block) {
    if (block != nullptr && rtMemHeapCheckPtr(&ctxt->pTypeMemHeap, block) != 0) {
        rtMemHeapFreePtr(&ctxt->pTypeMemHeap, block);
    }
    block = nullptr;
}

}  // namespace schema
