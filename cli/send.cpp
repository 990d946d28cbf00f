#include "cli/send.h"

#include "cli/certificate_text.h"
#include "cli/error_text.h"
#include "cli/input_files.h"
#include "cli/output.h"
#include "cli/run_inputs.h"
#include "cli/safe_text.h"
#include "client/request/request.h"
#include "handles/exception.h"
#include "handles/status.h"
#include "message/response_message.h"

namespace tallow::cli {

namespace {

using Orvane::PKI::OCSP::CResponseMessage;
using Orvane::PKI::OCSP::Client::CRequest;

// A short description of the octets.
std::string whatAnswered(const Orvane::CBlob& answer) {
    const std::string size = std::to_string(answer.cbData()) + " octets";
    try {
        CResponseMessage message;
        message.decodeEnvelope(answer);
        const bool isSuccessful = message.get_responseStatus() == 0;
        return responseStatusText(message.get_responseStatus()) + ", " + size + (isSuccessful ? ", not verified" : "");
    } catch (const ATL::CAtlException&) {
        return "no OCSP response, " + size;
    }
}

// The response is known here; it is reported even when it cannot be written.
void keep(const Orvane::CBlob& answer, const std::string& path, Outcome& outcome) {
    if (path.empty()) {
        return;
    }
    try {
        writeWhole(path, answer.pbData(), answer.cbData());
    } catch (const InputError& failure) {
        outcome.err += failureLine(path, {failure.code(), failure.reason()});
        outcome.exitStatus = kExitNoAnswer;
    }
}

// The status of the failed Send; 0 for a response that matches the request, as far as that is known unverified.
std::int32_t ask(CRequest& request) {
    try {
        request.Send(false);
        return request.get_Attempts().back().status;
    } catch (const ATL::CAtlException& failure) {
        // A service that fails without a reason throws 0.
        return failure.status() != status::kOk ? failure.status() : status::kFail;
    }
}

}  // namespace

Outcome runSend(const SendOptions& options) {
    openSettings(options);
    if (!options.output.empty()) {
        requireWritable(options.output);
    }
    const Orvane::CBlob bytes = readMessage(options.request);
    const char* step = "reading the policy";
    try {
        CRequest request;
        importRequest(request, bytes, options.request);
        step = "sending";
        request.put_OCSPAddress(wide(options.url).c_str());
        if (!options.proxy.empty()) {
            request.put_ProxyAddress(wide(options.proxy).c_str());
        }
        const std::int32_t failure = ask(request);
        const Orvane::CBlob answer = request.get_Response();
        Outcome outcome = failure == status::kOk ? Outcome() : failed(options.request, explainSend(failure, request));
        if (answer.cbData() != 0) {
            outcome.out = safeLine(withoutLogin(options.url)) + ": " + whatAnswered(answer) + '\n';
            keep(answer, options.output, outcome);
        }
        return outcome;
    } catch (const InputError&) {
        throw;
    } catch (...) {
        return failed(options.request, explainCaught(step));
    }
}

}  // namespace tallow::cli
