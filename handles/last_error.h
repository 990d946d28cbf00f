// The one rule that turns a last-error value of the services into a status, which handles/status.h names and callers
// compare. Call these functions directly after the failing service call, on the same thread: every other call may
// change the last error, a destructor's included.
//
//   if (!CryptGenRandom(provider, size, octets)) ATL2::throwLastErrorOrFail();
#pragma once

#include <cstdint>

#include "export.h"
#include "handles/exception.h"

namespace ATL2 {

/// Converts any last error. A value of 1 or more becomes 0x80070000 with its low 16 bits; 0 and negative values (as a
/// signed number) stay as they are. So 2 (file not found) becomes 0x80070002, and NTE_BAD_SIGNATURE stays 0x80090006.
[[nodiscard]] TALLOW_EXPORT std::int32_t convertLastError(std::uint32_t lastError) noexcept;

/// convertLastError(GetLastError()): 0 when no call has failed on this thread, so not a test for failure by itself.
[[nodiscard]] TALLOW_EXPORT std::int32_t convertedLastError() noexcept;

/// The same after a call that is known to have failed: 0x80004005 if the service gives no reason, so that 0 always
/// means success. For functions that return a status instead of throwing.
[[nodiscard]] TALLOW_EXPORT std::int32_t convertedLastErrorOrFail() noexcept;

/// Throws convertedLastErrorOrFail() in an ATL::CAtlException: a failed call never throws 0, which callers would read
/// as success. ATL::AtlThrowLastWin32 does not make this substitution.
[[noreturn]] inline void throwLastErrorOrFail() {
    ATL::AtlThrowImpl(convertedLastErrorOrFail());
}

}  // namespace ATL2
