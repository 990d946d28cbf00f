// Checks that a response is one DER message of version 1, with nothing after any part of it.
#pragma once

#include <optional>

#include "checker/rules/rejection.h"
#include "foundation/blob.h"

namespace tallow::rules {

/// Rejects octets after the response or after the basic response inside its OCTET STRING, a version of ResponseData
/// other than v1 (RFC 6960, section 4.2.1), and an envelope that is not DER. Such octets are not signed, or not
/// understood, so that another reader of the same file might read something else. `bytes` is a response or a bare basic
/// response; a failed status needs no basic response. Throws kAsn1Error when it cannot be decoded.
std::optional<Rejection> rejectForm(const Orvane::CBlob& bytes);

}  // namespace tallow::rules
