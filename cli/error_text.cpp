#include "cli/error_text.h"

#include <algorithm>
#include <exception>
#include <new>

#include "checker/checker.h"
#include "checker/text/status_text.h"
#include "cli/input_files.h"
#include "cli/run_inputs.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace tallow::cli {

using namespace text;

namespace {

// Statuses for which an option of the command helps.
struct StatusRemedy {
    std::int32_t code;
    const char* word;  // of the remedy in the text; another remedy needs another option, or none
    const char* option;
};
constexpr StatusRemedy kRemedies[] = {
    {status::kNoResponder, "supply", "--url"},
    {status::kNoSigner, "supply", "--issuer"},
    {status::kNoSigner, "that the proxy accepts", "--proxy-user, --proxy-password-file"},
    {status::kNoSigner, "check the proxy", "--proxy"},
    {status::kIssuerMismatch, "", "--issuer"},
    {status::kChaining, "supply", "--certs, or --trust for a root"},
    {status::kCryptNotFound, "supply", "--certs"},
    {status::kUntrustedRoot, "name", "--trust"},
    {status::kNoRevocationCheck, "supply", "--crl"},
    {status::kRevocationOffline, "supply", "--crl"},
    {status::kThisUpdateTooOld, "allow a greater age", "--max-age"},
    {status::kPinMissing, "", "--pin-file"},
    {status::kUnsignedRefused, "sign", "tallow request --sign"},
};

// The text, with the option that helps.
std::string withRemedy(std::int32_t code, std::string text) {
    for (const StatusRemedy& remedy : kRemedies) {
        if (remedy.code == code && text.find(remedy.word) != std::string::npos) {
            text += std::string(" (") + remedy.option + ")";
        }
    }
    return text;
}

}  // namespace

std::string optionsThatHelp(const std::vector<Attempt>& attempts) {
    struct Row {
        Remedy remedy;
        const char* option;
    };
    constexpr Row kRows[] = {
        {Remedy::kTime, "--timeout"},   {Remedy::kAddress, "--url"},
        {Remedy::kProxy, "--proxy"},    {Remedy::kProxyLogin, "--proxy-user, --proxy-password-file"},
        {Remedy::kSha1, "--hash sha1"}, {Remedy::kTryNonce, "--nonce try"},
    };
    std::string options;
    for (const Row& row : kRows) {
        if (std::any_of(attempts.begin(), attempts.end(),
                        [&row](const Attempt& attempt) { return attempt.remedy == row.remedy; })) {
            options += (options.empty() ? "" : ", ") + std::string(row.option);
        }
    }
    return options.empty() ? options : " (" + options + ')';
}

CheckError explain(std::int32_t code, const std::string& cause) {
    return {code, withRemedy(code, cause)};
}

CheckError explainStatus(std::int32_t code, const std::string& step) {
    return explain(code, step + ": " + statusText(code));
}

CheckError explainCaught(const std::string& step) {
    try {
        throw;
    } catch (const InputError& failure) {
        return {failure.code(), step + ": " + failure.reason()};
    } catch (const BadInput& failure) {
        return explain(failure.status(), step + ": " + failure.what());
    } catch (const ATL::CAtlException& failure) {
        // Whatever the status is: unreadable settings cause many failures.
        const std::string mistake = settingsMistake();
        return mistake.empty() ? explainStatus(failure.status(), step)
                               : CheckError{status::kNoPolicy, step + ": " + mistake};
    } catch (const std::bad_alloc&) {
        return explainStatus(status::kOutOfMemory, step);
    } catch (const std::exception& failure) {
        return {status::kFail, step + ": " + failure.what()};
    }
}

}  // namespace tallow::cli
