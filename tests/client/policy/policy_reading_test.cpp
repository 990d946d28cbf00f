// The way of reading policy is chosen once per process, so each test runs in a separate process.
#include "client/policy/policy_reading.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "client/policy/policy_binding.h"
#include "tests/client/policy/policy_file.h"
#include "tests/support/status_matcher.h"

namespace {

using namespace Orvane::PKI::OCSP::Client;
using namespace testkit;

using RequestBinding = PolicyBinding<CRequestPolicy>;
using ResponseBinding = PolicyBinding<CResponsePolicy>;

void inOwnProcess(const std::function<void(PolicyFile&)>& check) {
    EXPECT_EXIT(
        {
            auto settings = std::make_unique<PolicyFile>();
            check(*settings);
            settings.reset();
            std::exit(testing::Test::HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS);
        },
        testing::ExitedWithCode(EXIT_SUCCESS), "");
}

TEST(PolicyReading, OneObjectServesTheWholeProcess) {
    inOwnProcess([](PolicyFile& settings) {
        settings.write("NonceLength = 16\n");
        RequestBinding first;
        first.bind();
        settings.write("NonceLength = 32\nLegacyPolicyReading = true\n");
        std::vector<std::thread> threads;
        threads.reserve(8);
        for (int i = 0; i < 8; ++i) {
            threads.emplace_back([&first] {
                RequestBinding other;
                other.bind();
                EXPECT_EQ(other.get(), first.get());
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_EQ(first->NonceLength, 16L);
        EXPECT_EQ(first.get(), sharedRequestPolicy());
        EXPECT_EQ(IsLegacyPolicyReading(), 0);
    });
}

TEST(PolicyReading, LegacyReadingReadsThePolicyForEachObject) {
    inOwnProcess([](PolicyFile& settings) {
        settings.write("LegacyPolicyReading = true\nThisUpdateAccuracyUnits = 1\n");
        RequestBinding request;
        ResponseBinding response;
        request.bind();
        response.bind();
        settings.write("ThisUpdateAccuracyUnits = 2\n");
        RequestBinding later;
        later.bind();
        EXPECT_EQ(IsLegacyPolicyReading(), 1);
        EXPECT_EQ(request->ThisUpdateAccuracyUnits, 1L);
        EXPECT_EQ(later->ThisUpdateAccuracyUnits, 2L);
        response.bind();
        EXPECT_EQ(response->ThisUpdateAccuracyUnits, 2L);
        // A failure is thrown unconverted and leaves nothing bound.
        settings.breakFile();
        EXPECT_EQ(thrownStatus([&] { request.bind(); }), static_cast<std::int32_t>(ERROR_BAD_FORMAT));
        EXPECT_EQ(request.get(), nullptr);
        settings.write("");
        request.bind();
        EXPECT_EQ(request->ThisUpdateAccuracyUnits, 7L);
    });
}

TEST(PolicyReading, AFailureToReadThePolicyIsFinal) {
    inOwnProcess([](PolicyFile& settings) {
        settings.breakFile();
        RequestBinding request;
        EXPECT_THAT(thrownStatus([&] { request.bind(); }), IsStatus(status::kNoPolicy));
        settings.write("LegacyPolicyReading = true\n");
        EXPECT_THAT(thrownStatus([&] { request.bind(); }), IsStatus(status::kNoPolicy));
        EXPECT_EQ(request.get(), nullptr);
        ResponseBinding response;
        response.bind();
        EXPECT_NE(response.get(), nullptr);
    });
}

TEST(PolicyReading, UsesTheIssuerPropertyUnlessDisabled) {
    inOwnProcess([](PolicyFile& settings) {
        settings.write("IssuerPropAIADisabled = true\n");
        EXPECT_FALSE(IssuerPropAIAEnabled());
        settings.write("");
        EXPECT_FALSE(IssuerPropAIAEnabled());
    });
    inOwnProcess([](PolicyFile&) { EXPECT_TRUE(IssuerPropAIAEnabled()); });
    inOwnProcess([](PolicyFile& settings) {
        settings.breakFile();
        EXPECT_TRUE(IssuerPropAIAEnabled());
    });
}

}  // namespace
