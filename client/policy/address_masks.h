// The check of one exchange against the request policy, once the responder's address is known: the three address lists,
// and the refused authentication schemes by kind of server.
#pragma once

#include "client/policy/request_policy.h"

namespace Orvane::PKI::OCSP::Client {

/// Where one exchange goes. Texts are not null; the numbers are those of enumAuthTypes.
struct ExchangeTraits {
    const wchar_t* ocspAddress = L"";
    long ocspAuthType = 0;
    const wchar_t* proxyAddress = L"";
    long proxyAuthType = 0;
};

/// Throws the first violation as ATL::CAtlException: 0xC2110103 for an address, 0xC2110101 for the responder's scheme,
/// 0xC2110102 for the proxy's. Addresses are compared exactly, case included; an address that begins with neither
/// "http://" nor "https://" has no scheme words.
void checkHttpPolicies(const CRequestPolicy& policy, const ExchangeTraits& exchange);

/// Whether an address is for the SSL defaults and words: it begins with "https://" exactly.
[[nodiscard]] bool beginsWithHttps(const wchar_t* address) noexcept;

}  // namespace Orvane::PKI::OCSP::Client
