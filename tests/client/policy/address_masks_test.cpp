#include "client/policy/address_masks.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "client/policy/address_text.h"
#include "tests/client/policy/policy_file.h"
#include "tests/support/status_matcher.h"

namespace {

using namespace Orvane::PKI::OCSP::Client;
using namespace testkit;

std::int32_t verdict(const std::string& settings, const ExchangeTraits& exchange) {
    const PolicyFile file(settings);
    const CRequestPolicy policy;
    return thrownStatus([&] { checkHttpPolicies(policy, exchange); });
}

TEST(AddressMasks, ListsMatchOnlyWholeAddresses) {
    struct Row {
        const char* settings;
        const wchar_t* responder;
        const wchar_t* proxy;
        std::int32_t status;
    };
    const Row rows[] = {
        {"", L"http://a/", L"", status::kOk},
        {"AllowedOCSPs = ['http://a/']", L"http://a/", L"", status::kOk},
        {"AllowedOCSPs = ['http://a/']", L"http://A/", L"", status::kAddressRefused},
        {"AllowedOCSPs = []", L"http://a/", L"", status::kAddressRefused},
        {"AllowedOCSPsSetted = true", L"http://a/", L"", status::kOk},
        {"DeniedOCSPs = ['http://a/']", L"http://a/", L"", status::kAddressRefused},
        {"DeniedOCSPs = ['http://a/']", L"http://a", L"", status::kOk},
        {"AllowedOCSPs = ['http://a/']\nDeniedOCSPs = ['http://a/']", L"http://a/", L"", status::kAddressRefused},
        {"AllowedProxies = ['http://p/']", L"http://a/", L"http://p/", status::kOk},
        {"AllowedProxies = ['http://p/']", L"http://a/", L"", status::kAddressRefused},
        {"AllowedProxies = ['http://p/', '']", L"http://a/", L"", status::kOk},
        // The address is checked before its authentication.
        {"DeniedOCSPs = ['http://a/']\nAuthDenyAnonym = true", L"http://a/", L"", status::kAddressRefused},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.settings);
        EXPECT_THAT(verdict(row.settings, {.ocspAddress = row.responder, .proxyAddress = row.proxy}),
                    IsStatus(row.status));
    }
}

TEST(AddressText, HidesWhatCouldBeALoginInAnyForm) {
    const std::pair<const wchar_t*, const wchar_t*> rows[] = {
        {L"http://host:80/a?b", L"http://host:80/a?b"},
        {L"", L""},
        {L"http://u:p@host/", L"http://***@host/"},
        {L"HTTPS://u:p/w?#@h@host/", L"HTTPS://***@host/"},
        {L"http:u:p@host", L"http:***@host"},
        {L"http:\\\\u:p@host", L"http:\\\\***@host"},
        {L"u:p@host", L"***@host"},
        {L"http://u%3Ap%40host", L"http://***@host"},
        {L"http://u:p%252540host/%41", L"http://***@host/%41"},
        {L"ftp://u:p@host", L"***@host"},
    };
    for (const auto& [address, shown] : rows) {
        EXPECT_EQ(withoutCredentials(address), shown);
    }
    for (const wchar_t* address : {L"http://u@h/", L"HTTP:u:p@h", L"https:\\\\u:p@h/", L"http:///:p@h?", L"u:p@h"}) {
        EXPECT_TRUE(hasCredentials(address)) << address;
    }
    EXPECT_FALSE(hasCredentials(L"http://host/path@x?y@z"));
}

TEST(AddressText, GivesOneFormToSpellingsOfOneAddress) {
    for (const wchar_t* spelling : {L"http://host/", L"HTTP://Host", L"http://host.:80/#x", L"http://HOST:80"}) {
        EXPECT_EQ(normalForm(spelling), L"http://host/");
    }
    EXPECT_EQ(normalForm(L"https://h:443?q"), L"https://h/?q");
    EXPECT_EQ(normalForm(L"http://h:443/A"), L"http://h:443/A");
    EXPECT_EQ(normalForm(L"ftp://H"), L"ftp://H");
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
