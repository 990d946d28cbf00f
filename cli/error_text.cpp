#include "cli/error_text.h"

#include <cstdio>

#include "cli/safe_text.h"
#include "handles/last_error.h"
#include "handles/status.h"

namespace tallow::cli {

namespace {

using Orvane::PKI::OCSP::Client::CRequest;

const char* stepName(unsigned long level) {
    constexpr const char* kSteps[] = {"",
                                      "address policy",
                                      "exchange",
                                      "HTTP status",
                                      "decoding",
                                      "response status",
                                      "check of producedAt",
                                      "verification"};
    return level < std::size(kSteps) ? kSteps[level] : "verification";
}

std::string describe(CRequest::Attempt const& attempt) {
    std::string text = utf8(attempt.address) + ": ";
    if (attempt.status == status::kHttpStatus && attempt.httpStatus == 0) {
        return text + "could not be reached: " + textOf(ATL2::convertLastError(attempt.lastError));
    }
    if (attempt.status == status::kHttpStatus) {
        return text + "answered with HTTP status " + std::to_string(attempt.httpStatus);
    }
    return text + stepName(attempt.level) + ": " + textOf(attempt.status);
}

}  // namespace

std::string codeText(std::int32_t code) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned int>(code));
    return text;
}

std::string textOf(std::int32_t code) {
    const char* text = status::text(code);
    return text == nullptr ? "status " + codeText(code) : text;
}

std::int32_t firstRefusal(CRequest const& request) {
    CRequest::Attempt const* best = nullptr;
    for (CRequest::Attempt const& attempt : request.get_Attempts()) {
        if (attempt.status != 0 && (best == nullptr || attempt.level > best->level)) {
            best = &attempt;
        }
    }
    return best == nullptr ? status::kFail : best->status;
}

CheckError explain(std::int32_t code, CRequest const* request) {
    CheckError error;
    error.code = code;
    if (request != nullptr) {
        for (CRequest::Attempt const& attempt : request->get_Attempts()) {
            error.attempts.push_back(describe(attempt));
        }
    }
    if (error.attempts.size() == 1) {
        error.text = error.attempts.front();
        error.attempts.clear();
    } else if (code == status::kHttpStatus) {
        error.text = "no responder gave an answer";
    } else {
        error.text = textOf(code);
    }
    return error;
}

}  // namespace tallow::cli
