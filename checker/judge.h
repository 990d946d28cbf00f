// One response: every check between its octets and a verdict. Private to the library.
#pragma once

#include <optional>

#include "checker/call.h"
#include "checker/rules/entry_rules.h"
#include "checker/rules/rejection.h"
#include "client/response/response.h"

namespace tallow {

struct CertificateToCheck;

/// How the nonce counts.
struct NonceRule {
    std::optional<Orvane::CBlob> sent;  // in the form of CResponse::VerifyNonce; empty: none; absent: not known
    bool isRequired = false;            // a response without it is rejected
    bool isLive = false;                // the response was just asked for, so the policy's ResponseAccuracy counts
};

/// A response that is examined step by step. Each step may be taken once, in this order; after a rejection no further
/// one. Each throws what reading the response throws, which counts as a rejection.
class Examination {
public:
    /// `call` must outlive the object.
    Examination(Call& call, const NonceRule& nonce) : call_(call), nonce_(nonce) {}

    /// Decodes it and compares the nonce.
    std::optional<rules::Rejection> read(const Orvane::CBlob& bytes);

    /// The same, then finds the signer and checks it.
    std::optional<rules::Rejection> prove(const Orvane::CBlob& bytes);

    /// After `read`: whether the response has entries that the request asked about, and their times fit the clock.
    /// Nothing is verified.
    std::optional<rules::Rejection> rejectEntries(const Orvane::PKI::OCSP::Client::CRequest& request) const;

    /// Looks the subject up and fills the verdict when it is found, except for the octets of the response.
    std::optional<rules::Rejection> answer(const rules::Subject& subject, Verdict& verdict) const;

    /// How far prove or answer got.
    Step reached() const { return reached_; }
    const Orvane::PKI::OCSP::Client::CResponse& response() const { return response_; }
    /// Null when it was not found.
    const _CERT_CONTEXT* signer() const { return signer_; }
    /// Whether it is a successful response that was decoded, proven or not.
    bool isDecoded() const { return isDecoded_; }
    /// The number of an OCSPResponseStatus other than successful.
    std::optional<std::uint32_t> refusal() const { return refusal_; }

private:
    std::optional<rules::Rejection> rejectNonce();
    std::string withoutNonce() const;
    rules::RuleClock clock() const;

    Call& call_;
    const NonceRule nonce_;
    Orvane::PKI::OCSP::Client::CResponse response_;
    const _CERT_CONTEXT* signer_ = nullptr;
    Freshness freshness_ = Freshness::kNone;
    std::optional<std::uint32_t> refusal_;
    bool isDecoded_ = false;
    mutable Step reached_ = Step::kDecoding;
    rules::EntryTable entries_;
};

/// With Options::verifyChain: a good certificate with an invalid chain is not good; one that is revoked stays so.
void verifyChain(Call& call, const CertificateToCheck& target, Verdict& verdict);

/// The step to which a rule belongs.
Step stepOf(rules::Rule rule);

/// Runs a step of an examination; what it throws becomes a rejection by `rule`.
template <typename Run>
std::optional<rules::Rejection> rejectionOf(rules::Rule rule, Run run);

/// The exception that is being handled, as a rejection. Lets std::bad_alloc pass.
rules::Rejection caughtRejection(rules::Rule rule);

/// Marks a verdict as unproven for this reason.
void reject(Verdict& verdict, const rules::Rejection& rejection);

/// Adds to the cause of an unproven verdict that this time was asked about.
void limitTo(Verdict& verdict, Time when);

/// The status that goes with an answer: 0 for good.
std::int32_t statusOf(Answer answer);

template <typename Run>
std::optional<rules::Rejection> rejectionOf(rules::Rule rule, Run run) {
    try {
        return run();
    } catch (...) {
        return caughtRejection(rule);
    }
}

}  // namespace tallow
