// GeneralizedTime and UTCTime texts (X.680 46 and 47) and the plain record of their fields. The texts are read
// leniently, as BER allows: minutes, seconds and the ending may be missing where the standard lets them. Failures are
// returned and recorded in the context, which may be null where no memory is needed from it.
//
//   RtTime time;
//   if (rtParseGeneralizedTime(ctx, "20260301120000Z", &time) != 0) ...    // malformed
//
// Whether a certificate or an OCSP message may carry a text that is accepted here is for its reader to decide.
#pragma once

#include <cstdint>

#include "asn1rt/context.h"
#include "export.h"

/// The fields of a time text, as written: the offset is not applied. UTC is the time minus the offset. Compare two
/// times only after moving both to UTC.
struct RtTime {
    std::int16_t year = 0;
    std::int16_t month = 0;     // 1 to 12
    std::int16_t day = 0;       // 1 to 31
    std::int16_t hour = 0;      // 0 to 23
    std::int16_t minute = 0;    // 0 to 59
    std::int16_t second = 0;    // 0 to 59
    std::int16_t diffHour = 0;  // offset from UTC, -12 to 12
    std::int16_t diffMin = 0;   // -59 to 59, with the sign of the offset
    char fraction[21] = {};     // up to 20 digits after the point, NUL-terminated; leading zeros are not kept
    std::uint8_t utcFlag = 0;   // 1 for the ending "Z"
};

extern "C" {

/// The days of the months of a common year, January first; add one to February of a leap year.
TALLOW_EXPORT extern const std::uint8_t OS_daysInMonth[12];

/// Classification bits of the 256 octets; bit 0x04 marks the ASCII digits, and nothing above 127 has a bit.
TALLOW_EXPORT extern const std::uint8_t rtCtypeTable[256];

/// Reads NUL-terminated GeneralizedTime text. Seconds, or minutes and seconds, may be missing, and are then 0; a
/// fraction needs seconds. The date must exist, hours are 0 to 23, a second 60 is rejected. An ending other than "Z" or
/// an offset means local time, and what follows then is not examined. Leading zeros of the fraction are dropped, so
/// ".05" is kept as "5": the fraction must not be taken for a number. Digits beyond the 20th are not read.
///
/// Every failure, null arguments included, is STATUS_BAD_DATETIME and leaves `record` unchanged.
[[nodiscard]] TALLOW_EXPORT int rtParseGeneralizedTime(ASN1CTXT* ctx, const char* text, RtTime* record) noexcept;

/// Reads NUL-terminated UTCTime text: a year below 50 is 20yy, others 19yy (RFC 5280 section 4.1.2.5.1); seconds may be
/// missing; the ending is required and is "Z" or an offset of four digits, and nothing may follow it. `fraction` is
/// empty afterward.
///
/// Every failure, null arguments included, is STATUS_BAD_DATETIME and leaves `record` unchanged.
[[nodiscard]] TALLOW_EXPORT int rtParseUTCTime(ASN1CTXT* ctx, const char* text, RtTime* record) noexcept;

/// Writes GeneralizedTime text with all of date, hour, minutes and seconds; the fraction when it is not empty; "Z" with
/// `utcFlag`, else the offset when it is not zero. With `capacity` 0, `*text` receives a copy from the type heap;
/// otherwise `*text` is the caller's array of `capacity` octets, NUL included. DER additionally requires "Z" and no
/// trailing zeros in the fraction (X.690, clause 11.7): set the record so.
///
/// Returns 0 or one of these; the caller's array is then unchanged:
/// - STATUS_BAD_DATETIME: a field is out of range, or the date does not exist.
/// - STATUS_STRING_OVERFLOW: the array is too small.
/// - STATUS_BAD_ARGUMENT: an argument or the array is null.
/// - STATUS_NO_MEMORY: the heap has no room for the copy.
[[nodiscard]] TALLOW_EXPORT int rtMakeGeneralizedTime(ASN1CTXT* ctx, const RtTime* record, char** text,
                                                      std::uint32_t capacity) noexcept;

}  // extern "C"
