// Compares statuses and prints them by name.
//
//   EXPECT_THAT(response.Verify(nullptr, nullptr), IsStatus(status::kBadSignature));
//   EXPECT_THAT(thrownStatus([&] { response.get_Status(); }), IsStatus(status::kNotImported));
//
// Programs that use it link tallow_handles, which contains the names.
#pragma once

#include <gmock/gmock.h>

#include <cstdint>
#include <cstdio>
#include <string>

#include "handles/exception.h"
#include "handles/status.h"

namespace testkit {

/// "NonceMismatch (0xC2110120)".
inline std::string statusName(std::int32_t value) {
    char number[16];
    std::snprintf(number, sizeof number, "0x%08X", static_cast<unsigned>(value));
    const char* symbol = value == status::kOk ? "Ok" : status::symbol(value);
    return std::string(symbol != nullptr ? symbol : "no status of ours") + " (" + number + ")";
}

MATCHER_P(IsStatus, expected, (negation ? "is not " : "is ") + statusName(expected)) {
    *result_listener << "which is " << statusName(arg);
    return static_cast<std::int32_t>(arg) == static_cast<std::int32_t>(expected);
}

/// The status that `action` throws as ATL::CAtlException, 0 when it returns. Other exceptions pass.
template <typename Action>
std::int32_t thrownStatus(Action&& action) {
    try {
        action();
    } catch (const ATL::CAtlException& exception) {
        return exception.status();
    }
    return status::kOk;
}

/// The text that `action` returns, or the symbol of the status that it throws.
template <typename Action>
std::string answered(Action&& action) {
    std::string answer;
    const std::int32_t thrown = thrownStatus([&] { answer = action(); });
    return thrown == status::kOk ? answer : status::symbol(thrown);
}

}  // namespace testkit
