// Text forms of dates beside the class: the field parser that time points and spans share, and the date and time of XML
// Schema (XML Schema Part 2, dateTime).
//
//   CDateTime time = fromXsdDateTimeString("2026-03-01T12:00:00+03:00");     // 09:00 UTC
//   CStringProxy text = toXsdDateTimeString(time);                           // "2026-03-01T09:00:00Z"
#pragma once

#include <ctime>
#include <string>

#include "export.h"
#include "foundation/date_time.h"
#include "foundation/string_proxy.h"

namespace Orvane {

/// Reads "YYYYMMDDHHMMSS", one character of any kind, a fraction, and an optional last 'Z'. A text that is too short
/// for a field gives 0 for it. For a point in time the month counts from 0 and the year from 1900 as `tm` has it; for a
/// span both stay as read. `microseconds` gets the first 6 digits of the fraction. Throws 0x8007076D if a field holds a
/// character other than a digit; `microseconds` is then undefined.
[[nodiscard]] TALLOW_EXPORT std::tm GeneralizedTimeToTm(const std::string& text, unsigned int& microseconds, bool span);

/// "YYYY-MM-DDTHH:MM:SSZ" with three digits of milliseconds if these are not 0; microseconds are dropped. Always in
/// UTC. Throws the converted last error for a time that the platform cannot convert.
[[nodiscard]] TALLOW_EXPORT CStringProxy toXsdDateTimeString(const CDateTime& time);
/// Reads "YYYY-MM-DDTHH:MM:SS" followed by a fraction, a zone ('Z', "+HH:MM", "-HH:MM") or both; something must follow
/// the seconds. A time without a zone is taken as UTC. Not null.
///
/// Throws 0x8007076D for any other text and for an offset above 14 hours, 0x80004005 for a date that does not exist,
/// 0x8009000E when memory is exhausted.
[[nodiscard]] TALLOW_EXPORT CDateTime fromXsdDateTimeString(const char* text);

}  // namespace Orvane
