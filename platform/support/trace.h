// How the trace follows the settings.
#pragma once

namespace tallow::platform {

// Call after the settings in force changed: [trace] is read again before the next line.
void traceFollowsSettings() noexcept;

}  // namespace tallow::platform
