#include "cli/verify.h"

#include <exception>
#include <optional>

#include "cli/certificates_to_check.h"
#include "cli/check_result_of.h"
#include "cli/error_text.h"
#include "cli/input_files.h"
#include "cli/run_inputs.h"
#include "handles/status.h"

namespace tallow::cli {

namespace {

Bytes octetsOf(const Orvane::CBlob& blob) {
    return {blob.pbData(), blob.pbData() + blob.cbData()};
}

// Without a local issuer the entries cannot be compared.
void requireIssuer(const RunInputs& inputs, const ATL2::CCertContext& certificate, const std::string& path) {
    try {
        if (Checker(inputs.trust(), {.downloads = false, .useCache = true})
                .issuerOf(encodingOf(certificate), inputs.issuerOf(certificate))
                .empty()) {
            throw InputError(path, "its issuer is not known; name it (--issuer)", status::kNoSigner);
        }
    } catch (const BadInput& failure) {
        throw InputError("--issuer", failure.what(), failure.status());
    }
}

}  // namespace

std::vector<CheckResult> runVerify(const VerifyOptions& options) {
    RunInputs inputs(options);
    Stored stored;
    stored.at = options.at;
    Bytes request;
    if (!options.request.empty()) {
        const Orvane::CBlob bytes = readMessage(options.request);
        if (requireRequest(bytes, options.request) == 0) {
            throw InputError(options.request, "asks about no certificate, so that no answer says anything");
        }
        request = octetsOf(bytes);
        stored.request = request;
    }
    ATL2::CCertContext certificate;
    if (!options.certificate.empty()) {
        const CertificateFiles files = readCertificateFiles({options.certificate});
        if (files.toCheck.front().failure) {
            std::rethrow_exception(files.toCheck.front().failure);
        }
        if (files.toCheck.size() > 1) {
            throw InputError(options.certificate, "holds " + std::to_string(files.toCheck.size()) +
                                                      " certificates to verify; name a file with one");
        }
        inputs.add(files.certificates, files.crls);
        certificate = files.toCheck.front().certificate;
        stored.certificate = encodingOf(certificate);
        stored.issuer = inputs.issuerOf(certificate);
        requireIssuer(inputs, certificate, options.certificate);
    }
    std::vector<CheckResult> results;
    std::vector<Verdict> verdicts;
    try {
        verdicts = Checker(inputs.trust(), {.maxAge = options.maxAge, .useCache = true})
                       .verify(octetsOf(readMessage(options.response)), stored);
    } catch (...) {
        CheckResult& result = results.emplace_back();
        result.file = certificate ? options.certificate : options.response;
        result.error = explainCaught("reading the response");
    }
    for (const Verdict& verdict : verdicts) {
        CheckResult& result = results.emplace_back();
        result.file = certificate ? options.certificate : options.response;
        fill(result, verdict);
    }
    return results;
}

}  // namespace tallow::cli
