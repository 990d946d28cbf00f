#include "cli/check.h"

#include <algorithm>

#include "cli/check_result_of.h"
#include "cli/error_text.h"
#include "cli/input_files.h"
#include "cli/run_inputs.h"

namespace tallow::cli {

namespace {

Options optionsOf(const CheckOptions& options, const RunInputs& inputs) {
    Options checking;
    if (!options.url.empty()) {
        checking.responders = {options.url};
    }
    checking.nonce = options.nonce;
    checking.maxAge = options.maxAge;
    checking.timeout = options.timeout;
    checking.proxy = options.proxy;
    checking.hashOid = inputs.hashOid();
    checking.verifyChain = options.verifyChain;
    checking.useCache = true;
    return checking;
}

// The verdict is known here; it stays when a file cannot be written.
void save(const std::string& path, const Bytes& bytes, CheckResult& result) {
    if (path.empty() || bytes.empty()) {
        return;
    }
    try {
        writeWhole(path, bytes.data(), bytes.size());
    } catch (const InputError& failure) {
        result.unsaved = CheckError{failure.code(), failure.what()};
    }
}

void check(const CheckOptions& options, const RunInputs& inputs, CheckResult& result) {
    const std::vector<ATL2::CCertContext> certificates = readCertificates(result.file);
    RunInputs own = inputs;
    // Further certificates in its file are usually those above it.
    std::for_each(certificates.begin() + 1, certificates.end(), [&own](const auto& next) { own.add(next); });
    const Checker checker(own.trust(), optionsOf(options, inputs));
    const Verdict verdict = checker.check(encodingOf(certificates.front()), inputs.issuer());
    fill(result, verdict);
    if (options.verifyChain && verdict.answer != Answer::kUnproven) {
        result.chain = verdict.isChainValid ? "valid" : "invalid";
    } else if (options.verifyChain && verdict.reached == Step::kChain) {
        result.chain = "invalid";
    }
    save(options.saveRequest, verdict.request, result);
    save(options.saveResponse, verdict.response.empty() ? verdict.unverified : verdict.response, result);
}

}  // namespace

std::vector<CheckResult> runCheck(const CheckOptions& options, const ResultUse& done) {
    for (const std::string& path : {options.saveRequest, options.saveResponse}) {
        if (!path.empty()) {
            requireWritable(path);
        }
    }
    const RunInputs inputs(options);
    std::vector<CheckResult> results;
    results.reserve(options.certificates.size());
    for (const std::string& file : options.certificates) {
        CheckResult& result = results.emplace_back();
        result.file = file;
        try {
            check(options, inputs, result);
        } catch (...) {
            result.error = explainCaught("reading the certificate");
        }
        done(result);
    }
    return results;
}

}  // namespace tallow::cli
