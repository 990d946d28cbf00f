#include "client/policy/response_policy.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "tests/client/policy/settings_file.h"
#include "tests/support/status_matcher.h"

namespace {

using Orvane::CDateTime;
using Orvane::PKI::OCSP::Client::CResponsePolicy;
using Orvane::PKI::OCSP::Client::thisUpdateLimit;
using testkit::IsStatus;
using testkit::SettingsFile;
using testkit::thrownStatus;

TEST(ResponsePolicy, LimitsTheAgeOfThisUpdateByCountAndLetter) {
    const std::pair<const char*, const char*> rows[] = {
        {"", "20240324120000Z"},
        {"ThisUpdateAccuracy = 'h'\nThisUpdateAccuracyUnits = 12", "20240331000000Z"},
        {"ThisUpdateAccuracy = 'hours'\nThisUpdateAccuracyUnits = 1", "20240331110000Z"},
        {"ThisUpdateAccuracy = 'm'\nThisUpdateAccuracyUnits = 1", "20240229120000Z"},
        {"ThisUpdateAccuracy = 'y'\nThisUpdateAccuracyUnits = 0", "20240331120000Z"},
        {"ThisUpdateAccuracy = 's'\nThisUpdateAccuracyUnits = -30", "20240331120030Z"},
        {"ThisUpdateAccuracyUnits = 4294967297", "20240330120000Z"},  // counted in 32 bits
    };
    for (const auto& [text, expected] : rows) {
        const SettingsFile settings(text);
        const CResponsePolicy policy;
        const CDateTime limit =
            thisUpdateLimit(policy.ThisUpdateAccuracy, policy.ThisUpdateAccuracyUnits, CDateTime("20240331120000Z"));
        EXPECT_STREQ(limit.getGeneralizedTime().c_str(), expected) << text;
    }
}

TEST(ResponsePolicy, RejectsAnUnknownIntervalOnlyWhenItIsUsed) {
    const SettingsFile settings("ThisUpdateAccuracy = 'x'\n");
    const CResponsePolicy policy;
    const CDateTime reference("20240331120000Z");
    EXPECT_THAT(thrownStatus([&] { static_cast<void>(thisUpdateLimit(policy.ThisUpdateAccuracy, 1, reference)); }),
                IsStatus(status::kInvalidArgument));
    EXPECT_THAT(thrownStatus([&] { static_cast<void>(thisUpdateLimit({}, INT_MAX, reference)); }),
                IsStatus(status::kFail));
    EXPECT_THAT(thrownStatus([&] { static_cast<void>(thisUpdateLimit({}, INT_MIN, reference)); }),
                IsStatus(status::kFail));
}

}  // namespace
