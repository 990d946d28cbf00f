// tallow show: every field of a request or a response, verified or not.
#pragma once

#include <optional>

#include "cli/options.h"
#include "cli/outcome.h"
#include "cli/shown.h"
#include "foundation/blob.h"

namespace tallow::cli {

/// The request or response in the octets, which are untrusted; empty when they are neither.
std::optional<Shown> shownOf(const Orvane::CBlob& bytes);

/// Throws InputError for a file without an OCSP message.
Outcome runShow(const ShowOptions& options);

}  // namespace tallow::cli
