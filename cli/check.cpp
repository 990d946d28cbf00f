#include "cli/check.h"

#include <exception>
#include <map>
#include <optional>
#include <utility>

#include "cli/certificates_to_check.h"
#include "cli/check_result_of.h"
#include "cli/check_server.h"
#include "cli/deadlines.h"
#include "cli/error_text.h"
#include "cli/input_files.h"
#include "cli/output_file.h"

namespace tallow::cli {

Options optionsOf(const CheckOptions& options, const RunInputs& inputs, const RunNetwork& network) {
    Options checking;
    network.apply(checking);
    if (options.timeout) {
        checking.timeout = options.timeout;  // of this certificate
    }
    if (!options.url.empty()) {
        checking.responders = {options.url};
    }
    checking.nonce = options.nonce;
    checking.maxAge = options.maxAge;
    checking.hashOid = inputs.hashOid();
    checking.verifyChain = options.verifyChain;
    checking.useCache = true;
    return checking;
}

void fill(CheckResult& result, const Verdict& verdict, const CheckOptions& options) {
    fill(result, verdict);
    if (options.verifyChain && verdict.answer != Answer::kUnproven) {
        result.chain = verdict.isChainValid ? "valid" : "invalid";
    } else if (options.verifyChain && verdict.reached == Step::kChain) {
        result.chain = "invalid";
    }
}

namespace {

// The verdict is known here; it stays when a file cannot be written.
void save(OutputFile& file, const Bytes& bytes, CheckResult& result) {
    if (bytes.empty()) {
        return;
    }
    try {
        file.write(bytes.data(), bytes.size());
    } catch (const InputError& failure) {
        result.unsaved = CheckError{failure.code(), failure.what()};
    }
}

// A second certificate would overwrite the file of the first.
void requireOneToSave(const CheckOptions& options, std::size_t numToCheck) {
    for (const auto& [name, path] :
         {std::pair("--save-request", &options.saveRequest), std::pair("--save-response", &options.saveResponse)}) {
        if (!path->empty() && numToCheck > 1) {
            throw InputError(name, "goes with one certificate, and there are " + std::to_string(numToCheck) +
                                       " to check; check them one by one");
        }
    }
}

std::size_t numOfServer(const ServerOptions& server) {
    return (server.address.empty() ? 0U : 1U) + (server.wholeChain ? 1U : 0U);
}

CertificateFiles filesOf(const CheckOptions& options) {
    return options.certificates.empty() ? CertificateFiles() : readCertificateFiles(options.certificates);
}

// The checks of one run.
class Run {
public:
    explicit Run(const CheckOptions& options)
        : options_(options), inputs_(options), network_(options), files_(filesOf(options)) {
        requireOneToSave(options, files_.toCheck.size() + numOfServer(options.server));
        inputs_.add(files_.certificates, files_.crls);
        saveRequest_.emplace(options.saveRequest);
        saveResponse_.emplace(options.saveResponse);
    }

    const std::vector<ToCheck>& toCheck() const { return files_.toCheck; }
    const RunInputs& inputs() const { return inputs_; }

    void check(const ATL2::CCertContext& certificate, CheckResult& result) {
        if (!checker_) {
            checker_.emplace(inputs_.trust(), optionsOf(options_, inputs_, network_));
        }
        judge(*checker_, encodingOf(certificate), inputs_.issuerOf(certificate), result);
    }

    // With the time limit of these options, and more certificates for the chain.
    void check(const CheckOptions& options, const RunInputs& inputs, Input der, CheckResult& result) {
        judge(Checker(inputs.trust(), optionsOf(options, inputs, network_)), der, inputs.issuerOf(der), result);
    }

private:
    void judge(const Checker& checker, Input certificate, Input issuer, CheckResult& result) {
        const Verdict verdict = checker.check(certificate, issuer);
        fill(result, verdict, options_);
        result.start = startOf(certificate);
        result.expiry = expiryOf(certificate);
        save(*saveRequest_, verdict.request, result);
        save(*saveResponse_, verdict.response.empty() ? verdict.unverified : verdict.response, result);
    }

    const CheckOptions& options_;
    RunInputs inputs_;
    const RunNetwork network_;
    const CertificateFiles files_;
    std::optional<OutputFile> saveRequest_, saveResponse_;
    std::optional<Checker> checker_;
};

std::string encodedText(const ATL2::CCertContext& certificate) {
    const Input encoding = encodingOf(certificate);
    return {encoding.bytes.begin(), encoding.bytes.end()};
}

}  // namespace

std::vector<CheckResult> runCheck(const CheckOptions& options, const ResultUse& done) {
    Run run(options);
    std::vector<CheckResult> results;
    results.reserve(run.toCheck().size());
    if (!options.server.address.empty()) {
        const auto check = [&run](const CheckOptions& own, const RunInputs& inputs, Input certificate,
                                  CheckResult& result) { run.check(own, inputs, certificate, result); };
        checkServer(options, run.inputs(), check, done, results);
    }
    std::map<std::string, std::size_t> known;  // a certificate in several files is asked about once
    for (const ToCheck& next : run.toCheck()) {
        CheckResult& result = results.emplace_back();
        try {
            if (next.failure) {
                std::rethrow_exception(next.failure);
            }
            const auto [same, isNew] = known.try_emplace(encodedText(next.certificate), results.size() - 1);
            if (isNew) {
                run.check(next.certificate, result);
            } else {
                result = results[same->second];
            }
        } catch (...) {
            fail(result, explainCaught("reading the certificate"));
        }
        result.file = next.label;
        done(result);
    }
    return results;
}

}  // namespace tallow::cli
