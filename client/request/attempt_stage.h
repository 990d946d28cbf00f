// How far an attempt to get a response got.
#pragma once

#include <cstdint>

#include "export.h"

namespace Orvane::PKI::OCSP::Client {

/// The stages of one attempt at one responder, in the order in which it passes through them. Later stages compare
/// greater, so of several failed attempts the greatest stage is the one closest to an answer. The numbers appear in
/// traces ("Level: 3").
enum class AttemptStage : std::uint8_t {
    kNotAsked = 0,        ///< nothing was attempted
    kAddressPolicy = 1,   ///< may this address, proxy and authentication be used?
    kExchange = 2,        ///< sending the request and receiving the body of the response
    kHttpStatus = 3,      ///< is the HTTP status 200?
    kDecoding = 4,        ///< decoding the response, comparing nonces, matching entries
    kResponseStatus = 5,  ///< is the OCSPResponseStatus successful (RFC 6960, 4.2.1)?
    kProducedAt = 6,      ///< was the response produced at the time of asking?
    kVerification = 7,    ///< the age of thisUpdate, then the handlers; an attempt that passed keeps this stage
};

/// The stage in one to three English words for a message, such as "HTTP status". Never null; the text is static.
[[nodiscard]] TALLOW_EXPORT const char* stageName(AttemptStage stage) noexcept;

}  // namespace Orvane::PKI::OCSP::Client
