#include "cli/verify_request.h"

#include <optional>

#include "cli/certificate_text.h"
#include "cli/error_text.h"
#include "cli/input_files.h"
#include "cli/network_scope.h"
#include "cli/output.h"
#include "cli/run_inputs.h"
#include "cli/show_values.h"
#include "client/request/request.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace tallow::cli {

namespace {

using Orvane::PKI::OCSP::Client::CRequest;

struct RequestVerdict {
    const char* status = "error";
    int exitStatus = kExitNoAnswer;
    std::string requestor;
    std::string signatureAlgorithm;
    std::optional<CheckError> error;
};

class RequestVerification {
public:
    explicit RequestVerification(const VerifyRequestOptions& options) : options_(options), inputs_(options) {}

    RequestVerdict run();

private:
    void judge();
    const _CERT_CONTEXT* findRequestor(const CRequest& request);
    // False, with the verdict written, for a failure status.
    bool passes(std::int32_t status);

    const VerifyRequestOptions& options_;
    RunInputs inputs_;
    RequestVerdict verdict_;
    const char* step_ = "reading the policy";
};

bool RequestVerification::passes(std::int32_t status) {
    if (status == status::kOk) {
        return true;
    }
    verdict_.error = explain(status, step_);
    // Without settings there are no trusted roots, so that there is no verdict.
    if (settingsMistake().empty()) {
        verdict_.status = "refused";
        verdict_.exitStatus = kExitRefused;
    }
    return false;
}

// The signer, else a certificate with its name, so that the report can say that its key did not sign. The library reads
// the user's store My last, and fails when there is none.
const _CERT_CONTEXT* findCertificate(const CRequest& request, void* store) {
    try {
        const _CERT_CONTEXT* const signer = request.FindSigner(&store, 1);
        return signer != nullptr ? signer : request.get_RequestorCertificate(&store, 1);
    } catch (const ATL::CAtlException& failure) {
        if (failure.status() == status::kFileNotFound) {
            return nullptr;
        }
        throw;
    }
}

const _CERT_CONTEXT* RequestVerification::findRequestor(const CRequest& request) {
    step_ = "finding the requestor's certificate";
    const _CERT_CONTEXT* requestor = findCertificate(request, inputs_.store());
    if (requestor == nullptr) {
        verdict_.error = explain(status::kCryptNotFound, step_);
        return nullptr;
    }
    verdict_.requestor = subjectOf(requestor);
    return requestor;
}

void RequestVerification::judge() {
    CRequest request;
    const NetworkScope network(request);
    step_ = "reading the request";
    const Orvane::CBlob bytes = readMessage(options_.request);
    request.Import(bytes.pbData(), static_cast<unsigned long>(bytes.cbData()));
    const std::string algorithm = request.get_SignatureAlgorithmOID();
    const bool isSigned = !algorithm.empty();
    const _CERT_CONTEXT* requestor = nullptr;
    if (isSigned) {
        verdict_.signatureAlgorithm = algorithmOf(Orvane::ASN1::CAlgorithmIdentifier(algorithm.c_str()));
        requestor = findRequestor(request);
        if (requestor == nullptr) {
            return;
        }
    }
    step_ = isSigned ? "signature and critical extensions" : "critical extensions";
    if (!passes(request.Verify(requestor, nullptr, true))) {
        return;
    }
    void* stores[] = {inputs_.store()};
    step_ = "certificate of the requestor";
    if (isSigned && !passes(request.VerifyCertificate(requestor, stores, 1))) {
        return;
    }
    verdict_.status = isSigned ? "valid" : "unsigned";
    verdict_.exitStatus = isSigned ? kExitValid : kExitUnsigned;
}

RequestVerdict RequestVerification::run() {
    try {
        judge();
    } catch (...) {
        verdict_.error = explainCaught(step_);
    }
    return std::move(verdict_);
}

Shown shownOf(const std::string& file, const RequestVerdict& verdict) {
    Shown shown = Shown::object("request");
    shown.add("file", file);
    shown.add("status", verdict.status);
    for (const auto& [name, value] :
         {std::pair("requestor", &verdict.requestor), std::pair("signatureAlgorithm", &verdict.signatureAlgorithm)}) {
        if (!value->empty()) {
            shown.add(name, *value);
        }
    }
    if (verdict.error) {
        Shown error = Shown::object("error");
        error.add("code", codeText(verdict.error->code));
        error.add("text", verdict.error->text);
        shown.add(std::move(error));
    }
    return shown;
}

}  // namespace

Outcome runVerifyRequest(const VerifyRequestOptions& options) {
    const RequestVerdict verdict = RequestVerification(options).run();
    Outcome outcome;
    if (verdict.error) {
        outcome = failed(options.request, *verdict.error);
    }
    const Shown shown = shownOf(options.request, verdict);
    outcome.out = options.json ? toJson(shown) : toText(shown);
    outcome.exitStatus = verdict.exitStatus;
    return outcome;
}

}  // namespace tallow::cli
