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
#include <ostream>
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

class StatusMatcher {
public:
    using is_gtest_matcher = void;

    explicit StatusMatcher(std::int32_t expected) : expected_(expected) {}

    bool MatchAndExplain(std::int32_t actual, std::ostream* explanation) const {
        if (explanation != nullptr) {
            *explanation << "which is " << statusName(actual);
        }
        return actual == expected_;
    }
    void DescribeTo(std::ostream* out) const { *out << "is " << statusName(expected_); }
    void DescribeNegationTo(std::ostream* out) const { *out << "is not " << statusName(expected_); }

private:
    std::int32_t expected_;
};

inline StatusMatcher IsStatus(std::int32_t expected) {
    return StatusMatcher(expected);
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

}  // namespace testkit
