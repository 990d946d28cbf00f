#include "cli/verify.h"

#include <optional>

#include "cli/answer.h"
#include "cli/certificate_text.h"
#include "cli/error_text.h"
#include "cli/input_files.h"
#include "cli/run_inputs.h"
#include "client/request/request.h"
#include "client/response/response.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace tallow::cli {

namespace {

using Orvane::PKI::OCSP::Client::CRequest;
using Orvane::PKI::OCSP::Client::CResponse;

void require(std::int32_t verdict) {
    if (verdict != status::kOk) {
        ATL::AtlThrowImpl(verdict);
    }
}

class Verification {
public:
    explicit Verification(const VerifyOptions& options) : options_(options), inputs_(options) {}

    std::vector<CheckResult> run();

private:
    void readRequest();
    void readCertificate();
    void expectAsked();
    void expectAll();
    void trustResponse();
    void judge(CheckResult& result, unsigned long index);
    unsigned long findEntry(std::size_t number) const;

    const VerifyOptions& options_;
    RunInputs inputs_;
    CResponse response_;
    std::optional<CRequest> request_;
    ATL2::CCertContext certificate_, issuer_;
    std::vector<CheckResult> results_;
    std::string signer_;
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

// Without the issuer at hand it would be looked for, and that may go to the network.
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

// What a verdict is owed for before anything is known of the response.
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

void Verification::trustResponse() {
    const Orvane::CBlob bytes = readMessage(options_.response);
    step_ = "decoding";
    response_.Import(bytes.pbData(), bytes.cbData(), request_ ? &*request_ : nullptr);
    response_.put_Flags(CResponse::kFlagCacheOnly);
    step_ = "response status";
    require(response_.get_Status() == 0 ? status::kOk : status::kNotSuccessful);
    if (!certificate_ && !request_) {
        expectAll();
    }
    void* stores[] = {inputs_.store()};
    step_ = "finding the signer";
    _CERT_CONTEXT const* signer = response_.get_OCSPCertificate(stores, 1);
    require(signer == nullptr ? status::kCryptNotFound : status::kOk);
    signer_ = subjectOf(signer);
    step_ = "signature";
    require(response_.Verify(signer, nullptr));
    step_ = "certificate of the signer";
    require(response_.VerifyCertificate(signer, false, stores, 1));
}

unsigned long Verification::findEntry(std::size_t number) const {
    if (certificate_) {
        return response_.get_SRIndexByCert(certificate_.get(), issuer_.get());
    }
    return request_ ? response_.get_SRIndexByCertID(request_->get_SRCertID(number)) : number;
}

void Verification::judge(CheckResult& result, unsigned long index) {
    step_ = "entry";
    require(index == CResponse::kNoIndex ? status::kNotAnswered : status::kOk);
    require(response_.VerifySR(index, nullptr, nullptr));
    require(holdAgainstClock(response_, index));
    result.responder = signer_;
    describeEntry(response_, index, result);
    result.state = stateOf(response_.get_SRStatus(index));
}

std::vector<CheckResult> Verification::run() {
    readRequest();
    readCertificate();
    expectAsked();
    try {
        trustResponse();
    } catch (...) {
        for (CheckResult& result : results_) {
            result.error = explainCaught(step_);
        }
        return std::move(results_);
    }
    for (std::size_t i = 0; i < results_.size(); ++i) {
        try {
            judge(results_[i], findEntry(i));
        } catch (...) {
            results_[i].error = explainCaught(step_);
        }
    }
    return std::move(results_);
}

}  // namespace

std::vector<CheckResult> runVerify(const VerifyOptions& options) {
    try {
        return Verification(options).run();
    } catch (const ATL::CAtlException&) {
        // The policy could not be loaded, before anything was looked at.
        CheckResult result;
        result.file = options.response;
        result.error = explainCaught("reading the policy");
        return {result};
    }
}

}  // namespace tallow::cli
