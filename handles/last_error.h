// The one rule that turns a last-error value of the services into a status.
#pragma once

#include <cstdint>

#include "export.h"
#include "handles/exception.h"

namespace ATL2 {

/// A value of 1 or more becomes 0x80070000 with its low 16 bits; 0 and negative values stay as they are.
[[nodiscard]] TALLOW_EXPORT std::int32_t convertLastError(std::uint32_t lastError) noexcept;

/// convertLastError(GetLastError()); call it directly after the failing service call.
[[nodiscard]] TALLOW_EXPORT std::int32_t convertedLastError() noexcept;

/// The same where a call is known to have failed: 0x80004005 if the service gives no reason, so that 0 always means
/// success.
[[nodiscard]] TALLOW_EXPORT std::int32_t convertedLastErrorOrFail() noexcept;

/// Throws convertedLastErrorOrFail(): a failed call is never thrown as 0, which callers would read as success.
/// ATL::AtlThrowLastWin32 makes no such exception.
[[noreturn]] inline void throwLastErrorOrFail() {
    ATL::AtlThrowImpl(convertedLastErrorOrFail());
}

}  // namespace ATL2
