// Open types: complete elements, header included, that are carried without being understood, and lists of them after an
// extension marker. What is read is written back octet for octet, so signatures over it still verify.
//
//   ASN1TOpenType value{};                                      // cleared: see xd_OpenType
//   int status = xd_OpenType(ctx, &value.data, &value.numocts);
//   ...
//   int length = xe_OpenType(ctx, value.data, value.numocts);   // in another context, while the first one lives
#pragma once

#include <cstdint>

#include "asn1rt/context.h"
#include "asn1rt/dlist.h"
#include "asn1rt/types.h"
#include "export.h"

extern "C" {

/// Places the first element of `numocts` octets at `data` before what has been written; octets after it are dropped.
/// Its header is checked, its contents are not. Returns the element's length; nothing is copied when it is there
/// already (`data` is xe_getp). 0 octets return 0.
///
/// STATUS_BAD_VALUE for null or an end-of-contents pair, a decoder's status when the octets do not hold one complete
/// element, else the statuses of "asn1rt/encode.h". None is recorded in the context.
[[nodiscard]] TALLOW_EXPORT int xe_OpenType(ASN1CTXT* ctx, const std::uint8_t* data, std::uint32_t numocts) noexcept;

/// Places every ASN1TOpenType of the list, in list order. A null list is empty, null entries are skipped, the first
/// failure ends it. Returns the octets of all, or the status of xe_OpenType.
[[nodiscard]] TALLOW_EXPORT int xe_OpenTypeExt(ASN1CTXT* ctx, const _Asn1RTDList* list) noexcept;

/// Reads one element as it is into the type heap, or under CTX_FLAG_ZERO_COPY as a pointer into the input. The position
/// is then after the element.
///
/// - STATUS_BAD_VALUE: an end-of-contents pair, or a definite element that passes the end of the input.
/// - STATUS_BAD_LENGTH, STATUS_BAD_TAG: as xd_tag_len.
/// - STATUS_NO_MEMORY: the heap, or its limit, has no room for the copy.
///
/// The end of the input inside an element is no failure: where it cuts off the end-of-contents, all that is left is
/// taken; where it cuts off the header, `numocts` stays what it was before, reduced to what the input holds: clear it
/// before the call.
[[nodiscard]] TALLOW_EXPORT int xd_OpenType(ASN1CTXT* ctx, const std::uint8_t** data, std::uint32_t* numocts) noexcept;

/// Reads one element and appends it to the list as an ASN1TOpenType that shares its node's allocation;
/// rtMemFreeOpenSeqExt frees such a list. Without a list the element is skipped. The statuses of xd_OpenType, and the
/// list is then unchanged.
[[nodiscard]] TALLOW_EXPORT int xd_OpenTypeAppend(ASN1CTXT* ctx, _Asn1RTDList* list) noexcept;

/// Appends extension additions to the list (may be null, which skips them) up to the element with `tag`, which is left
/// unread with the return 0. With `tag` 0xFFFFFFFF or 0xFFFFFFFE everything up to the end of the value is taken, and
/// the result is 0. Additions read before a failure stay in the list.
///
/// STATUS_END_OF_BUFFER when the enclosing value, described by `position`, ends without the element; otherwise the
/// statuses of xd_OpenType.
[[nodiscard]] TALLOW_EXPORT int xd_OpenTypeExt(ASN1CTXT* ctx, const ASN1ExtPosition* position, ASN1TAG tag,
                                               _Asn1RTDList* list) noexcept;

}  // extern "C"
