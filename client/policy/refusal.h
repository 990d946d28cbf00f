// What policy has against a request or an exchange, with the key that says so.
#pragma once

#include <cstdint>
#include <string>

namespace Orvane::PKI::OCSP::Client {

/// The first violation of a check.
struct Refusal {
    const wchar_t* key = nullptr;  ///< of the table config.cades.ocsppolicy; null when nothing is refused
    std::int32_t status = 0;       ///< 0xC2110101 to 0xC2110111; 0 when nothing is refused
};

/// Throws the status of a refusal as ATL::CAtlException; does nothing without one.
void throwRefusal(const Refusal& refusal);

/// A key of the policy and where it is set, for messages: "AllowedOCSPs (/etc/tallow/settings.toml:12)"; only its name
/// when it is not set, or the Support service does not know where. Searches the whole file.
[[nodiscard]] std::string keyWithPlace(const wchar_t* key);

}  // namespace Orvane::PKI::OCSP::Client
