// Statuses as text.
#pragma once

#include <cstdint>
#include <string>

#include "export.h"

namespace tallow::text {

/// The one-line text of a status of handles/status.h: what happened and what to do. Its number when it has none.
TALLOW_EXPORT std::string statusText(std::int32_t code);

/// "0xC2110121"
TALLOW_EXPORT std::string codeText(std::int32_t code);

}  // namespace tallow::text
