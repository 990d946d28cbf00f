#include "checker/asking.h"

#include <algorithm>
#include <utility>

#include "checker/attempt_text.h"
#include "checker/input.h"
#include "checker/policy_reason.h"
#include "checker/text/safe_text.h"
#include "checker/text/status_text.h"
#include "client/policy/address_masks.h"
#include "client/policy/policy_binding.h"
#include "client/policy/request_policy.h"
#include "client/transport/responder_exchange.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace tallow {

namespace {

using Orvane::CBlob;
using Orvane::PKI::OCSP::Client::CRequest;
using Orvane::PKI::OCSP::Client::CRequestPolicy;
using Orvane::PKI::OCSP::Client::PolicyBinding;
using Orvane::PKI::OCSP::Client::ResponderExchange;
using rules::Rejection;
using rules::Rule;

// Response statuses and HTTP statuses with which responders refuse an extension that they do not know.
bool mayRefuseNonce(std::uint32_t responseStatus) {
    constexpr std::uint32_t kMalformedRequest = 1;
    constexpr std::uint32_t kInternalError = 2;
    constexpr std::uint32_t kUnauthorized = 6;
    return responseStatus == kMalformedRequest || responseStatus == kInternalError || responseStatus == kUnauthorized;
}

bool mayRefuseNonceByHttp(unsigned long httpStatus) {
    constexpr unsigned long kBadRequest = 400;
    constexpr unsigned long kInternalServerError = 500;
    return httpStatus == kBadRequest || httpStatus == kInternalServerError;
}

}  // namespace

Nonce nonceOf(const Call& call) {
    PolicyBinding<CRequestPolicy> policy;
    policy.bind();
    if (const std::optional<Nonce>& chosen = call.checker().options.nonce) {
        // An option does not lift what the administrator requires. Without a nonce the request is refused elsewhere.
        return policy->RequireNonce && *chosen == Nonce::kTry ? Nonce::kRequire : *chosen;
    }
    if (policy->RequireNonce) {
        return Nonce::kRequire;
    }
    return policy->DisableNonce || !policy->UseNonceByDefault ? Nonce::kOff : Nonce::kTry;
}

void fillRequest(Call& call, const CertificateToCheck& target, Nonce nonce) {
    const std::string& hash = call.checker().options.hashOid;
    namingHash(hash, [&] {
        call.request().put_SRCertIDFromCert(target.certificate.get(), target.issuer.get(), 0,
                                            hash.empty() ? nullptr : hash.c_str());
    });
    call.request().put_UseNonce(nonce != Nonce::kOff);
}

Asking::Asking(Call& call, const CertificateToCheck& target, Nonce nonce, Verdict& verdict)
    : call_(call), target_(target), nonce_(nonce), verdict_(verdict) {}

std::vector<Asking::Responder> Asking::responders() {
    std::vector<Responder> all;
    for (const std::string& url : call_.checker().options.responders) {
        all.push_back({url, true});
    }
    if (!all.empty()) {
        return all;
    }
    std::vector<ResponderExchange::Candidate> skipped;
    for (const ResponderExchange::Candidate& candidate : exchange_->candidates(skipped)) {
        all.push_back({text::utf8(candidate.address), candidate.isNamed});
    }
    for (const ResponderExchange::Candidate& candidate : skipped) {
        Attempt& attempt = verdict_.attempts.emplace_back();
        attempt.url = text::safeUrl(text::utf8(candidate.address));
        attempt.status = status::kNotAsked;
        attempt.isSkipped = true;
        attempt.reason = text::statusText(status::kNotAsked);
    }
    return all;
}

void Asking::useNonce(bool isWanted) {
    if (hasNonce_ != isWanted) {
        call_.request().put_UseNonce(isWanted);
        hasNonce_ = isWanted;
    }
}

void Asking::run() {
    fillRequest(call_, target_, nonce_);
    hasNonce_ = nonce_ != Nonce::kOff;
    namingPolicy(call_.request(), [this] { exchange_.emplace(call_.request()); });
    std::vector<Attempt> skipped;
    const std::vector<Responder> all = responders();
    std::swap(skipped, verdict_.attempts);
    for (const Responder& responder : all) {
        if (!verdict_.attempts.empty() && call_.isOver()) {
            Attempt& attempt = skipped.emplace_back();
            attempt.url = text::safeUrl(responder.url);
            attempt.status = status::kNotAsked;
            attempt.isSkipped = true;
            attempt.reason = text::statusText(status::kNotAsked);
            continue;
        }
        Outcome outcome = ask(responder);
        if (!outcome.rejection && verdict_.answer != Answer::kUnknown) {
            break;
        }
        keepBest(outcome);
    }
    verdict_.attempts.insert(verdict_.attempts.end(), skipped.begin(), skipped.end());
    if (verdict_.answer == Answer::kUnproven) {
        explain();
    }
}

// Twice when the responder may have refused the request because of its nonce.
Asking::Outcome Asking::ask(const Responder& responder) {
    useNonce(nonce_ != Nonce::kOff);
    Outcome outcome = exchange(responder);
    if (outcome.refusesNonce && nonce_ == Nonce::kTry && !call_.isOver()) {
        useNonce(false);
        Outcome plain = exchange(responder);
        if (!plain.rejection) {
            verdict_.freshness = Freshness::kNonceNotReturned;
            return plain;
        }
        return plain.reached >= outcome.reached ? plain : outcome;
    }
    return outcome;
}

Asking::Outcome Asking::exchange(const Responder& responder) {
    Outcome outcome;
    bool mustRepeat = true;
    for (int round = 0; round < 2 && mustRepeat; ++round) {
        const auto start = std::chrono::steady_clock::now();
        outcome = Outcome();
        mustRepeat = false;
        CBlob body;
        try {
            body = call_.checker().options.exchange ? exchangeByCaller(responder, outcome.thrown)
                                                    : exchange_->ask({text::wide(responder.url), responder.isNamed});
            outcome.isAnswered = true;
        } catch (const std::bad_alloc&) {
            throw;
        } catch (const ATL::CAtlException& failure) {
            outcome.rejection = {failure.status() != status::kOk ? failure.status() : status::kFail, Rule::kForm, ""};
        }
        if (!outcome.isAnswered && hasNonce_ && !call_.request().get_Attempts().empty()) {
            outcome.refusesNonce = mayRefuseNonceByHttp(call_.request().get_Attempts().back().httpStatus);
        }
        if (outcome.isAnswered) {
            judge(body, responder, outcome);
            if (!call_.checker().options.exchange) {
                mustRepeat = exchange_->mustRepeat(outcome.rejection ? outcome.rejection->code : verdict_.status);
            }
        }
        record(responder, outcome, start);
    }
    return outcome;
}

// What the administrator says about addresses holds for every exchange; the built-in one looks itself.
void Asking::requirePermitted(const std::string& url) {
    PolicyBinding<CRequestPolicy> policy;
    policy.bind();
    const std::wstring address = text::wide(url);
    const std::wstring proxy = call_.request().get_ProxyAddress();
    Orvane::PKI::OCSP::Client::checkHttpPolicies(*policy,
                                                 {.ocspAddress = address.c_str(), .proxyAddress = proxy.c_str()});
}

CBlob Asking::exchangeByCaller(const Responder& responder, std::string& thrown) {
    requirePermitted(responder.url);
    const Bytes request = bytesOf(exchange_->encoded());
    std::optional<Bytes> body;
    try {
        call_.outside([&] { body = call_.checker().options.exchange(responder.url, request, call_.deadline()); });
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& failure) {
        thrown = text::safeLine(failure.what());
        body.reset();
    } catch (...) {  // whatever a caller throws is no answer
        body.reset();
    }
    if (!body) {
        ATL::AtlThrowImpl(status::kHttpStatus);
    }
    if (body->size() > kLargestAnswer) {
        ATL::AtlThrowImpl(status::kInvalidData);
    }
    return {body->data(), body->size()};
}

void Asking::judge(const CBlob& body, const Responder& responder, Outcome& outcome) {
    Verdict found;
    const NonceRule rule{hasNonce_ ? ResponderExchange::nonceOf(call_.request()) : CBlob(), nonce_ == Nonce::kRequire,
                         true};
    Examination examination(call_, rule);
    outcome.rejection = examination.prove(body);
    if (!outcome.rejection) {
        outcome.rejection = rejectionOf(Rule::kEntry, [&] { return examination.answer(target_.subject(), found); });
    }
    outcome.reached = outcome.rejection ? stepOf(outcome.rejection->rule) : Step::kProven;
    outcome.refusesNonce = hasNonce_ && examination.refusal() && mayRefuseNonce(*examination.refusal());
    if (outcome.rejection) {
        verdict_.unverified = bytesOf(body);
        return;
    }
    // After "unknown" the next answer replaces this one.
    found.subject = std::move(verdict_.subject);
    found.serial = std::move(verdict_.serial);
    found.attempts = std::move(verdict_.attempts);
    found.request = bytesOf(exchange_->encoded());
    found.response = bytesOf(body);
    found.responder = text::safeUrl(responder.url);
    verdict_ = std::move(found);
}

// The attempts that the request recorded, in the words of a verdict.
void Asking::record(const Responder& responder, const Outcome& outcome, std::chrono::steady_clock::time_point start) {
    const auto duration =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
    if (call_.checker().options.exchange) {
        Attempt& attempt = verdict_.attempts.emplace_back();
        attempt.url = text::safeUrl(responder.url);
        attempt.reached = outcome.reached;
        attempt.status = outcome.rejection ? outcome.rejection->code : status::kOk;
        attempt.duration = duration;
        if (outcome.rejection && outcome.isAnswered) {
            attempt.reason = rules::nameOf(outcome.rejection->rule) + (": " + reasonOf(*outcome.rejection));
        } else if (outcome.rejection && outcome.rejection->code == status::kHttpStatus) {
            attempt.reason = "gave no answer" + (outcome.thrown.empty() ? "" : ": " + outcome.thrown);
        } else if (outcome.rejection) {
            attempt.reason = text::statusText(outcome.rejection->code);
            namePolicy(attempt, call_.request(), responder.url);
        }
        return;
    }
    const std::vector<CRequest::Attempt>& recorded = call_.request().get_Attempts();
    for (; numRecorded_ < recorded.size(); ++numRecorded_) {
        const CRequest::Attempt& row = recorded[numRecorded_];
        const bool isRejected = outcome.isAnswered && outcome.rejection && numRecorded_ + 1 == recorded.size();
        Attempt& attempt = verdict_.attempts.emplace_back(attemptOf(row, isRejected ? &*outcome.rejection : nullptr));
        namePolicy(attempt, call_.request(), responder.url);
        if (numRecorded_ + 1 == recorded.size()) {
            attempt.reached = outcome.reached;
            attempt.status = outcome.rejection ? outcome.rejection->code : status::kOk;
            attempt.duration = duration;
            attempt.reason = outcome.rejection ? attempt.reason : "";
        }
    }
}

void Asking::keepBest(const Outcome& outcome) {
    if (!outcome.rejection || (best_ && outcome.reached <= bestReached_)) {
        return;
    }
    best_ = outcome.rejection;
    bestReached_ = outcome.reached;
}

void Asking::explain() {
    verdict_.request = bytesOf(exchange_->encoded());
    verdict_.reached = best_ ? bestReached_ : Step::kInput;
    verdict_.status = best_ ? best_->code : status::kNoResponder;
    verdict_.cause = verdict_.attempts.empty() ? "choosing a responder: " + text::statusText(status::kNoResponder)
                                               : causeOf(verdict_.attempts);
}

}  // namespace tallow
