// Plain value records of the ASN.1 runtime, and the numbers that encoder, decoder and schema code share.
//
// The records are trivial on purpose: they sit in unions, in zero-filled heap blocks and in copies by assignment. A
// record never owns what it points to; decoded octets belong to the type heap of the context that decoded them, or,
// with CTX_FLAG_ZERO_COPY, to the input buffer. Assigning a record copies the pointer: use asn1rt/copy_values.h for a
// value that must outlive its context.
//
// A record on the stack must be initialised (`ASN1TDynOctStr value{};`). Counts are of the unit that their name says:
// octets, bits or characters. Zero of them means an empty value, whatever the pointer is.
#pragma once

#include <cstdint>

/// A tag word: class in bits 31 and 30, constructed bit 29, tag number in bits 28 to 0 (X.690, clause 8.1.2).
/// 0x20000010 is SEQUENCE, 0xA0000001 context [1] constructed, 0x80000002 context [2] primitive. Not the identifier
/// octet of the wire: 0x30 for SEQUENCE is another number.
using ASN1TAG = std::uint32_t;

/// The primitive and the constructed form of one tag differ in bit 29. xd_match ignores it; encoders write it as given.
// The classes, the constructed bit, and the bits of the number; combine with |.
inline constexpr ASN1TAG kTagUniversal = 0;
inline constexpr ASN1TAG kTagApplication = 0x40000000;
inline constexpr ASN1TAG kTagContext = 0x80000000;
inline constexpr ASN1TAG kTagPrivate = 0xC0000000;
inline constexpr ASN1TAG kTagConstructed = 0x20000000;
inline constexpr ASN1TAG kTagNumberMask = 0x1FFFFFFF;

// kTagSequence and kTagSet include the constructed bit, the others are primitive. REAL, EXTERNAL and the types that are
// not listed have no reader or writer here.
// Universal tag numbers (X.680, clause 8.4).
inline constexpr ASN1TAG kTagBoolean = 1;
inline constexpr ASN1TAG kTagInteger = 2;
inline constexpr ASN1TAG kTagBitString = 3;
inline constexpr ASN1TAG kTagOctetString = 4;
inline constexpr ASN1TAG kTagNull = 5;
inline constexpr ASN1TAG kTagObjectId = 6;
inline constexpr ASN1TAG kTagEnumerated = 10;
inline constexpr ASN1TAG kTagUtf8String = 12;
inline constexpr ASN1TAG kTagNumericString = 18;
inline constexpr ASN1TAG kTagPrintableString = 19;
inline constexpr ASN1TAG kTagTeletexString = 20;
inline constexpr ASN1TAG kTagIa5String = 22;
inline constexpr ASN1TAG kTagUtcTime = 23;
inline constexpr ASN1TAG kTagGeneralizedTime = 24;
inline constexpr ASN1TAG kTagVisibleString = 26;
inline constexpr ASN1TAG kTagUniversalString = 28;
inline constexpr ASN1TAG kTagBmpString = 30;
inline constexpr ASN1TAG kTagSequence = kTagConstructed | 16;
inline constexpr ASN1TAG kTagSet = kTagConstructed | 17;

/// Who writes or reads the tag of a value: with TAG_EXPLICIT the function itself, tag and length included; with
/// TAG_IMPLICIT the caller, and the function handles contents only.
enum ASN1TagType : int { TAG_IMPLICIT = 0, TAG_EXPLICIT = 1 };

/// The length value of the indefinite form. All other lengths are octet counts of 0 and above. It is negative like a
/// status, so compare with it before asking whether a length is a failure.
inline constexpr int LEN_INDEFINITE = -9999;

// Options of xd_match and xd_tag_len, a bit set; 0 for none. xd_tag_len reads only MATCH_ADVANCE and ignores the
// others.
inline constexpr int MATCH_SEEK = 1;        ///< look forward through the following elements for the tag
inline constexpr int MATCH_ADVANCE = 2;     ///< leave the position after tag and length; else at the element's start
inline constexpr int MATCH_SKIP_FIRST = 8;  ///< step over the current element before matching

/// Most arcs that an object identifier can hold here. Readers reject identifiers with more (STATUS_BAD_OBJECT_ID).
inline constexpr std::uint32_t ASN1_MAX_ARCS = 128;

/// An OBJECT IDENTIFIER as numbers: arcs of 32 bits, the first two separate (X.690, clause 8.19). Arcs from `numids` on
/// are undefined: compare with rtCmpOID or ==, never with memcmp. Not owned memory: the record may be copied by
/// assignment, but is 516 octets, and rtCopyOID copies only the arcs in use.
struct ASN1OBJID {
    std::uint32_t numids;  ///< arcs in use, at most ASN1_MAX_ARCS
    std::uint32_t subid[ASN1_MAX_ARCS];
};

/// The same with arcs of 64 bits, for applications that carry such identifiers. No reader or writer of this runtime
/// uses it.
struct ASN1OID64 {
    std::uint32_t numids;
    std::int64_t subid[ASN1_MAX_ARCS];
};

/// The contents of an OCTET STRING. `data` of an empty one may be null or not, and must not be read.
struct ASN1TDynOctStr {
    std::uint32_t numocts;  ///< octets at `data`
    const std::uint8_t* data;
};

/// The contents of a BIT STRING without the octet that counts unused bits.
struct ASN1TDynBitStr {
    std::uint32_t numbits;     ///< bits at `data`, the first one the most significant of the first octet
    const std::uint8_t* data;  ///< (numbits + 7) / 8 octets
};

/// A complete encoded element, header included, for a value whose type is not decoded here. xd_OpenType copies the
/// octets unchanged. xe_OpenType checks them, writes the first element and drops what follows it. 0 octets mean an
/// absent value.
struct ASN1TOpenType {
    std::uint32_t numocts;
    const std::uint8_t* data;
};

/// Characters of 16 bits (BMPString) in host byte order, without a closing NUL. Surrogate pairs are two characters:
/// they are neither combined nor checked.
struct ASN1T16BitCharStr {
    std::uint32_t nchars;
    std::uint16_t* data;
};

/// Characters of 32 bits (UniversalString) in host byte order, without a closing NUL. Values beyond Unicode's 0x10FFFF
/// are stored as they come.
struct ASN1T32BitCharStr {
    std::uint32_t nchars;
    std::uint32_t* data;
};

/// The place of an encoded member in a buffer that fills from its end: the distance from the end survives the growth of
/// the buffer, which a pointer would not. Filled by xe_getBufLocDescr, consumed by xe_derCanonicalSort.
struct ASN1BufLocDescr {
    std::uint32_t numocts;  ///< encoded length of the member
    std::uint32_t offset;   ///< octets from the last octet of the buffer back to the member's first
};

/// The value that encloses extension additions, as a decoder records it before reading them. `start` must be in the
/// buffer that is bound when xd_OpenTypeExt is called.
struct ASN1ExtPosition {
    const std::uint8_t* start;  ///< first contents octet of the value
    int length;                 ///< its length, or LEN_INDEFINITE
};
