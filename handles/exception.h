// The one exception type of the library and the two functions that throw it.
//
// A misuse of an object and a failed resource are thrown as ATL::CAtlException; a verdict about data is a return value.
#pragma once

#include <cstdint>
#include <exception>

#include "export.h"

namespace ATL {

/// Carries one 32-bit status (see handles/status.h). Thrown by value; catch it by reference.
class TALLOW_EXPORT CAtlException : public std::exception {
public:
    explicit CAtlException(std::int32_t status = 0) noexcept : status_(status) {}

    std::int32_t status() const noexcept { return status_; }
    const char* what() const noexcept override;

private:
    std::int32_t status_;
};

/// Throws CAtlException with `status`.
[[noreturn]] TALLOW_EXPORT void AtlThrowImpl(std::int32_t status);

/// Throws CAtlException with the converted last error (see handles/last_error.h).
[[noreturn]] TALLOW_EXPORT void AtlThrowLastWin32();

}  // namespace ATL
