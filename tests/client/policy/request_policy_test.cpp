#include "client/policy/request_policy.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "client/policy/request_checks.h"
#include "tests/client/policy/settings_file.h"
#include "tests/support/status_matcher.h"

namespace {

using Orvane::PKI::OCSP::Client::checkPolicies;
using Orvane::PKI::OCSP::Client::CRequestPolicy;
using testkit::IsStatus;
using testkit::SettingsFile;
using testkit::thrownStatus;

TEST(RequestPolicy, HasItsDefaultsWhenNothingIsConfigured) {
    const SettingsFile settings;
    const CRequestPolicy policy;
    EXPECT_EQ(policy.CertsToInclude, -1L);
    EXPECT_EQ(policy.NonceLength, 8L);
    EXPECT_EQ(policy.ResponseAccuracy, 180000L);
    EXPECT_EQ(policy.ThisUpdateAccuracyUnits, 7L);
    EXPECT_TRUE(policy.ThisUpdateAccuracy.empty());
    EXPECT_TRUE(policy.UseNonceByDefault);
    EXPECT_FALSE(policy.UseAcceptRespByDefault);
    EXPECT_THAT(thrownStatus([&] { checkPolicies(policy, {.useNonce = true}); }), IsStatus(status::kOk));
    EXPECT_THAT(thrownStatus([&] { checkPolicies(policy, {}); }), IsStatus(status::kOk));
}

// The names of the keys in the order in which a trace shows them.
std::vector<std::string> keysInTrace(const std::string& path) {
    std::vector<std::string> names;
    std::ifstream trace(path);
    const std::string before = "Loading policy \"\\config\\cades\\ocsppolicy\\";
    for (std::string line; std::getline(trace, line);) {
        const std::size_t at = line.find(before);
        const std::size_t end = line.find("\" ...", at);
        if (at != std::string::npos && line.find("not found") == std::string::npos) {
            names.push_back(line.substr(at + before.size(), end - at - before.size()));
        }
    }
    return names;
}

TEST(RequestPolicy, ReadsItsKeysInTheOrderThatATraceShows) {
    const SettingsFile settings;
    const std::string path = settings.folder().file("trace");
    ASSERT_EQ(support_trace_open(127, path.c_str()), 0);
    { const CRequestPolicy policy; }
    support_trace_open(0, nullptr);
    std::vector<std::string> expected = {"CertIDHashAlg",
                                         "CertsToInclude",
                                         "ThisUpdateAccuracyUnits",
                                         "ThisUpdateAccuracy",
                                         "ResponseAccuracy",
                                         "NonceLength",
                                         "AuthTypeDefault",
                                         "AuthSSLTypeDefault",
                                         "ProxyAuthTypeDefault",
                                         "ProxyAuthSSLTypeDefault",
                                         "DisableUnsignedRequests",
                                         "DisableSignedRequests",
                                         "DisableNonce",
                                         "RequireNonce",
                                         "UseNonceByDefault",
                                         "DisableAcceptResp",
                                         "RequireAcceptResp",
                                         "UseAcceptRespByDefault"};
    for (const char* kind : {"AuthSSLDeny", "AuthDeny", "ProxyAuthSSLDeny", "ProxyAuthDeny"}) {
        for (const char* scheme : {"Anonym", "Basic", "Digest", "NTLM", "Negotiate"}) {
            expected.push_back(std::string(kind) + scheme);
        }
    }
    expected.insert(expected.end(),
                    {"DefaultOCSPURL", "DefaultProxy", "AllowedOCSPs", "DeniedOCSPs", "AllowedProxies"});
    EXPECT_EQ(keysInTrace(path), expected);
}

TEST(RequestPolicy, RefusesWhatItForbidsAndWhatItMisses) {
    struct Row {
        const char* settings;
        bool useNonce, useAcceptableResponses, isSigned;
        std::int32_t status;
    };
    const Row rows[] = {
        {"DisableNonce = true", true, false, false, status::kOptionAgainstPolicy},
        {"DisableNonce = true", false, false, false, status::kOk},
        {"RequireNonce = true", false, false, false, status::kOptionAgainstPolicy},
        {"RequireNonce = true", true, false, false, status::kOk},
        {"DisableNonce = true\nRequireNonce = true", true, false, false, status::kOptionAgainstPolicy},
        {"DisableNonce = true\nRequireNonce = true", false, false, false, status::kOptionAgainstPolicy},
        {"DisableAcceptResp = true", false, true, false, status::kOptionAgainstPolicy},
        {"DisableAcceptResp = true", false, false, false, status::kOk},
        {"RequireAcceptResp = true", false, false, false, status::kOptionAgainstPolicy},
        {"RequireAcceptResp = true", false, true, false, status::kOk},
        {"DisableUnsignedRequests = true", false, false, false, status::kUnsignedRefused},
        {"DisableUnsignedRequests = true", false, false, true, status::kOk},
        {"DisableSignedRequests = true", false, false, true, status::kSignedRefused},
        {"DisableSignedRequests = true", false, false, false, status::kOk},
        // The first violation is the one reported: nonce, signature, acceptable responses.
        {"DisableNonce = true\nDisableUnsignedRequests = true", true, false, false, status::kOptionAgainstPolicy},
        {"RequireAcceptResp = true\nDisableUnsignedRequests = true", false, false, false, status::kUnsignedRefused},
        {"RequireAcceptResp = true\nDisableSignedRequests = true", false, false, true, status::kSignedRefused},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.settings);
        const SettingsFile settings(row.settings);
        const CRequestPolicy policy;
        EXPECT_THAT(thrownStatus([&] {
                        checkPolicies(policy, {row.useNonce, row.useAcceptableResponses, row.isSigned});
                    }),
                    IsStatus(row.status));
    }
}

}  // namespace
