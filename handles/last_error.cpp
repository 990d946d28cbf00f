#include "handles/last_error.h"

#include "handles/status.h"
#include "platform/support/support_service.h"

namespace ATL2 {

std::int32_t convertLastError(std::uint32_t lastError) noexcept {
    constexpr std::uint32_t kWin32Facility = 0x80070000U;
    const auto value = static_cast<std::int32_t>(lastError);
    return value > 0 ? static_cast<std::int32_t>(kWin32Facility | (lastError & 0xFFFFU)) : value;
}

std::int32_t convertedLastError() noexcept {
    return convertLastError(GetLastError());
}

std::int32_t convertedLastErrorOrFail() noexcept {
    const std::int32_t status = convertedLastError();
    return status == status::kOk ? status::kFail : status;
}

}  // namespace ATL2
