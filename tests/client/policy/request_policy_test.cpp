#include "client/policy/request_policy.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "client/policy/request_checks.h"
#include "tests/client/policy/policy_file.h"
#include "tests/support/status_matcher.h"
#include "tests/support/vectors.h"

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

// "settings; words": which of nonce, acceptable responses and signature the request has.
std::string answerOfRules(const std::string& row) {
    const std::size_t semicolon = row.find(';');
    const std::string words = row.substr(semicolon);
    const auto has = [&words](const char* word) { return words.find(word) != std::string::npos; };
    const PolicyFile settings(row.substr(0, semicolon));
    return answered([&] {
        checkPolicies(CRequestPolicy(), {has("nonce"), has("acceptable"), has("signed")});
        return "permitted";
    });
}

TEST(RequestPolicy, RefusesWhatItForbidsAndWhatItMisses) {
    expectVectors("client/request_rules.txt", {{"rules", answerOfRules}});
}

}  // namespace
