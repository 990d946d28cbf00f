#include "cli/check_result_of.h"

#include "checker/text/certificate_text.h"
#include "checker/text/times.h"
#include "cli/error_text.h"
#include "cli/run_inputs.h"
#include "foundation/blob.h"
#include "handles/status.h"

namespace tallow::cli {

using namespace text;

namespace {

CertificateState stateOf(Answer answer) {
    switch (answer) {
        case Answer::kGood:
            return CertificateState::kGood;
        case Answer::kRevoked:
            return CertificateState::kRevoked;
        case Answer::kUnknown:
            return CertificateState::kUnknown;
        case Answer::kUnproven:
            break;
    }
    return CertificateState::kError;
}

std::string textOf(const std::optional<Time>& time) {
    return time ? iso8601(*time) : std::string();
}

}  // namespace

void fill(CheckResult& result, const Verdict& verdict) {
    result.verdict = verdict;
    result.state = stateOf(verdict.answer);
    if (!verdict.subject.empty()) {
        result.subject = verdict.subject;
    }
    if (!verdict.serial.empty()) {
        result.serial = Orvane::CBlob(verdict.serial.data(), verdict.serial.size()).writeToHexString(0).c_str();
    }
    // A response was verified also when only the chain of the certificate is not valid.
    if (verdict.answer != Answer::kUnproven || verdict.reached == Step::kChain) {
        result.responder = verdict.responder.empty() ? verdict.signer : verdict.responder;
        result.producedAt = textOf(verdict.producedAt);
        result.thisUpdate = textOf(verdict.thisUpdate);
        result.nextUpdate = textOf(verdict.nextUpdate);
        result.revocationTime = textOf(verdict.revokedAt);
        if (verdict.reason) {
            const auto reason = static_cast<Orvane::ASN1::CrlReason>(*verdict.reason);
            result.revocationReason = reasonText(&reason);
        }
    }
    if (!verdict.cause.empty()) {
        result.error = explain(verdict.status, verdict.cause + optionsThatHelp(verdict.attempts));
    }
    // Whatever the cause is: unreadable settings cause many failures.
    if (const std::string mistake = settingsMistake(); verdict.answer == Answer::kUnproven && !mistake.empty()) {
        result.error = CheckError{status::kNoPolicy, "reading the policy: " + mistake};
    }
}

}  // namespace tallow::cli
