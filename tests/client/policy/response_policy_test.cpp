#include "client/policy/response_policy.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "tests/client/policy/policy_file.h"
#include "tests/support/status_matcher.h"

namespace {

using namespace Orvane::PKI::OCSP::Client;
using namespace testkit;
using Orvane::CDateTime;

TEST(ResponsePolicy, LimitsTheAgeOfThisUpdateByCountAndLetter) {
    const std::pair<const char*, const char*> rows[] = {
        {"", "20240324120000Z"},
        {"ThisUpdateAccuracy = 'hours'\nThisUpdateAccuracyUnits = 1", "20240331110000Z"},
        {"ThisUpdateAccuracy = 'm'\nThisUpdateAccuracyUnits = 1", "20240229120000Z"},
        {"ThisUpdateAccuracy = 's'\nThisUpdateAccuracyUnits = -30", "20240331120030Z"},
        {"ThisUpdateAccuracyUnits = 4294967297", "20240330120000Z"},  // counted in 32 bits
    };
    for (const auto& [text, expected] : rows) {
        const PolicyFile settings(text);
        const CResponsePolicy policy;
        const CDateTime limit =
            thisUpdateLimit(policy.ThisUpdateAccuracy, policy.ThisUpdateAccuracyUnits, CDateTime("20240331120000Z"));
        EXPECT_STREQ(limit.getGeneralizedTime().c_str(), expected) << text;
    }
    for (const long units : {INT_MAX, INT_MIN}) {
        EXPECT_THAT(thrownStatus([&] { static_cast<void>(thisUpdateLimit({}, units, CDateTime("20240331120000Z"))); }),
                    IsStatus(status::kFail));
    }
}

}  // namespace
