#include "cli/error_text.h"

#include <cstdio>
#include <exception>
#include <vector>

#include "cli/input_files.h"
#include "cli/run_inputs.h"
#include "cli/safe_text.h"
#include "handles/exception.h"
#include "handles/last_error.h"
#include "handles/status.h"

namespace tallow::cli {

namespace {

using Orvane::PKI::OCSP::Client::CRequest;

// Statuses for which an option of the command helps.
struct Remedy {
    std::int32_t code;
    const char* option;
};
constexpr Remedy kRemedies[] = {
    {status::kNoResponder, "--url"},         {status::kNoSigner, "--issuer"},
    {status::kIssuerMismatch, "--issuer"},   {status::kNonceMismatch, "--no-nonce"},
    {status::kCryptNotFound, "--certs"},     {status::kUntrustedRoot, "--trust"},
    {status::kChaining, "--certs, --trust"}, {status::kNoRevocationCheck, "--crl"},
    {status::kRevocationOffline, "--crl"},
};

// The text, with the option that helps.
std::string withRemedy(std::int32_t code, std::string text) {
    for (const Remedy& remedy : kRemedies) {
        if (remedy.code == code) {
            text += std::string(" (") + remedy.option + ")";
        }
    }
    return text;
}

// The one-line text of a status; its number when it has none.
std::string textOf(std::int32_t code) {
    const char* known = status::text(code);
    return withRemedy(code,
                      known == nullptr ? "status " + codeText(code) + "; ask the operator of the responder" : known);
}

const char* stepOf(const CRequest::Attempt& attempt) {
    constexpr const char* kSteps[] = {"asking",   "address policy",  "exchange",           "HTTP status",
                                      "decoding", "response status", "time of production", "verification"};
    return attempt.level < std::size(kSteps) ? kSteps[attempt.level] : "verification";
}

// Last errors of an exchange that mean more here than in general, where they also represent an HTTP status.
struct Silence {
    std::int32_t code;
    const char* text;
};
constexpr Silence kUnreached[] = {
    {status::kHttpCannotConnect, "nobody takes connections there; check address, proxy and network"},
    {status::kHttpNotFound, "the name is not known; check address, proxy and network"},
    {status::kHttpTimeout, "no answer came in time; check address, proxy and network"},
};

const char* whyUnreached(const CRequest::Attempt& attempt) {
    for (const Silence& row : kUnreached) {
        if (attempt.status == status::kHttpStatus && attempt.httpStatus == 0 &&
            ATL2::convertLastError(attempt.lastError) == row.code) {
            return row.text;
        }
    }
    return nullptr;
}

const char* remedyOfHttp(unsigned long httpStatus) {
    constexpr unsigned long kProxyLogin = 407;
    constexpr unsigned long kFirstOfServerErrors = 500;
    if (httpStatus == kProxyLogin) {
        return "the proxy wants a login; choose another one (--proxy)";
    }
    return httpStatus >= kFirstOfServerErrors ? "try again later, or ask its operator" : "check its address (--url)";
}

std::string describe(const CRequest::Attempt& attempt, const std::vector<RejectedResponse>& rejected) {
    const std::string address = attempt.address.empty() ? "(empty address)" : utf8(attempt.address);
    if (attempt.kind == CRequest::kRedirected) {
        return address + ": redirected with HTTP status " + std::to_string(attempt.httpStatus);
    }
    for (const RejectedResponse& row : rejected) {
        if (row.address == attempt.address && row.rejection.code == attempt.status) {
            return address + ": verification: " + explain(row.rejection).text;
        }
    }
    if (attempt.status != status::kHttpStatus) {
        return address + ": " + stepOf(attempt) + ": " + textOf(attempt.status);
    }
    if (attempt.httpStatus != 0) {
        return address + ": answered with HTTP status " + std::to_string(attempt.httpStatus) + "; " +
               remedyOfHttp(attempt.httpStatus);
    }
    if (const char* why = whyUnreached(attempt); why != nullptr) {
        return address + ": could not be reached: " + why;
    }
    return address + ": gave no usable answer: " + textOf(ATL2::convertLastError(attempt.lastError));
}

// The refusal of the attempt that came closest to an answer, the first of equals.
std::int32_t deepestRefusal(const std::vector<CRequest::Attempt>& attempts) {
    const CRequest::Attempt* best = nullptr;
    for (const CRequest::Attempt& attempt : attempts) {
        if (attempt.kind == CRequest::kAsked && attempt.status != 0 &&
            (best == nullptr || attempt.level > best->level)) {
            best = &attempt;
        }
    }
    return best == nullptr ? status::kFail : best->status;
}

std::string summary(const std::vector<CRequest::Attempt>& attempts) {
    std::size_t numAsked = 0;
    for (const CRequest::Attempt& attempt : attempts) {
        if (attempt.kind == CRequest::kAsked && whyUnreached(attempt) == nullptr) {
            return "no responder gave an answer to trust";
        }
        numAsked += attempt.kind == CRequest::kAsked ? 1 : 0;
    }
    return numAsked == 1 ? "the only responder asked could not be reached"
                         : "none of " + std::to_string(numAsked) + " responders could be reached";
}

}  // namespace

std::string codeText(std::int32_t code) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned int>(code));
    return text;
}

CheckError explain(std::int32_t code, const std::string& step) {
    return {code, step + ": " + textOf(code)};
}

CheckError explain(const Rejection& rejection) {
    return {rejection.code, rejection.step + (": " + reasonOf(rejection))};
}

std::string reasonOf(const Rejection& rejection) {
    return rejection.text.empty() ? textOf(rejection.code) : withRemedy(rejection.code, rejection.text);
}

CheckError explainCaught(const std::string& step) {
    try {
        throw;
    } catch (const InputError& failure) {
        return {failure.code(), step + ": " + failure.reason()};
    } catch (const ATL::CAtlException& failure) {
        // Whatever the status is: unreadable settings cause many failures.
        const std::string mistake = settingsMistake();
        return mistake.empty() ? explain(failure.status(), step) : CheckError{status::kNoPolicy, step + ": " + mistake};
    } catch (const std::exception& failure) {
        return {status::kFail, step + ": " + failure.what()};
    }
}

CheckError explainSend(std::int32_t code, const CRequest& request, const std::vector<RejectedResponse>& rejected) {
    const std::vector<CRequest::Attempt>& attempts = request.get_Attempts();
    if (code == 0) {
        code = deepestRefusal(attempts);
    }
    if (attempts.empty()) {
        return explain(code, "choosing a responder");
    }
    if (attempts.size() == 1) {
        return {code, describe(attempts.front(), rejected)};
    }
    std::string text = summary(attempts);
    std::size_t numSkipped = 0;
    for (const CRequest::Attempt& attempt : attempts) {
        if (attempt.kind == CRequest::kSkipped) {
            ++numSkipped;
        } else {
            text += " | " + describe(attempt, rejected);
        }
    }
    if (numSkipped != 0) {
        text += " | " + std::to_string(numSkipped) + " more not asked: " + textOf(status::kNotAsked);
    }
    return {code, text};
}

}  // namespace tallow::cli
