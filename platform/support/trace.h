// What the settings tell the trace.
#pragma once

namespace tallow::platform {

// The settings in force have changed: look at [trace] again when the next line is asked about.
void traceFollowsSettings() noexcept;

}  // namespace tallow::platform
