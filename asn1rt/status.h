// Status numbers of the ASN.1 runtime, and the error record in which the first failure of a context stays.
//
//   int length = xe_octstr(ctx, data, size, TAG_EXPLICIT);
//   if (length < 0) return length;                  // ctx->errInfo.status holds the first failure
//
// Success is 0. An encoder returns the octets it added (0 or more) or one of these negative numbers; a decoder returns
// 0 or one of them. A status has no text: callers report what went wrong, where the message is known. The value classes
// of asn1/ turn STATUS_NO_MEMORY into kAsn1Memory and every other number into kAsn1Error.
//
// A success does not clear the record, nor does binding another buffer: a context that is used again after a failure
// shows the old status until rtErrReset. Rely on the returned status, and on the record only for the first cause.
#pragma once

#include <cstdint>

#include "export.h"

// Each function's declaration says which of them it returns; a caller may treat all but STATUS_TAG_MISMATCH alike.
// Numbers that are missing are not used.
inline constexpr int STATUS_BUFFER_FULL = -1;    ///< no room left in a buffer that the context does not own
inline constexpr int STATUS_END_OF_BUFFER = -2;  ///< a decoder would have run past the end of its input
/// The only failure that a decoder meets in the normal course of things: an OPTIONAL element is absent. The position
/// has not moved; clear the record with rtErrReset.
inline constexpr int STATUS_TAG_MISMATCH = -3;  ///< the tag at the position is not the expected one
// Malformed or unexpected input. The message is to be rejected.
inline constexpr int STATUS_BAD_OBJECT_ID = -4;        ///< fewer than 2 or more than 128 arcs, or an arc out of range
inline constexpr int STATUS_BAD_LENGTH = -5;           ///< impossible length, or end-of-contents missing
inline constexpr int STATUS_BAD_ENUM = -6;             ///< enumerated value outside the set of its type
inline constexpr int STATUS_SET_DUPLICATE = -7;        ///< a SET member occurred twice
inline constexpr int STATUS_MISSING_ELEMENT = -8;      ///< SEQUENCE or SET ended before its required members
inline constexpr int STATUS_SET_UNKNOWN_ELEMENT = -9;  ///< a tag that belongs to no member of the SET
inline constexpr int STATUS_EXTRA_ELEMENT = -10;       ///< elements after the last member, or too many of them
inline constexpr int STATUS_BAD_CHOICE = -11;          ///< unknown alternative of a CHOICE
inline constexpr int STATUS_NO_MEMORY = -12;           ///< an allocation failed, or would have exceeded a limit
inline constexpr int STATUS_STRING_OVERFLOW = -17;     ///< the value does not fit the given destination
inline constexpr int STATUS_BAD_VALUE = -18;           ///< null or malformed value, or nesting beyond the limit
inline constexpr int STATUS_BAD_TAG = -21;             ///< tag number too wide, or a wrong segment of a string
inline constexpr int STATUS_CONSTRAINT = -23;          ///< a size or value constraint of the schema failed
inline constexpr int STATUS_BIT_RANGE = -24;           ///< from-index above to-index
inline constexpr int STATUS_BAD_UTF8 = -26;            ///< invalid UTF-8, or a negative character
inline constexpr int STATUS_LIST_CHANGED = -27;        ///< the list was changed while an iterator was in use
inline constexpr int STATUS_ITERATOR_STATE = -28;      ///< iterator operation without a current element
inline constexpr int STATUS_BIT_INDEX = -29;           ///< bit index beyond the string
inline constexpr int STATUS_BAD_ARGUMENT = -30;        ///< null handle or operand, radix, stream not open for output
inline constexpr int STATUS_BAD_DATETIME = -31;        ///< date or time malformed or out of range
inline constexpr int STATUS_NOT_INITIALIZED = -32;     ///< context not live, or a stream without a write operation
inline constexpr int STATUS_TOO_BIG = -33;             ///< an INTEGER does not fit its destination
inline constexpr int STATUS_NOT_SUPPORTED = -99;       ///< the operation does not exist in this runtime

/// The first failure since the last reset. Functions take the address of this record, not of the context, and never
/// null.
struct ASN1ErrInfo {
    std::int32_t status;  ///< 0 when none
};

extern "C" {

/// Stores `status` when no status is stored yet, and returns `status` in any case: the first failure survives while
/// each caller on the way up may return its own. `moduleName` and `lineNumber` are ignored; pass null and 0.
///
///     return rtErrSetData(&ctx->errInfo, STATUS_BAD_VALUE, nullptr, 0);
TALLOW_EXPORT int rtErrSetData(ASN1ErrInfo* errInfo, int status, const char* moduleName, int lineNumber) noexcept;

/// Removes the stored status; returns 0. A decoder calls it after a STATUS_TAG_MISMATCH that meant only that an
/// OPTIONAL element is absent:
///
///     int status = xd_match(ctx, tag, &length, MATCH_ADVANCE);
///     if (status == STATUS_TAG_MISMATCH) status = rtErrReset(&ctx->errInfo);    // the position has not moved
TALLOW_EXPORT int rtErrReset(ASN1ErrInfo* errInfo) noexcept;

/// Copies the stored status, 0 included, over the one in `to`, and returns it.
TALLOW_EXPORT int rtErrCopyData(const ASN1ErrInfo* from, ASN1ErrInfo* to) noexcept;

/// Accept a parameter for the report of a failure (a field's path, a count). This runtime keeps none; the result is 1.
TALLOW_EXPORT int rtErrAddStrParm(ASN1ErrInfo* errInfo, const char* text) noexcept;
TALLOW_EXPORT int rtErrAddIntParm(ASN1ErrInfo* errInfo, int value) noexcept;

/// A constant empty string, whatever the status: texts exist only above the runtime. Never null; not to be freed.
TALLOW_EXPORT const char* rtErrGetText(const ASN1ErrInfo* errInfo) noexcept;

/// Prints "ASN.1 ERROR: Status " and the stored number as a line on standard output.
TALLOW_EXPORT void rtErrPrint(const ASN1ErrInfo* errInfo) noexcept;

}  // extern "C"
