#include "client/policy/address_masks.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/client/policy/settings_file.h"
#include "tests/support/status_matcher.h"

namespace {

using Orvane::PKI::OCSP::Client::checkHttpPolicies;
using Orvane::PKI::OCSP::Client::CRequestPolicy;
using Orvane::PKI::OCSP::Client::ExchangeTraits;
using testkit::IsStatus;
using testkit::SettingsFile;
using testkit::thrownStatus;

std::int32_t verdict(const std::string& settings, const ExchangeTraits& exchange) {
    const SettingsFile file(settings);
    const CRequestPolicy policy;
    return thrownStatus([&] { checkHttpPolicies(policy, exchange); });
}

TEST(AddressMasks, ListsAdmitWholeAddressesOnly) {
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
        // An address counts before its authentication.
        {"DeniedOCSPs = ['http://a/']\nAuthDenyAnonym = true", L"http://a/", L"", status::kAddressRefused},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.settings);
        EXPECT_THAT(verdict(row.settings, {.ocspAddress = row.responder, .proxyAddress = row.proxy}),
                    IsStatus(row.status));
    }
}

TEST(AddressMasks, EachWordRefusesOneSchemeAtOneKindOfServer) {
    struct Kind {
        const char* prefix;
        const wchar_t* address;
        std::int32_t refusal;
        bool isProxy;
    };
    const Kind kinds[] = {
        {"AuthSSLDeny", L"https://a/", status::kResponderAuthRefused, false},
        {"AuthDeny", L"http://a/", status::kResponderAuthRefused, false},
        {"ProxyAuthSSLDeny", L"https://a/", status::kProxyAuthRefused, true},
        {"ProxyAuthDeny", L"http://a/", status::kProxyAuthRefused, true},
    };
    struct Scheme {
        const char* name;
        long number;
    };
    const Scheme schemes[] = {{"Anonym", 0}, {"Basic", 1}, {"Digest", 8}, {"NTLM", 2}, {"Negotiate", 16}};
    for (const Kind& denied : kinds) {
        for (const Scheme& word : schemes) {
            const std::string key = std::string(denied.prefix) + word.name;
            const SettingsFile file(key + " = true");
            const CRequestPolicy policy;
            for (const Kind& kind : kinds) {
                for (const Scheme& used : schemes) {
                    SCOPED_TRACE(key + " with scheme " + used.name + " where " + kind.prefix + " counts");
                    ExchangeTraits exchange{L"", 99, L"", 99};
                    (kind.isProxy ? exchange.proxyAddress : exchange.ocspAddress) = kind.address;
                    (kind.isProxy ? exchange.proxyAuthType : exchange.ocspAuthType) = used.number;
                    const bool isRefused = &kind == &denied && &used == &word;
                    EXPECT_THAT(thrownStatus([&] { checkHttpPolicies(policy, exchange); }),
                                IsStatus(isRefused ? denied.refusal : status::kOk));
                }
            }
        }
    }
}

TEST(AddressMasks, SchemesOfAddressesAreReadExactly) {
    const std::string all = "AuthDenyAnonym = true\nAuthSSLDenyAnonym = true\nProxyAuthDenyAnonym = true\n";
    for (const wchar_t* address : {L"HTTPS://a/", L"Http://a/", L"https:/a/", L"http:/a", L"ftp://a/", L"http", L""}) {
        EXPECT_THAT(verdict(all, {.ocspAddress = address, .proxyAddress = address}), IsStatus(status::kOk));
    }
    // The responder is judged before the proxy.
    EXPECT_THAT(verdict(all, {.ocspAddress = L"https://a", .proxyAddress = L"http://p"}),
                IsStatus(status::kResponderAuthRefused));
    EXPECT_THAT(verdict(all, {.ocspAddress = L"https://a", .ocspAuthType = 1, .proxyAddress = L"http://p"}),
                IsStatus(status::kProxyAuthRefused));
}

}  // namespace
