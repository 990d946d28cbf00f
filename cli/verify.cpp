#include "cli/verify.h"

#include <optional>

#include "cli/answer.h"
#include "cli/certificate_text.h"
#include "cli/entry_rules.h"
#include "cli/error_text.h"
#include "cli/input_files.h"
#include "cli/response_proof.h"
#include "cli/run_inputs.h"
#include "client/request/request.h"
#include "client/response/response.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace tallow::cli {

namespace {

using Orvane::PKI::OCSP::Client::CRequest;
using Orvane::PKI::OCSP::Client::CResponse;

class Verification {
public:
    explicit Verification(const VerifyOptions& options) : options_(options), inputs_(options) {}

    std::vector<CheckResult> run();

private:
    void readRequest();
    void readCertificate();
    void expectAsked();
    void expectAll();
    std::optional<Rejection> rejectResponse();
    std::optional<Rejection> judge(CheckResult& result, const Question& question);
    Question questionOn(std::size_t number) const;
    template <typename Step>
    std::optional<CheckError> failureOf(Step step) const;

    const VerifyOptions& options_;
    RunInputs inputs_;
    CResponse response_;
    std::optional<CRequest> request_;
    ATL2::CCertContext certificate_, issuer_;
    std::vector<CheckResult> results_;
    std::string signer_;
    std::optional<RuleClock> clock_;
    const char* step_ = "reading the response";
};

void Verification::readRequest() {
    if (options_.request.empty()) {
        return;
    }
    importRequest(request_.emplace(), readMessage(options_.request), options_.request);
    if (request_->get_SRNumber() == 0) {
        throw InputError(options_.request, "asks about no certificate, so that no answer says anything");
    }
}

// Without a local issuer, one would be searched for, possibly on the network.
void Verification::readCertificate() {
    if (options_.certificate.empty()) {
        return;
    }
    certificate_ = readCertificates(options_.certificate).front();
    issuer_ = inputs_.issuerOf(certificate_.get());
    if (!issuer_) {
        throw InputError(options_.certificate, "its issuer is not known; name it (--issuer)", status::kNoSigner);
    }
    inputs_.requireIssuer(certificate_.get());
}

// What to report when the response is rejected as a whole.
void Verification::expectAsked() {
    const unsigned long numAsked = certificate_ || !request_ ? 1 : request_->get_SRNumber();
    for (unsigned long i = 0; i < numAsked; ++i) {
        CheckResult& result = results_.emplace_back();
        result.file = options_.response;
        if (certificate_) {
            result.file = options_.certificate;
            result.subject = subjectOf(certificate_.get());
            result.serial = serialOf(certificate_.get());
        } else if (request_) {
            result.serial = request_->get_SRCertID(i).get_serialNumber().writeToHexString(0).c_str();
        }
    }
}

void Verification::expectAll() {
    const CheckResult first = results_.front();
    results_.assign(response_.get_SRNumber(), first);
    for (unsigned long i = 0; i < results_.size(); ++i) {
        results_[i].serial = response_.get_SRCertID(i).get_serialNumber().writeToHexString(0).c_str();
    }
    if (results_.empty()) {
        results_.push_back(first);
        ATL::AtlThrowImpl(status::kNotAnswered);
    }
}

std::optional<Rejection> Verification::rejectResponse() {
    const Orvane::CBlob bytes = readMessage(options_.response);
    step_ = "decoding";
    response_.Import(bytes.pbData(), bytes.cbData(), request_ ? &*request_ : nullptr);
    response_.put_Flags(CResponse::kFlagCacheOnly);
    if (response_.get_Status() == 0 && !certificate_ && !request_) {
        step_ = "entry";
        expectAll();
    }
    void* stores[] = {inputs_.store()};
    step_ = "proof";
    Proof proof = proveResponse(response_, stores, 1);
    if (proof.rejection) {
        return std::move(proof.rejection);
    }
    signer_ = subjectOf(proof.signer);
    step_ = "reading the policy";
    clock_ = clockOfPolicy();
    return std::nullopt;
}

Question Verification::questionOn(std::size_t number) const {
    if (!certificate_) {
        const bool isAsked = request_ && request_->get_SRHistoricalRequest(number) != nullptr;
        return {request_ ? request_->get_SRCertID(number) : response_.get_SRCertID(number), nullptr, nullptr, isAsked};
    }
    Question question = questionAbout(certificate_.get(), issuer_.get());
    for (unsigned long i = 0; request_ && i < request_->get_SRNumber(); ++i) {
        if (isAbout(question, request_->get_SRCertID(i))) {
            question.wantsHistory = request_->get_SRHistoricalRequest(i) != nullptr;
            break;
        }
    }
    return question;
}

std::optional<Rejection> Verification::judge(CheckResult& result, const Question& question) {
    std::variant<Finding, Rejection> verdict = findingOn(response_, question, *clock_);
    if (auto* rejection = std::get_if<Rejection>(&verdict)) {
        return std::move(*rejection);
    }
    const Finding& finding = std::get<Finding>(verdict);
    result.responder = signer_;
    describeEntry(response_, finding.entry, result);
    result.state = stateOf(finding.status);
    return std::nullopt;
}

// The rejection or failure of a step.
template <typename Step>
std::optional<CheckError> Verification::failureOf(Step step) const {
    try {
        const std::optional<Rejection> rejection = step();
        return rejection ? std::optional(explain(*rejection)) : std::nullopt;
    } catch (...) {
        return explainCaught(step_);
    }
}

std::vector<CheckResult> Verification::run() {
    readRequest();
    readCertificate();
    expectAsked();
    const std::optional<CheckError> failure = failureOf([this] { return rejectResponse(); });
    step_ = "entry";
    for (std::size_t i = 0; i < results_.size(); ++i) {
        results_[i].error = failure ? failure : failureOf([&] { return judge(results_[i], questionOn(i)); });
    }
    return std::move(results_);
}

}  // namespace

std::vector<CheckResult> runVerify(const VerifyOptions& options) {
    try {
        return Verification(options).run();
    } catch (const ATL::CAtlException&) {
        // The policy could not be loaded.
        CheckResult result;
        result.file = options.response;
        result.error = explainCaught("reading the policy");
        return {result};
    }
}

}  // namespace tallow::cli
