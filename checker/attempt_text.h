// Attempts and verdicts in words. Private to the library.
#pragma once

#include <cstdint>
#include <string>

#include "checker/call.h"
#include "checker/rules/rejection.h"

namespace tallow {

/// What was told about the exchange of an attempt, besides what the request recorded.
struct ExchangeFacts {
    std::string failure;  // why there is no response, in words; empty when nothing was told
    std::string proxy;    // its address without a login; empty: none
    bool hasProxyFailed = false;
    bool isCheckOver = false;  // the time of the whole check is used up
    int httpStatus = 0;        // also that of a proxy which refused to connect
};
ExchangeFacts factsOf(const Call& call);

/// The attempts that the request recorded from number `first` on: redirects, then the attempt itself, which the facts
/// are about. `rejection`: why its answer was rejected; null when there was none.
std::vector<Attempt> attemptsOf(const Orvane::PKI::OCSP::Client::CRequest& request, std::size_t first,
                                const rules::Rejection* rejection, const ExchangeFacts& facts);

/// An address that was not asked, and why.
Attempt skippedAttempt(const std::string& url, ResponderSource source, const std::string& why);

/// Why no responder gave a verified answer: the attempts with their reasons, in one line. At least one attempt.
std::string causeOf(const std::vector<Attempt>& attempts);

/// Whether the responder refused the connection, is not known by name, or did not answer in time.
bool isUnreached(const Attempt& attempt);

/// An OCSPResponseStatus other than successful: its name, its meaning, and what to do.
std::string refusalText(std::uint32_t responseStatus);

/// Says what octets that cannot be decoded look like, if the rejection has no text of its own.
void describeForm(const Orvane::CBlob& body, rules::Rejection& rejection,
                  const char* remedy = "check the address of the responder");

}  // namespace tallow
