// Whether the octets of a response are one whole message of version 1, with nothing behind any part of it.
#pragma once

#include <optional>

#include "cli/rejection.h"
#include "foundation/blob.h"

namespace tallow::cli {

/// Rejects octets after the response or after the basic response inside its OCTET STRING, and a version of ResponseData
/// other than v1 (RFC 6960, section 4.2.1). They are not signed, or not understood, so another reader of the same file
/// later might read something else. `bytes` is a response or a bare basic response that was decoded before; a failed
/// status needs no basic response. Nothing else is examined.
std::optional<Rejection> rejectForm(const Orvane::CBlob& bytes);

}  // namespace tallow::cli
