// Sends a request as it is, without verifying what comes back.
#include "checker/asking.h"
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

// Nonce and dates as in a check; nothing is verified.
std::optional<Rejection> rejectAnswer(Call& call, const Orvane::CBlob& body, const NonceRule& nonce) {
    Examination examination(call, nonce);
    std::optional<Rejection> rejection = examination.read(body);
    if (rejection && !examination.isDecoded() && !examination.refusal()) {
        describeForm(body, *rejection);
    }
    return rejection ? rejection : rejectionOf(Rule::kEntry, [&] { return examination.rejectEntries(call.request()); });
}

std::optional<Rejection> exchange(Call& call, Input bytes, const std::string& url, ResponderSource source, Sent& sent,
                                  Rule& rule) {
    const auto start = std::chrono::steady_clock::now();
    CRequest& request = call.request();
    request.Import(bytes.bytes.data(), static_cast<unsigned long>(bytes.bytes.size()));
    const Orvane::CBlob& own = ResponderExchange::nonceOf(request);
    const NonceRule nonce{own, own.cbData() != 0 && nonceOf(call) == Nonce::kRequire, true};
    ResponderExchange exchange = namingPolicy(request, [&] { return ResponderExchange(request); });
    rule = Rule::kForm;
    std::optional<Rejection> rejection;
    bool isAnswered = false;
    try {
        const Orvane::CBlob body = exchange.ask({text::wide(url), isChosen(source)});
        isAnswered = true;
        sent.answer = bytesOf(body);
        rejection = rejectAnswer(call, body, nonce);
        exchange.end(rejection ? rejection->code : status::kOk);
    } catch (const ATL::CAtlException& failure) {
        rejection = {failure.status() != status::kOk ? failure.status() : status::kFail, Rule::kForm, ""};
    }
    sent.attempts = attemptsOf(request, 0, isAnswered && rejection ? &*rejection : nullptr, factsOf(call));
    for (Attempt& attempt : sent.attempts) {
        attempt.source = source;
        namePolicy(attempt, request, url);
    }
    if (!sent.attempts.empty()) {
        Attempt& last = sent.attempts.back();
        last.duration = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
        if (rejection && !isAnswered) {
            rejection->code = last.status;  // says more than that nothing came
        }
    }
    return rejection;
}

}  // namespace

Sent Checker::send(Input request, const std::string& url) const {
    return send(request, url, ResponderSource::kCaller);
}

Sent Checker::send(Input request, const std::string& url, ResponderSource source) const {
    Sent sent;
    Rule rule = Rule::kPolicy;
    std::optional<Rejection> rejection;
    try {
        Call call(*data_, {});
        rule = Rule::kRequest;
        rejection = exchange(call, request, url, source, sent, rule);
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
