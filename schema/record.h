// The tables that describe an ASN.1 type to the shared codecs.
//
// Every type of namespace asn1data is a plain record plus one TypeInfo. The TypeInfo names the form of the type and
// points to its member table, one MemberInfo per member. Encoding, decoding, copying and freeing walk the same table,
// so a type costs its table and nothing else: asn1E_T, asn1D_T, asn1Copy_T and asn1Free_T only call the functions
// declared in schema/value_codec.h.
//
//     constexpr MemberInfo kMembers_CertSignature[] = {
//         {.kind = Kind::Sequence, .tag = 0x20000010, .offset = offsetof(...), .type = &kType_AlgorithmIdentifier},
//         {.kind = Kind::BitString, .tag = 0x00000003, .offset = offsetof(...)},
//     };
//
// All tables are compile-time constants and safe to read from any thread.
#pragma once

#include <cstdint>

#include "asn1rt/context.h"
#include "asn1rt/schema_types.h"

namespace schema {

struct TypeInfo;

/// How a member's contents are stored in the record and encoded. The codecs switch over it, so the values are dense.
enum class Kind : std::uint8_t {
    Boolean,           ///< std::uint8_t, the contents octet as received
    Integer,           ///< std::int32_t; `lower` and `upper` (as signed) when kBounded
    Unsigned,          ///< std::uint32_t; `lower` and `upper` when kBounded
    Enumerated,        ///< std::uint32_t; a value above `upper` is STATUS_BAD_ENUM when kBounded
    BigInteger,        ///< const char*, two's complement as "0x..."
    Null,              ///< nothing stored
    ObjectId,          ///< ASN1TObjId
    OctetString,       ///< ASN1TDynOctStr; bounds count octets
    FixedOctetString,  ///< std::uint32_t numocts, then std::uint8_t data[upper], in place; always kBounded
    BitString,         ///< ASN1TDynBitStr; bounds count bits
    CharString,        ///< const char*; `universal` is the string type's tag number; bounds count octets
    Utf8String,        ///< const char*; bounds count characters
    BmpString,         ///< ASN116BitCharString; bounds count characters
    UniversalString,   ///< ASN132BitCharString; bounds count characters
    OpenType,          ///< ASN1TOpenType: one whole element of any type
    TypedValue,        ///< Asn1TObject as an element of a list: `encoded` is the raw element
    Sequence,          ///< the record that `type` describes
    Set,
    Choice,
    SequenceOf,  ///< ASN1TSeqOfList whose elements share a block with their nodes
    SetOf,       ///< the same; sorted when encoded
    Array,       ///< SEQUENCE OF as std::uint32_t n and a pointer to n elements of fixed size
    Tagged,  ///< a record, CHOICE or list with a tag in its definition (`CountryName ::= [APPLICATION 1] CHOICE`): the
             ///< one MemberInfo (offset 0) has the tag and, as `type`, the shape without it. Of a TypeInfo only;
             ///< members carry the tag themselves
};

/// Flags of a MemberInfo.
enum : std::uint8_t {
    kOptional = 0x01,      ///< has presence bit `bit`; also an addition, and a DEFAULT that is not boolean
    kDefaultFalse = 0x02,  ///< BOOLEAN DEFAULT FALSE: no bit, written when non-zero
    kDefaultTrue = 0x04,   ///< BOOLEAN DEFAULT TRUE: no bit, written when zero
    kExplicit = 0x08,      ///< `tag` wraps the member's own full encoding
    kImplicit = 0x10,      ///< `tag` replaces the member's universal tag
    kBounded = 0x20,       ///< `lower` and `upper` are checked on encoding and decoding
    kPointer = 0x40,       ///< the record holds a pointer to the value: recursion, and records in a CHOICE
};

inline constexpr std::uint32_t kUnbounded = 0xFFFFFFFFu;

/// Most members of a SEQUENCE, SET or CHOICE. The schema compiler rejects types with more.
inline constexpr unsigned kMaxMembers = 1024;

/// One member of a SEQUENCE or SET, one alternative of a CHOICE, or the one element of a SEQUENCE OF or SET OF.
struct MemberInfo {
    Kind kind = Kind::Null;
    std::uint8_t flags = 0;
    std::uint8_t bit = 0;        ///< number of the presence bit in `m` when kOptional
    std::uint8_t universal = 0;  ///< universal tag number of a CharString
    std::uint32_t tag = 0;       ///< outermost tag word in the encoding; 0 for any element and for an untagged CHOICE
    std::uint32_t offset = 0;    ///< of the value (or of the pointer to it) in the record; 0 for an element
    std::uint32_t lower = 0;     ///< bounds when kBounded, both inclusive
    std::uint32_t upper = kUnbounded;  ///<
    const TypeInfo* type = nullptr;    ///< for Sequence to Array
    const char* path = nullptr;        ///< C path of the field for the error report, when kBounded
};

/// An object set as the shared codecs use it. schema/object_set.h makes it from the set's class.
struct ObjectSetAccess {
    void* (*lookup)(const ASN1OBJID& key);  ///< the first object with that key, or null
    int (*encode)(void* object, ASN1CTXT* ctxt, Asn1TObject& value);
    int (*decode)(void* object, ASN1CTXT* ctxt, Asn1TObject& value);
    void (*copy)(void* object, ASN1CTXT* ctxt, const Asn1TObject& from, Asn1TObject& to);
    void (*free)(void* object, ASN1CTXT* ctxt, Asn1TObject& value);
};

/// A table constraint in a SEQUENCE or SET: the set that gives the type of the open value, and the offsets of its
/// parts.
struct TableInfo {
    const ObjectSetAccess* set;
    std::uint32_t keyOffset;     ///< ASN1TObjId
    std::uint32_t rawOffset;     ///< ASN1TOpenType or ASN1TDynOctStr: the encoded octets
    std::uint32_t objectOffset;  ///< Asn1TObject; unused when `isList`
    bool isList = false;         ///< `rawOffset` is a list of Asn1TObject (the values of an Attribute)
    bool anyString = false;      ///< a string of a type other than the set's is accepted and stays undecoded
};

/// A type. `members` points to the members of a SEQUENCE or SET, the alternatives of a CHOICE, the one element of a
/// list or array, or for an alias of a primitive to the one MemberInfo (offset 0) that describes it.
struct TypeInfo {
    Kind kind;                      ///< Sequence to Array, or the kind of the aliased primitive
    bool extensible = false;        ///< has an extension marker: unknown additions are kept
    bool bounded = false;           ///< SIZE constraint of a list: `lower` and `upper` are checked
    bool rawIfTooBig = false;       ///< an open value of this type stays undecoded on STATUS_TOO_BIG
    std::uint16_t numMembers = 0;   ///
    std::uint16_t numRequired = 0;  ///< members that are neither OPTIONAL nor DEFAULT nor an addition
    std::uint16_t numBeforeAdditions =
        0;                             ///< members in front of unknown additions; all, unless there is a second root
    std::uint32_t size = 0;            ///< sizeof the record
    std::uint32_t presenceOffset = 0;  ///< of `m`; 0 when no member is OPTIONAL. The `t` of a CHOICE always comes first
    std::uint32_t extensionOffset = 0;  ///< of `extensionAdditions` when extensible
    std::uint32_t listOffset = 0;       ///< of the ASN1TSeqOfList in the record of a list; of `n` in that of an array
    std::uint32_t lower = 0;            ///<
    std::uint32_t upper = kUnbounded;   ///<
    const MemberInfo* members = nullptr;
    const TableInfo* table = nullptr;  ///< null without a table constraint
};

}  // namespace schema
