// What an administrator prescribes about responses: how old thisUpdate may be, and which responders need no revocation
// check. (The list AuthorizedOCSPs is not kept here: it is read anew at every use, so that a change works at once.)
#pragma once

#include "client/policy/policy_values.h"
#include "export.h"
#include "foundation/date_time.h"

namespace Orvane::PKI::OCSP::Client {

/// Plain values, each read from the key of its name under \config\cades\ocsppolicy\ by the constructor.
struct TALLOW_EXPORT CResponsePolicy {
    /// Reads all keys; throws what their Load throws. A malformed interval does not fail here but when it is used.
    CResponsePolicy();

    // The names are misleading: ThisUpdateAccuracyUnits is the number, ThisUpdateAccuracy the unit.
    CGPLong ThisUpdateAccuracyUnits;  ///< how many intervals; default 7
    CGPString ThisUpdateAccuracy;     ///< the interval's letter as DateAddW takes it; default empty, days
    CGPStrings NocheckOCSPs;          ///< SHA-1 thumbprints, upper-case hexadecimal, of responders not checked
};

/// The earliest thisUpdate that is accepted for `reference`: `units` (taken as a signed 32-bit number) intervals before
/// it. Throws as DateAddW: 0x80070057 for an unknown interval letter, and 0x80004005 (by months and years
/// 0x80070057) when the limit is before 1601.
[[nodiscard]] CDateTime thisUpdateLimit(const CGPString& interval, long units, const CDateTime& reference);

}  // namespace Orvane::PKI::OCSP::Client
