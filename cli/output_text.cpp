#include "checker/text/safe_text.h"
#include "checker/text/status_text.h"
#include "cli/error_text.h"
#include "cli/evidence_text.h"
#include "cli/output.h"

namespace tallow::cli {

using namespace text;

namespace {

void addLine(std::string& text, const char* label, const std::string& value) {
    if (!value.empty()) {
        text += std::string("    ") + label + safeLine(value) + '\n';
    }
}

void addShown(std::string& text, const Shown& shown, const std::string& label, std::size_t depth) {
    text.append(2 * depth, ' ').append(label).append(":");
    if (shown.kind == Shown::Kind::kText) {
        text += (shown.text.empty() ? "" : " ") + safeLine(shown.text) + '\n';
        return;
    }
    text += shown.parts.empty() ? " none\n" : "\n";
    std::size_t number = 0;
    for (const Shown& part : shown.parts) {
        if (part.isOnlyInJson) {
            continue;
        }
        const bool isNamed = shown.kind == Shown::Kind::kObject;
        addShown(text, part, isNamed ? part.name : std::to_string(++number), depth + 1);
    }
}

std::string painted(CertificateState state) {
    constexpr const char* kGreen = "\x1B[32m";
    constexpr const char* kRed = "\x1B[31m";
    constexpr const char* kYellow = "\x1B[33m";
    const char* colour = state == CertificateState::kGood      ? kGreen
                         : state == CertificateState::kRevoked ? kRed
                                                               : kYellow;
    return std::string(colour) + nameOf(state) + "\x1B[0m";
}

std::string stapleText(const std::optional<Staple>& staple) {
    if (!staple) {
        return {};
    }
    return staple->state + (staple->isRequired ? " (required by the certificate)" : "") +
           (staple->text.empty() ? "" : ": " + staple->text);
}

std::string signerText(Authority authority) {
    switch (authority) {
        case Authority::kIssuer:
            return ", signed by the issuer";
        case Authority::kDelegate:
            return ", signed by a delegate of the issuer";
        case Authority::kPolicy:
            return ", signed by a responder that policy names";
        case Authority::kNone:
            break;
    }
    return {};
}

// Without an answer there is nothing to rely on.
std::string basisOf(const CheckResult& result) {
    const Verdict& verdict = result.verdict;
    if (verdict.answer == Answer::kUnproven) {
        return {};
    }
    const bool isStored = verdict.attempts.empty();
    const bool isMatched = verdict.freshness == Freshness::kNonceMatched;
    std::string text = isMatched ? "a response to this request (nonce matched)" : "the dates of a response";
    if (isStored) {
        text = std::string("a stored response") + (isMatched ? " to this request" : "");
    }
    if (isStored || !isMatched) {
        text += " (" + result.thisUpdate + (result.nextUpdate.empty() ? "" : " to " + result.nextUpdate);
        text += isMatched ? ")" : ", perhaps not the latest)";
    }
    text += signerText(verdict.authority) + "; the certificate's chain ";
    if (result.chain.empty()) {
        return text + "was not validated" + (isStored ? "" : " (--verify-chain)");
    }
    return text + "is " + result.chain;
}

}  // namespace

std::string toText(const Shown& shown) {
    std::string text;
    addShown(text, shown, shown.name, 0);
    return text;
}

std::string toText(const CheckResult& result, bool isColoured) {
    std::string text = safeLine(result.file) + ": " + (isColoured ? painted(result.state) : nameOf(result.state));
    if (result.state == CertificateState::kRevoked) {
        text += " since " + result.revocationTime;
        text += result.revocationReason.empty() ? "" : " (" + result.revocationReason + ")";
    }
    text += '\n';
    addLine(text, "subject:      ", result.subject);
    addLine(text, "serial:       ", result.serial);
    addLine(text, "responder:    ", result.responder);
    addLine(text, "produced at:  ", result.producedAt);
    addLine(text, "this update:  ", result.thisUpdate);
    addLine(text, "next update:  ", result.nextUpdate);
    addLine(text, "nonce:        ", result.nonce);
    addLine(text, "chain:        ", result.chain);
    addLine(text, "staple:       ", stapleText(result.staple));
    addLine(text, "based on:     ", basisOf(result));
    return text;
}

std::string failureLine(const std::string& name, const CheckError& error) {
    return "tallow: " + safeLine(name + ": " + error.text + " (" + codeText(error.code) + ")") + '\n';
}

std::string failureLines(const CheckResult& result) {
    std::string text;
    for (const std::optional<CheckError>& failure : {result.error, result.unsaved}) {
        if (failure) {
            text += failureLine(result.file, *failure);
        }
    }
    if (result.staple && result.staple->isBad()) {
        const bool isSame = result.error && result.error->text.find(result.staple->text) != std::string::npos;
        text +=
            "tallow: " +
            safeLine(result.file + ": staple: " + (isSame ? "not proven, for the same reason" : result.staple->text)) +
            '\n';
    }
    return text;
}

}  // namespace tallow::cli
