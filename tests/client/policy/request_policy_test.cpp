#include "client/policy/request_policy.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "client/policy/request_checks.h"
#include "tests/client/policy/policy_file.h"
#include "tests/support/status_matcher.h"

namespace {

using namespace Orvane::PKI::OCSP::Client;
using namespace testkit;

TEST(RequestPolicy, ReadsItsKeysInTheOrderThatATraceShows) {
    const PolicyFile settings;
    const std::string path = settings.folder().file("trace");
    ASSERT_EQ(support_trace_open(127, path.c_str()), 0);
    { const CRequestPolicy policy; }
    support_trace_open(0, nullptr);
    std::ifstream trace(path);
    std::string keys;
    const std::string before = "Loading policy \"\\config\\cades\\ocsppolicy\\";
    for (std::string line; std::getline(trace, line);) {
        const std::size_t at = line.find(before);
        if (at != std::string::npos && line.find("not found") == std::string::npos) {
            const std::size_t start = at + before.size();
            keys += line.substr(start, line.find('"', start) - start) + "\n";
        }
    }
    const Bytes expected = readFile("data/client/request_policy_keys.txt");
    EXPECT_EQ(keys, std::string(expected.begin(), expected.end()));
}

TEST(RequestPolicy, RefusesWhatItForbidsAndWhatItMisses) {
    struct Row {
        const char* settings;
        bool useNonce, useAcceptableResponses, isSigned;
        std::int32_t status;
    };
    const Row rows[] = {
        {"DisableSignedRequests = true", true, true, false, status::kOk},
        {"RequireNonce = true\nRequireAcceptResp = true\nDisableUnsignedRequests = true", true, true, true,
         status::kOk},
        {"DisableNonce = true", true, false, false, status::kOptionAgainstPolicy},
        {"RequireNonce = true", false, false, false, status::kOptionAgainstPolicy},
        {"DisableNonce = true\nRequireNonce = true", false, false, false, status::kOptionAgainstPolicy},
        {"DisableAcceptResp = true", false, true, false, status::kOptionAgainstPolicy},
        {"RequireAcceptResp = true", false, false, false, status::kOptionAgainstPolicy},
        {"DisableUnsignedRequests = true", false, false, false, status::kUnsignedRefused},
        {"DisableSignedRequests = true", false, false, true, status::kSignedRefused},
        // The first violation is the one reported: nonce, signature, acceptable responses.
        {"DisableNonce = true\nDisableUnsignedRequests = true", true, false, false, status::kOptionAgainstPolicy},
        {"RequireAcceptResp = true\nDisableUnsignedRequests = true", false, false, false, status::kUnsignedRefused},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.settings);
        const PolicyFile settings(row.settings);
        const CRequestPolicy policy;
        EXPECT_THAT(thrownStatus([&] {
                        checkPolicies(policy, {row.useNonce, row.useAcceptableResponses, row.isSigned});
                    }),
                    IsStatus(row.status));
    }
}

}  // namespace
