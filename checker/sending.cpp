// Sends a request as it is, without verifying what comes back.
#include "checker/attempt_text.h"
#include "checker/call.h"
#include "checker/input.h"
#include "checker/judge.h"
#include "checker/policy_reason.h"
#include "checker/text/certificate_text.h"
#include "checker/text/safe_text.h"
#include "client/transport/responder_exchange.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace tallow {

namespace {

using Orvane::PKI::OCSP::Client::CRequest;
using Orvane::PKI::OCSP::Client::ResponderExchange;
using rules::Rejection;
using rules::Rule;

std::optional<Rejection> exchange(Call& call, Input bytes, const std::string& url, Sent& sent, Rule& rule) {
    CRequest& request = call.request();
    request.Import(bytes.bytes.data(), static_cast<unsigned long>(bytes.bytes.size()));
    const NonceRule nonce{ResponderExchange::nonceOf(request), false, true};
    ResponderExchange exchange = namingPolicy(request, [&] { return ResponderExchange(request); });
    rule = Rule::kForm;
    std::optional<Rejection> rejection;
    bool isAnswered = false;
    try {
        const Orvane::CBlob body = exchange.ask({text::wide(url), true});
        isAnswered = true;
        sent.answer = bytesOf(body);
        rejection = Examination(call, nonce).read(body);
        static_cast<void>(exchange.mustRepeat(rejection ? rejection->code : status::kOk));
    } catch (const ATL::CAtlException& failure) {
        rejection = {failure.status() != status::kOk ? failure.status() : status::kFail, Rule::kForm, ""};
    }
    for (const CRequest::Attempt& attempt : request.get_Attempts()) {
        const bool isLast = &attempt == &request.get_Attempts().back();
        sent.attempts.push_back(attemptOf(attempt, isLast && isAnswered && rejection ? &*rejection : nullptr));
        namePolicy(sent.attempts.back(), request, url);
    }
    return rejection;
}

}  // namespace

Sent Checker::send(Input request, const std::string& url) const {
    Sent sent;
    Rule rule = Rule::kPolicy;
    std::optional<Rejection> rejection;
    try {
        Call call(*data_, {});
        rule = Rule::kRequest;
        rejection = exchange(call, request, url, sent, rule);
    } catch (...) {
        rejection = caughtRejection(rule);
    }
    sent.status = rejection ? rejection->code : status::kOk;
    if (rejection) {
        sent.cause = sent.attempts.empty() ? rules::nameOf(rejection->rule) + (": " + reasonOf(*rejection))
                                           : causeOf(sent.attempts);
        nameBrokenSettings(sent.cause);
    }
    return sent;
}

}  // namespace tallow
