#include "checker/attempt_text.h"

#include <algorithm>

#include "checker/text/safe_text.h"
#include "checker/text/status_text.h"
#include "client/request/attempt_stage.h"
#include "handles/last_error.h"
#include "handles/status.h"

namespace tallow {

namespace {

using Orvane::PKI::OCSP::Client::AttemptStage;
using Orvane::PKI::OCSP::Client::CRequest;
using Orvane::PKI::OCSP::Client::stageName;

// Last errors of an exchange that mean more here than in general, where they also represent an HTTP status.
struct Silence {
    std::int32_t code;
    const char* text;
};
constexpr Silence kUnreached[] = {
    {status::kHttpCannotConnect, "it accepts no connections; check address, proxy and network"},
    {status::kHttpNotFound, "the name is not known; check address, proxy and network"},
    {status::kHttpTimeout, "no answer came in time; check address, proxy and network"},
};
constexpr const char* kNotReached = "could not be reached: ";

std::string remedyOfHttp(unsigned long httpStatus) {
    constexpr unsigned long kProxyLogin = 407;
    constexpr unsigned long kFirstOfServerErrors = 500;
    if (httpStatus == kProxyLogin) {
        return "the proxy requires a login; use one with a name and password, or another proxy";
    }
    return httpStatus >= kFirstOfServerErrors ? "try again later, or ask its operator" : "check its address";
}

std::string reasonOf(const CRequest::Attempt& attempt) {
    if (attempt.kind == CRequest::kRedirected) {
        return "redirected with HTTP status " + std::to_string(attempt.httpStatus);
    }
    if (attempt.status != status::kHttpStatus) {
        return stageName(attempt.stage) + (": " + text::statusText(attempt.status));
    }
    if (attempt.httpStatus != 0) {
        return "answered with HTTP status " + std::to_string(attempt.httpStatus) + "; " +
               remedyOfHttp(attempt.httpStatus);
    }
    const std::int32_t code = ATL2::convertLastError(attempt.lastError);
    const auto* known = std::find_if(std::begin(kUnreached), std::end(kUnreached),
                                     [code](const Silence& row) { return row.code == code; });
    return known != std::end(kUnreached) ? std::string(kNotReached) + known->text
                                         : "gave no usable answer: " + text::statusText(code);
}

Step stepOf(AttemptStage stage) {
    return stage == AttemptStage::kNotAsked ? Step::kInput : Step::kExchange;
}

std::string summary(const std::vector<Attempt>& attempts) {
    std::size_t numAsked = 0;
    for (const Attempt& attempt : attempts) {
        const bool isAsked = !attempt.isSkipped && !attempt.isRedirect;
        if (isAsked && !attempt.reason.starts_with(kNotReached)) {
            return "no responder gave an answer to trust";
        }
        numAsked += isAsked ? 1 : 0;
    }
    return numAsked == 1 ? "the only responder asked could not be reached"
                         : "none of " + std::to_string(numAsked) + " responders could be reached";
}

std::string described(const Attempt& attempt) {
    return (attempt.url.empty() ? "(empty address)" : attempt.url) + ": " + attempt.reason;
}

}  // namespace

Attempt attemptOf(const CRequest::Attempt& attempt, const rules::Rejection* rejection) {
    Attempt told;
    told.url = text::safeLine(text::utf8(attempt.address));
    told.reached = stepOf(attempt.stage);
    told.status = attempt.status;
    told.httpStatus = static_cast<int>(attempt.httpStatus);
    told.isRedirect = attempt.kind == CRequest::kRedirected;
    told.isFromCache = attempt.fromCache;
    told.reason = rejection != nullptr ? rules::nameOf(rejection->rule) + (": " + rules::reasonOf(*rejection))
                                       : reasonOf(attempt);
    return told;
}

std::string causeOf(const std::vector<Attempt>& attempts) {
    if (attempts.size() == 1) {
        return described(attempts.front());
    }
    std::string text = summary(attempts);
    std::size_t numSkipped = 0;
    for (const Attempt& attempt : attempts) {
        if (attempt.isSkipped) {
            ++numSkipped;
        } else {
            text += " | " + described(attempt);
        }
    }
    if (numSkipped != 0) {
        text += " | " + std::to_string(numSkipped) + " more not asked: " + text::statusText(status::kNotAsked);
    }
    return text;
}

}  // namespace tallow
