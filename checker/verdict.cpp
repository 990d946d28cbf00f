#include "checker/checker.h"
#include "checker/text/certificate_text.h"
#include "checker/text/safe_text.h"
#include "checker/text/times.h"
#include "foundation/blob.h"

namespace tallow {

namespace {

std::string dateText(const std::optional<Time>& time) {
    return time ? text::iso8601(*time) : std::string();
}

std::string named(const Verdict& verdict) {
    if (!verdict.subject.empty()) {
        return "the certificate " + verdict.subject;
    }
    if (verdict.serial.empty()) {
        return "the certificate";
    }
    return "the certificate with serial number " +
           std::string(Orvane::CBlob(verdict.serial.data(), verdict.serial.size()).writeToHexString(0).c_str());
}

std::string basisOf(const Verdict& verdict) {
    std::string text = " (thisUpdate " + dateText(verdict.thisUpdate);
    text += verdict.nextUpdate ? ", nextUpdate " + dateText(verdict.nextUpdate) : "";
    return text + (verdict.freshness == Freshness::kNonceMatched ? ", the nonce matched)" : ", by its dates)");
}

std::string sentenceOf(const Verdict& verdict) {
    const std::string by = verdict.signer.empty() ? "" : ", signed by " + verdict.signer;
    switch (verdict.answer) {
        case Answer::kGood: {
            const std::string later =
                verdict.revokedAt ? "; it was revoked later, at " + dateText(verdict.revokedAt) : "";
            return named(verdict) + " is good" + basisOf(verdict) + by + later + ".";
        }
        case Answer::kRevoked: {
            std::string text = named(verdict) + " is revoked";
            text += verdict.revokedAt ? " since " + dateText(verdict.revokedAt) : "";
            if (verdict.reason) {
                const auto reason = static_cast<Orvane::ASN1::CrlReason>(*verdict.reason);
                text += ", reason " + text::reasonText(&reason);
            }
            return text + basisOf(verdict) + by + ".";
        }
        case Answer::kUnknown:
            return named(verdict) + " is unknown to its responder" + basisOf(verdict) + by + ".";
        case Answer::kUnproven:
            break;
    }
    return named(verdict) + " is not proven good: " + (verdict.cause.empty() ? "no check was made" : verdict.cause) +
           ".";
}

}  // namespace

// Names and addresses may contain anything: the sentence stays one line.
std::string Verdict::why() const {
    std::string text = sentenceOf(*this);
    text.front() = text.front() == 't' ? 'T' : text.front();
    return text::safeLine(text);
}

}  // namespace tallow
