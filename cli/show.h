// tallow show: every field of a request or a response, verified or not.
#pragma once

#include <optional>

#include "cli/options.h"
#include "cli/outcome.h"
#include "cli/shown.h"
#include "foundation/blob.h"

namespace tallow::cli {

/// The message in the octets, whichever it is; empty when it is none. The octets may be anything.
std::optional<Shown> shownOf(const Orvane::CBlob& bytes);

/// Throws InputError for a file that holds no OCSP message.
Outcome runShow(const ShowOptions& options);

}  // namespace tallow::cli
