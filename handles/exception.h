// The one exception type of the library and the two functions that throw it. Misuse of an object and exhausted
// resources are thrown as ATL::CAtlException; a verdict about data is a return value. Value classes also throw
// std::bad_alloc.
//
//   try {
//       request.decode(data);
//   } catch (const ATL::CAtlException& e) {
//       if (e.status() == status::kAsn1Error) ...
//   }
#pragma once

#include <cstdint>
#include <exception>

#include "export.h"

namespace ATL {

/// Carries one 32-bit status. Thrown by value; catch it by reference. What an object holds after it has thrown is said
/// at each operation.
class TALLOW_EXPORT CAtlException : public std::exception {
public:
    explicit CAtlException(std::int32_t status = 0) noexcept : status_(status) {}

    /// The status, to compare with the constants of handles/status.h.
    std::int32_t status() const noexcept { return status_; }
    /// The text of the status, one line in English for people, as status::text returns it; a fixed line for an unknown
    /// number. Constant; never null. Programs compare status() instead.
    const char* what() const noexcept override;

private:
    std::int32_t status_;
};

/// Throws CAtlException with `status`, even 0.
[[noreturn]] TALLOW_EXPORT void AtlThrowImpl(std::int32_t status);

/// Throws CAtlException with the converted last error, even when that is 0, which a caller would read as success. After
/// a call that is known to have failed, use ATL2::throwLastErrorOrFail.
[[noreturn]] TALLOW_EXPORT void AtlThrowLastWin32();

}  // namespace ATL
