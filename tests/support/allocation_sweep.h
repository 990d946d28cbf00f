// Fails each allocation of a call once, in programs that link tallow_failing_allocation.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "handles/exception.h"
#include "tests/support/failing_allocation.h"

namespace testkit {

/// Runs `call` with its first allocation failing, then its second, until none fails. Returns the thrown statuses, 0 for
/// a run that threw nothing. Any other exception fails the test.
template <typename Call>
std::vector<std::int32_t> statusesOfFailures(const char* what, const Call& call) {
    call();  // creates what exists once in the process
    std::vector<std::int32_t> statuses;
    for (bool hasFailed = true; hasFailed && statuses.size() < 100000;) {
        std::int32_t thrown = 0;
        bool isForeign = false;
        allocationsLeft = static_cast<long>(statuses.size());
        try {
            call();
        } catch (const ATL::CAtlException& exception) {
            thrown = exception.status();
        } catch (...) {
            isForeign = true;
        }
        hasFailed = allocationsLeft < 0;
        allocationsLeft = -1;
        EXPECT_FALSE(isForeign) << what << ", allocation " << statuses.size();
        EXPECT_TRUE(hasFailed || thrown == 0) << what;
        statuses.push_back(thrown);
    }
    EXPECT_LT(statuses.size(), 100000U) << what << " never ends";
    statuses.pop_back();  // of the run in which nothing failed
    return statuses;
}

}  // namespace testkit
