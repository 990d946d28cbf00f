#include "cli/check_result_of.h"

#include <utility>

#include "checker/text/certificate_text.h"
#include "cli/error_text.h"
#include "cli/evidence_text.h"
#include "cli/run_inputs.h"
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

}  // namespace

void fill(CheckResult& result, const Verdict& verdict) {
    result.verdict = verdict;
    result.state = stateOf(verdict.answer);
    if (!verdict.subject.empty()) {
        result.subject = verdict.subject;
    }
    if (!verdict.serial.empty()) {
        result.serial = hexText(verdict.serial);
    }
    if (hasAnswer(verdict)) {
        result.nonce = nonceOf(verdict);
        result.responder = verdict.responder.empty() ? verdict.signer : verdict.responder;
        result.producedAt = timeText(verdict.producedAt);
        result.thisUpdate = timeText(verdict.thisUpdate);
        result.nextUpdate = timeText(verdict.nextUpdate);
        result.revocationTime = timeText(verdict.revokedAt);
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

void fail(CheckResult& result, CheckError error) {
    result.state = result.state == CertificateState::kRevoked ? result.state : CertificateState::kError;
    result.error = std::move(error);
}

}  // namespace tallow::cli
