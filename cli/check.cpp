#include "cli/check.h"

#include <exception>
#include <map>
#include <optional>
#include <utility>

#include "cli/certificates_to_check.h"
#include "cli/check_result_of.h"
#include "cli/error_text.h"
#include "cli/input_files.h"
#include "cli/output_file.h"
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

const char* nonceText(Freshness freshness) {
    switch (freshness) {
        case Freshness::kNonceMatched:
            return "matched";
        case Freshness::kNonceNotReturned:
            return "not returned";
        case Freshness::kNonceNotSent:
            return "not sent";
        case Freshness::kNone:
            break;
    }
    return "";
}

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
            throw InputError(name, "goes with one certificate, and these files hold " + std::to_string(numToCheck) +
                                       " to check; check them one by one");
        }
    }
}

// The checks of one run.
class Run {
public:
    explicit Run(const CheckOptions& options)
        : options_(options), inputs_(options), files_(readCertificateFiles(options.certificates)) {
        requireOneToSave(options, files_.toCheck.size());
        inputs_.add(files_.certificates, files_.crls);
        saveRequest_.emplace(options.saveRequest);
        saveResponse_.emplace(options.saveResponse);
    }

    const std::vector<ToCheck>& toCheck() const { return files_.toCheck; }

    void check(const ATL2::CCertContext& certificate, CheckResult& result) {
        if (!checker_) {
            checker_.emplace(inputs_.trust(), optionsOf(options_, inputs_));
        }
        const Verdict verdict = checker_->check(encodingOf(certificate), inputs_.issuerOf(certificate));
        fill(result, verdict);
        result.nonce = nonceText(verdict.freshness);
        if (options_.verifyChain && verdict.answer != Answer::kUnproven) {
            result.chain = verdict.isChainValid ? "valid" : "invalid";
        } else if (options_.verifyChain && verdict.reached == Step::kChain) {
            result.chain = "invalid";
        }
        save(*saveRequest_, verdict.request, result);
        save(*saveResponse_, verdict.response.empty() ? verdict.unverified : verdict.response, result);
    }

private:
    const CheckOptions& options_;
    RunInputs inputs_;
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
    std::map<std::string, std::size_t> known;  // a certificate in several files is asked about once
    std::vector<CheckResult> results;
    results.reserve(run.toCheck().size());
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
            result.error = explainCaught("reading the certificate");
        }
        result.file = next.label;
        done(result);
    }
    return results;
}

}  // namespace tallow::cli
