#include "client/policy/address_masks.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "client/policy/address_text.h"
#include "tests/client/policy/policy_file.h"
#include "tests/support/bytes.h"
#include "tests/support/status_matcher.h"
#include "tests/support/vectors.h"

namespace {

using namespace Orvane::PKI::OCSP::Client;
using namespace testkit;

std::int32_t verdict(const std::string& settings, const ExchangeTraits& exchange) {
    const PolicyFile file(settings);
    const CRequestPolicy policy;
    return thrownStatus([&] { checkHttpPolicies(policy, exchange); });
}

// "settings;responder;proxy".
std::string answerOfLists(const std::string& row) {
    const std::size_t responderAt = row.find(';') + 1;
    const std::size_t proxyAt = row.find(';', responderAt) + 1;
    const std::wstring responder = wide(row.substr(responderAt, proxyAt - 1 - responderAt));
    const std::wstring proxy = wide(row.substr(proxyAt));
    const PolicyFile file(row.substr(0, responderAt - 1));
    return answered([&] {
        checkHttpPolicies(CRequestPolicy(), {.ocspAddress = responder.c_str(), .proxyAddress = proxy.c_str()});
        return "permitted";
    });
}

TEST(AddressMasks, AnswerTheVectorsOfLists) {
    expectVectors("client/address_lists.txt", {{"lists", answerOfLists}});
}

TEST(AddressText, AnswersItsVectors) {
    const auto narrow = [](const std::wstring& text) { return std::string(text.begin(), text.end()); };
    expectVectors("client/addresses.txt",
                  {{"shown", [&](const std::string& row) { return narrow(withoutCredentials(wide(row))); }},
                   {"login", [](const std::string& row) { return hasCredentials(wide(row)) ? "yes" : "no"; }},
                   {"normal", [&](const std::string& row) { return narrow(normalForm(wide(row))); }}});
}

TEST(AddressMasks, EachSettingRefusesOneSchemeAtOneKindOfServer) {
    struct Case {
        std::string key;
        ExchangeTraits exchange;
        std::int32_t refusal;
    };
    std::vector<Case> cases;
    for (const auto& [scheme, number] :
         {std::pair{"Anonym", 0L}, {"Basic", 1L}, {"Digest", 8L}, {"NTLM", 2L}, {"Negotiate", 16L}}) {
        for (const auto& [ssl, address] : {std::pair{"SSL", L"https://a/"}, {"", L"http://a/"}}) {
            const std::string key = std::string("Auth") + ssl + "Deny" + scheme;
            cases.push_back({key, {address, number, L"", 99}, status::kResponderAuthRefused});
            cases.push_back({"Proxy" + key, {L"", 99, address, number}, status::kProxyAuthRefused});
        }
    }
    for (const Case& denied : cases) {
        const PolicyFile file(denied.key + " = true");
        const CRequestPolicy policy;
        for (const Case& used : cases) {
            EXPECT_THAT(thrownStatus([&] { checkHttpPolicies(policy, used.exchange); }),
                        IsStatus(&used == &denied ? denied.refusal : status::kOk))
                << denied.key << " where " << used.key << " counts";
        }
    }
}

TEST(AddressMasks, SchemesOfAddressesAreReadExactly) {
    const std::string all = "AuthDenyAnonym = true\nAuthSSLDenyAnonym = true\nProxyAuthDenyAnonym = true\n";
    for (const wchar_t* address : {L"HTTPS://a/", L"Http://a/", L"https:/a/", L"http:/a", L"ftp://a/", L"http", L""}) {
        EXPECT_THAT(verdict(all, {.ocspAddress = address, .proxyAddress = address}), IsStatus(status::kOk));
    }
    // The responder is checked before the proxy.
    EXPECT_THAT(verdict(all, {.ocspAddress = L"https://a", .proxyAddress = L"http://p"}),
                IsStatus(status::kResponderAuthRefused));
    EXPECT_THAT(verdict(all, {.ocspAddress = L"https://a", .ocspAuthType = 1, .proxyAddress = L"http://p"}),
                IsStatus(status::kProxyAuthRefused));
}

}  // namespace
