// Points in time to the text of the ASN.1 time types.
#pragma once

#include <optional>
#include <span>
#include <string>

#include "asn1rt/context.h"
#include "asn1rt/time_control.h"
#include "foundation/date_time.h"

namespace Orvane::ASN1 {

/// The GeneralizedTime text of `time` in memory from `ctxt`. With `trim` it is truncated to the whole second, never
/// rounded.
const char* DateToASN1GeneralizedTime(ASN1CTXT* ctxt, const CDateTime& time, bool trim);

/// The text of `time` under `target`, a UTCTime or GeneralizedTime, in Zulu form and in whole seconds. Throws
/// kAsn1Error for a time that the type cannot show.
std::string GetASN1CTimeString(const CDateTime& time, ASN1CTime& target);

/// The point in time of a GeneralizedTime `text` that the runtime has decoded. Unlike CDateTime, it takes nothing but
/// UTC: throws kAsn1Error for a text that does not end in "Z" or holds a NUL, for a date or time of day that does not
/// exist, and for a year before 1601. Minutes and seconds may be missing; of a fraction, six digits count.
CDateTime decodedUtcTime(const char* text);

/// The same for contents octets in the one form that nearly all times have, "YYYYMMDDHHMMSSZ"; empty for any other, and
/// where decodedUtcTime throws.
std::optional<CDateTime> plainUtcTime(std::span<const unsigned char> text);

}  // namespace Orvane::ASN1
