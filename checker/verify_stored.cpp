// What a stored response says: about one certificate, about those of a request, or about all that it names.
#include <algorithm>

#include "checker/attempt_text.h"
#include "checker/call.h"
#include "checker/input.h"
#include "checker/judge.h"
#include "checker/policy_reason.h"
#include "checker/subject.h"
#include "checker/text/status_text.h"
#include "client/transport/responder_exchange.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace tallow {

namespace {

using Orvane::PKI::OCSP::CCertID;
using Orvane::PKI::OCSP::Client::CRequest;
using Orvane::PKI::OCSP::Client::ResponderExchange;
using rules::Rejection;
using rules::Rule;

class StoredResponse {
public:
    StoredResponse(const CheckerData& checker, const Stored& stored)
        : stored_(stored), call_(checker, {.at = stored.at, .isOffline = true}) {}

    /// Reads what the response is compared with.
    void readStored() {
        readRequest();
        readTarget();
    }
    std::vector<Verdict> verdictsOn(Input answer);

private:
    void readRequest();
    void readTarget();
    std::vector<rules::Subject> subjects(const Orvane::PKI::OCSP::Client::CResponse& response) const;
    Verdict verdictOn(const rules::Subject& subject) const;
    void addEvidence(std::vector<Verdict>& verdicts);

    const Stored& stored_;
    Call call_;
    std::optional<CRequest> request_;
    std::optional<CertificateToCheck> target_;
    Verdict named_;
};

Bytes serialOf(const CCertID& id) {
    return bytesOf(id.get_serialNumber());
}

void StoredResponse::readRequest() {
    if (!stored_.request) {
        return;
    }
    const Orvane::CBlob bytes = blobOf(stored_.request->bytes);
    try {
        request_.emplace().Import(bytes.pbData(), bytes.cbData());
    } catch (const ATL::CAtlException& failure) {
        throw BadInput(failure.status(), "the request cannot be read: " + text::statusText(failure.status()));
    }
    if (request_->get_SRNumber() == 0) {
        throw BadInput(status::kNotAnswered, "the request asks about no certificate, so that no answer says anything");
    }
}

void StoredResponse::readTarget() {
    if (stored_.certificate) {
        CertificateToCheck& target = target_.emplace(readCertificate(call_, stored_.certificate->bytes, named_));
        findIssuer(call_, target, stored_.issuer ? Input(stored_.issuer->bytes) : Input(std::string_view()));
    } else if (stored_.issuer) {
        for (const ATL2::CCertContext& issuer : certificatesIn(stored_.issuer->bytes, "the issuer")) {
            call_.add(issuer);
        }
    }
}

std::vector<rules::Subject> StoredResponse::subjects(const Orvane::PKI::OCSP::Client::CResponse& response) const {
    std::vector<rules::Subject> all;
    if (target_) {
        rules::Subject subject = target_->subject();
        for (unsigned long i = 0; request_ && i < request_->get_SRNumber(); ++i) {
            if (isAbout(subject, request_->get_SRCertID(i))) {
                subject.wantsHistory = request_->get_SRHistoricalRequest(i) != nullptr;
                break;
            }
        }
        all.push_back(std::move(subject));
        return all;
    }
    const unsigned long count = request_ ? request_->get_SRNumber() : response.get_SRNumber();
    for (unsigned long i = 0; i < count; ++i) {
        all.push_back({request_ ? request_->get_SRCertID(i) : response.get_SRCertID(i), nullptr, nullptr,
                       request_ && request_->get_SRHistoricalRequest(i) != nullptr});
    }
    return all;
}

Verdict StoredResponse::verdictOn(const rules::Subject& subject) const {
    Verdict verdict = named_;
    if (!target_) {
        verdict.serial = serialOf(subject.id);
    }
    return verdict;
}

std::vector<Verdict> StoredResponse::verdictsOn(Input answer) {
    const NonceRule nonce{request_ ? std::optional(ResponderExchange::nonceOf(*request_)) : std::nullopt, true, false};
    Examination examination(call_, nonce);
    std::optional<Rejection> rejection = examination.prove(blobOf(answer));
    if (rejection && !examination.isDecoded() && !examination.refusal()) {
        describeForm(blobOf(answer), *rejection, "name a file with an OCSP response");
    }
    std::vector<rules::Subject> all;
    if (!rejection || request_ || target_ || examination.isDecoded()) {
        const std::optional<Rejection> unreadable = rejectionOf(Rule::kEntry, [&]() -> std::optional<Rejection> {
            all = subjects(examination.response());
            return all.empty() ? std::optional(Rejection{status::kNotAnswered, Rule::kEntry}) : std::nullopt;
        });
        rejection = rejection ? rejection : unreadable;
    }
    std::vector<Verdict> verdicts;
    for (const rules::Subject& subject : all) {
        Verdict& verdict = verdicts.emplace_back(verdictOn(subject));
        const std::optional<Rejection> refused =
            rejection ? rejection : rejectionOf(Rule::kEntry, [&] { return examination.answer(subject, verdict); });
        if (refused) {
            reject(verdict, *refused);
        } else if (target_) {
            verifyChain(call_, *target_, verdict);
        } else if (call_.checker().options.verifyChain && verdict.answer != Answer::kRevoked) {
            reject(verdict, {status::kInvalidArgument, Rule::kChain,
                             "the chain cannot be validated, since only the number of the certificate is known; pass "
                             "the certificate"});
        }
    }
    if (verdicts.empty()) {
        reject(verdicts.emplace_back(named_), *rejection);
    }
    addEvidence(verdicts);
    // Once each: an answer may have thousands of entries.
    const auto proven = std::find_if(verdicts.begin(), verdicts.end(),
                                     [](const Verdict& verdict) { return verdict.answer != Answer::kUnproven; });
    if (proven != verdicts.end()) {
        proven->response = Bytes(answer.bytes.begin(), answer.bytes.end());
    }
    if (verdicts.front().answer == Answer::kUnproven) {
        verdicts.front().unverified = Bytes(answer.bytes.begin(), answer.bytes.end());
    }
    return verdicts;
}

// An answer may have thousands of entries, and hostile certificates long names.
void StoredResponse::addEvidence(std::vector<Verdict>& verdicts) {
    constexpr std::size_t kMostWithEvidence = 16;
    Evidence evidence = call_.takeEvidence();
    if (request_) {
        evidence.hashOid = request_->get_SRCertID(0).get_hashAlgorithm().get_algorithm();
    }
    for (std::size_t i = 0; i < std::min(verdicts.size(), kMostWithEvidence); ++i) {
        verdicts[i].evidence = evidence;
    }
}

}  // namespace

std::vector<Verdict> Checker::verify(Input answer, const Stored& stored) const {
    Rule rule = Rule::kPolicy;
    std::vector<Verdict> verdicts;
    try {
        StoredResponse response(*data_, stored);
        rule = Rule::kRequest;
        response.readStored();
        rule = Rule::kForm;
        verdicts = response.verdictsOn(answer);
    } catch (...) {
        verdicts.resize(1);
        reject(verdicts.front(), caughtRejection(rule));
    }
    for (Verdict& verdict : verdicts) {
        if (stored.at) {
            limitTo(verdict, *stored.at);
        }
        if (verdict.answer == Answer::kUnproven) {
            nameBrokenSettings(verdict.cause);
        }
    }
    return verdicts;
}

}  // namespace tallow
