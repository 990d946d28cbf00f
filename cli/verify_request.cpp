#include "cli/verify_request.h"

#include <optional>

#include "checker/checker.h"
#include "checker/text/status_text.h"
#include "cli/error_text.h"
#include "cli/input_files.h"
#include "cli/output.h"
#include "cli/run_inputs.h"
#include "cli/show_values.h"
#include "handles/status.h"

namespace tallow::cli {

using namespace text;

namespace {

struct RequestVerdict {
    const char* status = "error";
    int exitStatus = kExitNoAnswer;
    std::string requestor;
    std::string signatureAlgorithm;
    std::string signatureOid;
    std::optional<CheckError> error;
};

RequestVerdict verdictOn(const VerifyRequestOptions& options) {
    const RunInputs inputs(options);
    RequestVerdict verdict;
    ReceivedRequest received;
    try {
        const Orvane::CBlob bytes = readMessage(options.request);
        received = Checker(inputs.trust(), {.useCache = true}).receive({bytes.pbData(), bytes.cbData()});
    } catch (...) {
        verdict.error = explainCaught("reading the request");
        return verdict;
    }
    verdict.requestor = received.requestor;
    verdict.signatureOid = received.signatureAlgorithm;
    if (!received.signatureAlgorithm.empty()) {
        verdict.signatureAlgorithm =
            algorithmOf(Orvane::ASN1::CAlgorithmIdentifier(received.signatureAlgorithm.c_str()));
    }
    const std::string mistake = settingsMistake();
    if (!received.cause.empty()) {
        verdict.error = mistake.empty() ? explain(received.status, received.cause)
                                        : CheckError{status::kNoPolicy, "reading the policy: " + mistake};
    }
    switch (received.signer) {
        case ReceivedRequest::Signer::kProven:
            verdict.status = "valid";
            verdict.exitStatus = kExitValid;
            break;
        case ReceivedRequest::Signer::kUnsigned:
            verdict.status = "unsigned";
            verdict.exitStatus = kExitUnsigned;
            break;
        case ReceivedRequest::Signer::kInvalid:
            // Without settings there are no trusted roots, so that there is no verdict.
            if (mistake.empty()) {
                verdict.status = "refused";
                verdict.exitStatus = kExitRefused;
            }
            break;
        case ReceivedRequest::Signer::kUndecided:
            break;
    }
    return verdict;
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
    if (!verdict.signatureOid.empty()) {
        shown.addForJson("signatureOid", verdict.signatureOid);
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
    const RequestVerdict verdict = verdictOn(options);
    Outcome outcome;
    if (verdict.error) {
        outcome = failed(options.request, *verdict.error);
    }
    const Shown shown = shownOf(options.request, verdict);
    outcome.out = options.json ? toJson(kVerifyRequestSchema, shown) : toText(shown);
    outcome.exitStatus = verdict.exitStatus;
    return outcome;
}

}  // namespace tallow::cli
