// Object identifiers: dotted text, comparison and copying of the plain record. Arcs are 32 bits wide, an identifier has
// at most 128 of them. The record is 516 octets, so comparison and copying look at the arcs in use only.
//
//   ASN1OBJID oid;
//   if (rtStrToOid("1.3.14.3.2.26", &oid) == 0) ...            // no identifier
//   std::string text(rtOidToStrLen(&oid), '\0');               // one octet more than the length, for the NUL
//   if (rtOidToStr(&oid, text.data(), text.size()) == 0) ...
//
// No failure is recorded in a context. Whether the first two arcs are allowed (X.690, clause 8.19.4) is checked by the
// encoder, not here.
#pragma once

#include <cstdint>

#include "asn1rt/context.h"
#include "asn1rt/types.h"
#include "export.h"

extern "C" {

/// Reads NUL-terminated dotted decimal text ("1.2.840") into `oid`. Returns 1, or 0 for null and when a piece is empty,
/// holds anything but a number, does not fit 32 bits, or would be the 129th. The arcs before the bad piece stay in
/// `oid`: do not use it then. As lenient as strtoul: blanks and a "+" before a number are accepted.
[[nodiscard]] TALLOW_EXPORT int rtStrToOid(const char* text, ASN1OBJID* oid) noexcept;

/// Writes `oid` as dotted decimal with a closing NUL. `size` is the room for the text only: the buffer must be one
/// octet larger, since text of exactly `size` octets is accepted and its NUL comes after it.
///
/// Returns 1, or 0 for null and when the text does not fit; the buffer then holds the whole arcs that do. An identifier
/// without arcs gives the empty text and 1.
[[nodiscard]] TALLOW_EXPORT int rtOidToStr(const ASN1OBJID* oid, char* buffer, std::uint32_t size) noexcept;

/// The length of the dotted text of `oid` in octets, without its NUL: the `size` for rtOidToStr. 0 for null and for no
/// arcs.
[[nodiscard]] TALLOW_EXPORT std::uint32_t rtOidToStrLen(const ASN1OBJID* oid) noexcept;

/// Returns 1 when both identifiers have the same arcs. Otherwise, also for null, returns 0 and sets `*flag` to 0;
/// `*flag` is left unchanged on equality, so that a chain of comparisons can share it. `flag` may be null. The context
/// is not used.
[[nodiscard]] TALLOW_EXPORT int rtCmpOID(ASN1CTXT* ctx, const ASN1OBJID* a, const ASN1OBJID* b, int* flag) noexcept;
/// The same as rtCmpOID.
[[nodiscard]] TALLOW_EXPORT int rtCmpOIDValue(ASN1CTXT* ctx, const ASN1OBJID* a, const ASN1OBJID* b,
                                              int* flag) noexcept;

/// Copies the count as it is, and at most 128 arcs; a count above 128, which only a record filled by hand has, makes
/// the copy as invalid as its source. Null arguments are ignored.
TALLOW_EXPORT void rtSetOID(ASN1OBJID* destination, const ASN1OBJID* source) noexcept;

/// Copies the arcs in use. Returns 1, or 0 for null arguments. The context is not used.
[[nodiscard]] TALLOW_EXPORT int rtCopyOID(ASN1CTXT* ctx, const ASN1OBJID* source, ASN1OBJID* destination) noexcept;

}  // extern "C"

/// Equal when the counts and all arcs in use agree. The unused arcs may hold anything.
TALLOW_EXPORT bool operator==(const ASN1OBJID& a, const ASN1OBJID& b);
