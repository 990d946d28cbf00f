// What the administrator's policy refuses, with key, file and line. For messages only: nothing is decided here.
#pragma once

#include <cstdint>
#include <string>

#include "client/policy/address_masks.h"
#include "client/policy/request_checks.h"
#include "export.h"

namespace tallow::text {

/// Why policy refused an exchange with this status, and what to do about it, in one line: "policy refuses the address:
/// it is not in AllowedOCSPs (/etc/tallow/settings.toml:12); ...". Empty when policy has nothing of this status against
/// it. The policy is that of the calling thread.
std::string refusedExchangeText(std::int32_t status, const Orvane::PKI::OCSP::Client::ExchangeTraits& exchange);

/// The same for a request; also for a status that a length of nonces out of range causes.
TALLOW_EXPORT std::string refusedRequestText(std::int32_t status,
                                             const Orvane::PKI::OCSP::Client::RequestTraits& request);

/// "FILE:LINE:COLUMN: reason" while the settings in force cannot be used; else empty.
std::string brokenSettingsText();

}  // namespace tallow::text
