// Asks responders about one certificate until an answer is verified. Private to the library.
#pragma once

#include "checker/call.h"
#include "checker/judge.h"
#include "checker/subject.h"
#include "client/transport/responder_exchange.h"

namespace tallow {

/// The largest answer that is taken from a caller's exchange, in octets, like that of the built-in one.
inline constexpr std::size_t kLargestAnswer = 64U << 20;

/// Which nonce a call uses: the option, else what the policy says.
Nonce nonceOf(const Call& call);

/// Names the certificate in the request of the call, with the hash and the nonce that options and policy say, or with
/// the hash of its identifier.
void fillRequest(Call& call, const CertificateToCheck& target, Nonce nonce);

/// Whether the caller or the administrator chose the address: it is then asked wherever it leads.
bool isChosen(ResponderSource source);

/// The whole check of one certificate. `nonce` overrides options and policy.
Verdict checkCertificate(const CheckerData& checker, Input certificate, Input issuer, std::optional<Nonce> nonce);

/// Where to ask: the responders of the options, else those of the certificate and the administrator.
class Asking {
public:
    /// The request must have been filled. All arguments must outlive the object.
    Asking(Call& call, const CertificateToCheck& target, Nonce nonce, Verdict& verdict);

    /// Fills the verdict.
    void run();

private:
    struct Responder {
        std::string url;
        bool isNamed = false;
        ResponderSource source = ResponderSource::kCaller;
    };
    struct Outcome {
        std::optional<rules::Rejection> rejection;
        bool isAnswered = false;  // a body came
        Step reached = Step::kExchange;
        bool refusesNonce = false;  // it may answer without
        std::string thrown = {};    // why the caller's exchange gave no usable answer
        Remedy remedy = Remedy::kNone;
    };

    std::vector<Responder> responders(std::vector<Attempt>& skipped);
    // Why a responder is not asked; empty when it is.
    std::string objectionTo(const Responder& responder) const;
    Outcome ask(const Responder& responder);
    Outcome exchange(const Responder& responder);
    void requirePermitted(const std::string& url);
    Orvane::CBlob exchangeByCaller(const Responder& responder, std::string& thrown);
    void judge(const Orvane::CBlob& body, const Responder& responder, Outcome& outcome);
    // Says more about a rejected answer: what it looks like, and what helps.
    void explainRejection(const Orvane::CBlob& body, const Examination& examination, Outcome& outcome);
    Attempt attemptOfCaller(const Responder& responder, const Outcome& outcome) const;
    void record(const Responder& responder, Outcome& outcome, std::chrono::steady_clock::time_point start);
    void rememberSilence(const Attempt& attempt) const;
    void keepBest(const Outcome& outcome);
    void explain();
    void useNonce(bool isWanted);

    Call& call_;
    const CertificateToCheck& target_;
    const Nonce nonce_;
    Verdict& verdict_;
    std::optional<Orvane::PKI::OCSP::Client::ResponderExchange> exchange_;
    std::optional<rules::Rejection> best_;
    Step bestReached_ = Step::kInput;
    bool hasNonce_ = false;
    std::size_t numRecorded_ = 0;
};

}  // namespace tallow
