#include "checker/asking.h"

#include <algorithm>
#include <utility>

#include "checker/attempt_text.h"
#include "checker/input.h"
#include "checker/policy_reason.h"
#include "checker/silent_responders.h"
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

// A responder that signs in advance may have a newer response for requests without a nonce.
bool isStaleWithoutNonce(const Examination& examination, const std::optional<Rejection>& rejection) {
    return rejection && rejection->rule == Rule::kEntry && !examination.response().get_HasNonce() &&
           (rejection->code == status::kNotCurrent || rejection->code == status::kThisUpdateTooOld);
}

bool namesIssuerBySha1(const CRequest& request) {
    constexpr std::string_view kSha1 = "1.3.14.3.2.26";
    return request.get_SRNumber() != 0 && request.get_SRCertID(0).get_hashAlgorithm().get_algorithm() == kSha1;
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
    if (target.id) {
        call.request().put_SRCertID(*target.id, 0);
    } else {
        namingHash(hash, [&] {
            call.request().put_SRCertIDFromCert(target.certificate.get(), target.issuer.get(), 0,
                                                hash.empty() ? nullptr : hash.c_str());
        });
    }
    call.request().put_UseNonce(nonce != Nonce::kOff);
}

bool isChosen(ResponderSource source) {
    return source != ResponderSource::kCertificate && source != ResponderSource::kUntrusted;
}

Asking::Asking(Call& call, const CertificateToCheck& target, Nonce nonce, Verdict& verdict)
    : call_(call), target_(target), nonce_(nonce), verdict_(verdict) {}

std::vector<Asking::Responder> Asking::responders(std::vector<Attempt>& skipped) {
    std::vector<Responder> all;
    const Options& options = call_.checker().options;
    for (const std::string& url : options.responders) {
        all.push_back({url, isChosen(options.respondersFrom), options.respondersFrom});
    }
    if (!all.empty()) {
        return all;
    }
    std::vector<ResponderExchange::Candidate> surplus;
    for (const ResponderExchange::Candidate& candidate : exchange_->candidates(surplus)) {
        all.push_back({text::utf8(candidate.address), candidate.isNamed,
                       candidate.isOfPolicy ? ResponderSource::kPolicy
                       : candidate.isNamed  ? ResponderSource::kIssuerProperty
                                            : ResponderSource::kCertificate});
    }
    for (const ResponderExchange::Candidate& candidate : surplus) {
        skipped.push_back(skippedAttempt(text::utf8(candidate.address), ResponderSource::kCertificate,
                                         "it comes after the " + std::to_string(exchange_->maxResponders()) +
                                             " responders of a certificate that are asked (setting max_responders)"));
    }
    return all;
}

std::string Asking::objectionTo(const Responder& responder) const {
    if (!verdict_.attempts.empty() && call_.isOver()) {
        return "the time limit of the check was used up before";
    }
    const std::shared_ptr<SilentResponders>& silent = call_.checker().options.silent;
    const std::optional<std::string> reason = silent ? silent->reasonFor(responder.url) : std::nullopt;
    return reason ? "earlier in this run it " + *reason : std::string();
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
    for (const Responder& responder : responders(skipped)) {
        if (const std::string objection = objectionTo(responder); !objection.empty()) {
            skipped.push_back(skippedAttempt(responder.url, responder.source, objection));
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
    const auto start = std::chrono::steady_clock::now();
    const bool isByCaller = static_cast<bool>(call_.checker().options.exchange);
    Outcome outcome;
    CBlob body;
    call_.notes().beginExchange();
    try {
        body = isByCaller ? exchangeByCaller(responder, outcome.thrown)
                          : exchange_->ask({text::wide(responder.url), responder.isNamed});
        outcome.isAnswered = true;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const ATL::CAtlException& failure) {
        outcome.rejection = {failure.status() != status::kOk ? failure.status() : status::kFail, Rule::kForm, ""};
    }
    if (outcome.isAnswered) {
        judge(body, responder, outcome);
        if (!isByCaller) {
            exchange_->end(outcome.rejection ? outcome.rejection->code : verdict_.status);
        }
    } else if (hasNonce_ && !call_.request().get_Attempts().empty()) {
        outcome.refusesNonce = mayRefuseNonceByHttp(call_.request().get_Attempts().back().httpStatus);
    }
    record(responder, outcome, start);
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
        thrown = "the answer has " + std::to_string(body->size()) + " octets, and at most " +
                 std::to_string(kLargestAnswer) + " are read; check the address of the responder";
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
    outcome.refusesNonce = hasNonce_ && (examination.refusal() ? mayRefuseNonce(*examination.refusal())
                                                               : isStaleWithoutNonce(examination, outcome.rejection));
    if (outcome.rejection) {
        explainRejection(body, examination, outcome);
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

void Asking::explainRejection(const CBlob& body, const Examination& examination, Outcome& outcome) {
    Rejection& rejection = *outcome.rejection;
    constexpr std::uint32_t kUnauthorized = 6;
    if (examination.refusal() == kUnauthorized && !namesIssuerBySha1(call_.request())) {
        rejection.text.erase(rejection.text.rfind("; "));
        rejection.text += "; name the issuer by its SHA-1 hash, the only one that many responders know";
        outcome.remedy = Remedy::kSha1;
    } else if (!examination.isDecoded() && !examination.refusal()) {
        describeForm(body, rejection);
        const bool isAddress = rejection.text.find("check the address") != std::string::npos;
        outcome.remedy = isAddress ? Remedy::kAddress : Remedy::kNone;
    } else if (rejection.rule == Rule::kNonce && hasNonce_ && !examination.response().get_HasNonce()) {
        outcome.remedy = call_.checker().options.nonce == Nonce::kRequire ? Remedy::kTryNonce : Remedy::kNone;
    }
}

Attempt Asking::attemptOfCaller(const Responder& responder, const Outcome& outcome) const {
    Attempt attempt;
    attempt.url = text::safeUrl(responder.url);
    if (!outcome.rejection) {
        return attempt;
    }
    if (outcome.isAnswered) {
        attempt.reason = rules::nameOf(outcome.rejection->rule) + (": " + reasonOf(*outcome.rejection));
    } else if (outcome.rejection->code == status::kHttpStatus) {
        attempt.reason = "gave no answer" + (outcome.thrown.empty() ? "" : ": " + outcome.thrown);
    } else {
        attempt.reason = outcome.thrown.empty() ? text::statusText(outcome.rejection->code) : outcome.thrown;
    }
    return attempt;
}

void Asking::record(const Responder& responder, Outcome& outcome, std::chrono::steady_clock::time_point start) {
    const bool isByCaller = static_cast<bool>(call_.checker().options.exchange);
    std::vector<Attempt> attempts =
        isByCaller
            ? std::vector<Attempt>{attemptOfCaller(responder, outcome)}
            : attemptsOf(call_.request(), numRecorded_,
                         outcome.isAnswered && outcome.rejection ? &*outcome.rejection : nullptr, factsOf(call_));
    numRecorded_ = call_.request().get_Attempts().size();
    if (attempts.empty()) {
        return;
    }
    Attempt& last = attempts.back();
    if (outcome.rejection && !outcome.isAnswered && !isByCaller) {
        outcome.rejection->code = last.status;  // says more than that nothing came
    }
    last.reached = outcome.reached;
    last.status = outcome.rejection ? outcome.rejection->code : status::kOk;
    last.remedy = outcome.remedy != Remedy::kNone ? outcome.remedy : last.remedy;
    last.duration = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
    last.reason = outcome.rejection ? last.reason : "";  // of an accepted answer, it would repeat the verdict
    if (attempts.size() == 1) {  // else a redirect led there, which anyone can send after much of the time
        rememberSilence(last);
    }
    for (Attempt& attempt : attempts) {
        attempt.source = responder.source;
        namePolicy(attempt, call_.request(), responder.url);
        verdict_.attempts.push_back(std::move(attempt));
    }
}

// A responder that was asked when little time was left had no fair chance.
void Asking::rememberSilence(const Attempt& attempt) const {
    const std::shared_ptr<SilentResponders>& silent = call_.checker().options.silent;
    if (silent && isUnreached(attempt) && (!call_.isOver() || attempt.duration >= call_.timeout() / 2)) {
        silent->add(attempt.url, attempt.reason);
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
    verdict_.status = best_ ? best_->code : verdict_.attempts.empty() ? status::kNoResponder : status::kNotAsked;
    verdict_.cause = verdict_.attempts.empty() ? "choosing a responder: " + text::statusText(status::kNoResponder)
                                               : causeOf(verdict_.attempts);
}

}  // namespace tallow
