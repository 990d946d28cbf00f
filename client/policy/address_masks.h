// The check of one exchange against the request policy, once the responder's address is known: the three address lists,
// and the refused authentication schemes by kind of server.
//
//   checkHttpPolicies(policy, {.ocspAddress = L"http://ocsp.example/"});   // throws what policy refuses
//   if (mayUseProxy(policy, {.proxyAddress = L"http://proxy:3128/"})) ...
#pragma once

#include <cstdint>

#include "client/policy/refusal.h"
#include "client/policy/request_policy.h"
#include "export.h"

namespace Orvane::PKI::OCSP::Client {

/// The ways to authenticate, by the numbers that settings use. The bits are those of CRYPTO_AUTH_...
inline constexpr long kAuthTypeAnonymous = 0;
inline constexpr long kAuthTypeBasic = 1;
inline constexpr long kAuthTypeNtlm = 2;
inline constexpr long kAuthTypeDigest = 8;
inline constexpr long kAuthTypeNegotiate = 16;

/// Where one exchange goes. Texts are not null; authentication types as above.
struct ExchangeTraits {
    const wchar_t* ocspAddress = L"";   ///< of the responder, as the request names it
    long ocspAuthType = 0;              ///< kAuthType... for the responder
    const wchar_t* proxyAddress = L"";  ///< empty: no proxy
    long proxyAuthType = 0;             ///< kAuthType... for the proxy
};

/// The first violation, in the order of the checks: 0xC2110103 for an address, 0xC2110101 for the responder's scheme,
/// 0xC2110102 for the proxy's. Addresses are compared exactly, case included; an address that begins with neither
/// "http://" nor "https://" has no scheme words.
[[nodiscard]] Refusal refusalOf(const CRequestPolicy& policy, const ExchangeTraits& exchange);

/// Throws that violation as ATL::CAtlException.
void checkHttpPolicies(const CRequestPolicy& policy, const ExchangeTraits& exchange);

/// The same for the target of a redirect, which an untrusted server chose: DeniedOCSPs is compared in normal form too
/// (see normalForm), so that another spelling does not get around it.
[[nodiscard]] Refusal refusalOfRedirect(const CRequestPolicy& policy, const ExchangeTraits& exchange);
void checkRedirectPolicies(const CRequestPolicy& policy, const ExchangeTraits& exchange);

/// Whether policy permits this proxy, or going without one where it is empty: the part of checkHttpPolicies that is
/// about the proxy, without an exception and without a trace.
[[nodiscard]] bool mayUseProxy(const CRequestPolicy& policy, const ExchangeTraits& exchange);

/// The schemes that policy does not deny for a login at a responder, or a proxy: CRYPTO_AUTH_... bits. The words for
/// https count for an address of that scheme, case ignored, and those for http for every other.
[[nodiscard]] std::uint32_t permittedAuthSchemes(const CRequestPolicy& policy, const wchar_t* address, bool isProxy);

/// Whether an address is for the SSL defaults and words: it begins with "https://" exactly.
[[nodiscard]] bool beginsWithHttps(const wchar_t* address) noexcept;

}  // namespace Orvane::PKI::OCSP::Client
