#include "checker/text/safe_text.h"
#include "checker/text/status_text.h"
#include "cli/error_text.h"
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
        const bool isNamed = shown.kind == Shown::Kind::kObject;
        addShown(text, part, isNamed ? part.name : std::to_string(++number), depth + 1);
    }
}

}  // namespace

std::string toText(const Shown& shown) {
    std::string text;
    addShown(text, shown, shown.name, 0);
    return text;
}

std::string toText(const std::vector<CheckResult>& results) {
    std::string text;
    for (const CheckResult& result : results) {
        text += safeLine(result.file) + ": " + nameOf(result.state);
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
    }
    return text;
}

std::string failureLine(const std::string& name, const CheckError& error) {
    return "tallow: " + safeLine(name + ": " + error.text + " (" + codeText(error.code) + ")") + '\n';
}

std::string failureLines(const std::vector<CheckResult>& results) {
    std::string text;
    for (const CheckResult& result : results) {
        for (const std::optional<CheckError>& failure : {result.error, result.unsaved}) {
            if (failure) {
                text += failureLine(result.file, *failure);
            }
        }
        if (result.staple && result.staple->isBad()) {
            text += "tallow: " + safeLine(result.file + ": staple: " + result.staple->text) + '\n';
        }
    }
    return text;
}

}  // namespace tallow::cli
