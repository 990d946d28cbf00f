#include "cli/send.h"

#include "checker/checker.h"
#include "checker/text/certificate_text.h"
#include "checker/text/safe_text.h"
#include "cli/error_text.h"
#include "cli/input_files.h"
#include "cli/network.h"
#include "cli/output.h"
#include "cli/output_file.h"
#include "cli/run_inputs.h"
#include "handles/exception.h"
#include "message/response_message.h"

namespace tallow::cli {

using namespace text;

namespace {

using Orvane::PKI::OCSP::CResponseMessage;

// A short description of the octets.
std::string whatAnswered(const Bytes& answer) {
    const std::string size = std::to_string(answer.size()) + " octets";
    try {
        CResponseMessage message;
        message.decodeEnvelope({answer.data(), answer.size()});
        const bool isSuccessful = message.get_responseStatus() == 0;
        return responseStatusText(message.get_responseStatus()) + ", " + size + (isSuccessful ? ", not verified" : "");
    } catch (const ATL::CAtlException&) {
        return "no OCSP response, " + size;
    }
}

// The response is known here; it is reported even when it cannot be written.
void keep(const Bytes& answer, OutputFile& file, const std::string& path, Outcome& outcome) {
    try {
        file.write(answer.data(), answer.size());
    } catch (const InputError& failure) {
        outcome.err += failureLine(path, {failure.code(), failure.reason()});
        outcome.exitStatus = kExitNoAnswer;
    }
}

}  // namespace

Outcome runSend(const SendOptions& options) {
    openSettings(options);
    OutputFile output(options.output);
    const Orvane::CBlob request = readMessage(options.request);
    requireRequest(request, options.request);
    Options sending{.useCache = true};
    RunNetwork(options).apply(sending);
    const Checker checker(Trust::system(), sending);
    const Sent sent = checker.send({request.pbData(), request.cbData()}, options.url);
    Outcome outcome = sent.cause.empty()
                          ? Outcome()
                          : failed(options.request, explain(sent.status, sent.cause + optionsThatHelp(sent.attempts)));
    if (!sent.answer.empty()) {
        outcome.out = safeLine(withoutLogin(options.url)) + ": " + whatAnswered(sent.answer) + '\n';
        keep(sent.answer, output, options.output, outcome);
    }
    return outcome;
}

}  // namespace tallow::cli
