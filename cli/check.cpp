#include "cli/check.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "cli/certificate_text.h"
#include "cli/chain_rules.h"
#include "cli/error_text.h"
#include "cli/input_files.h"
#include "cli/judge.h"
#include "cli/network_scope.h"
#include "cli/run_inputs.h"
#include "cli/safe_text.h"
#include "client/request/request.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace tallow::cli {

namespace {

using Orvane::PKI::OCSP::Client::CRequest;

// One certificate: each step adds to the result or throws an exception that step() explains.
class Check {
public:
    Check(const CheckOptions& options, RunInputs& inputs, CheckResult& result)
        : options_(options), inputs_(inputs), result_(result) {}

    void run();

private:
    Question fillRequest(CRequest& request, const _CERT_CONTEXT* certificate);
    void ask(CRequest& request, const Question& question);
    void verifyChain(const _CERT_CONTEXT* certificate);
    void saveRequest(CRequest& request) const;
    void saveResponse(const CRequest& request);
    void fail(CheckError error);

    const CheckOptions& options_;
    RunInputs& inputs_;
    CheckResult& result_;
    ATL2::CCertContext issuer_;
    const char* step_ = "reading the certificate";
};

void Check::run() {
    try {
        const std::vector<ATL2::CCertContext> certificates = readCertificates(result_.file);
        const _CERT_CONTEXT* certificate = certificates.front().get();
        result_.subject = subjectOf(certificate);
        result_.serial = serialOf(certificate);
        // Further certificates in its file are usually those above it.
        std::for_each(certificates.begin() + 1, certificates.end(), [this](const auto& next) { inputs_.add(next); });
        step_ = "reading the policy";
        CRequest request;
        if (!options_.proxy.empty()) {
            request.put_ProxyAddress(wide(options_.proxy).c_str());
        }
        const NetworkScope network(request);
        ask(request, fillRequest(request, certificate));
        if (options_.verifyChain && result_.state != CertificateState::kError) {
            verifyChain(certificate);
        }
    } catch (...) {
        fail(explainCaught(step_));
    }
}

Question Check::fillRequest(CRequest& request, const _CERT_CONTEXT* certificate) {
    step_ = "finding the issuer";
    issuer_ = inputs_.name(request, certificate);
    inputs_.add(issuer_);  // proven by its signature, and usually part of the responder's chain
    step_ = "building the request";
    if (options_.nonce) {
        request.put_UseNonce(*options_.nonce);
    }
    if (!options_.url.empty()) {
        request.put_OCSPAddress(wide(options_.url).c_str());
    }
    saveRequest(request);
    return {request.get_SRCertID(0), certificate, issuer_.get(), false};
}

void Check::ask(CRequest& request, const Question& question) {
    Judge judge(request, question, inputs_.store(), result_);
    request.put_ResponseHandler(&judge);
    std::int32_t failure = status::kOk;
    try {
        request.Send(false);
    } catch (const ATL::CAtlException& thrown) {
        failure = thrown.status();
    }
    // Send may also return a response that the handler rejected; only the handler decides whether one counts.
    if (!judge.accepted()) {
        fail(explainSend(failure, request, judge.rejected()));
    }
    saveResponse(request);
}

// The response is verified, but a good certificate with an invalid chain is not good.
void Check::verifyChain(const _CERT_CONTEXT* certificate) {
    step_ = "chain of the certificate";
    result_.chain = "invalid";
    if (const std::optional<Rejection> rejection = rejectChain(certificate, inputs_.store())) {
        fail(explain(*rejection));
        return;
    }
    result_.chain = "valid";
}

void Check::saveRequest(CRequest& request) const {
    if (options_.saveRequest.empty()) {
        return;
    }
    const Orvane::CBlob bytes = exported(request);
    writeWhole(options_.saveRequest, bytes.pbData(), bytes.cbData());
}

// The verdict is known here; it stays when the response cannot be written.
void Check::saveResponse(const CRequest& request) {
    const Orvane::CBlob response = request.get_Response();
    if (options_.saveResponse.empty() || response.cbData() == 0) {
        return;
    }
    try {
        writeWhole(options_.saveResponse, response.pbData(), response.cbData());
    } catch (const InputError& failure) {
        result_.unsaved = CheckError{failure.code(), failure.what()};
    }
}

// A later failure does not change that a certificate is revoked.
void Check::fail(CheckError error) {
    if (result_.state != CertificateState::kRevoked) {
        result_.state = CertificateState::kError;
    }
    result_.error = std::move(error);
}

}  // namespace

std::vector<CheckResult> runCheck(const CheckOptions& options) {
    for (const std::string& path : {options.saveRequest, options.saveResponse}) {
        if (!path.empty()) {
            requireWritable(path);
        }
    }
    RunInputs inputs(options);
    std::vector<CheckResult> results;
    results.reserve(options.certificates.size());
    for (const std::string& file : options.certificates) {
        CheckResult& result = results.emplace_back();
        result.file = file;
        Check(options, inputs, result).run();
    }
    return results;
}
}  // namespace tallow::cli
