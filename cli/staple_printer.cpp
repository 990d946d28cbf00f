#include "cli/staple_printer.h"

#include <algorithm>
#include <iostream>

#include "checker/text/safe_text.h"
#include "checker/text/status_text.h"
#include "cli/evidence_text.h"
#include "cli/output.h"
#include "cli/verbose.h"
#include "handles/status.h"

namespace tallow::cli {

using namespace text;

namespace {

void addIfAny(Shown& shown, const char* name, const std::string& text) {
    if (!text.empty()) {
        shown.add(name, text);
    }
}

void addError(Shown& shown, const char* name, const std::optional<CheckError>& error) {
    if (error) {
        Shown object = Shown::object(name);
        object.add("code", codeText(error->code));
        object.add("text", error->text);
        shown.add(std::move(object));
    }
}

Shown shownResult(const StapleResult& result) {
    const CheckResult& answer = result.answer;
    const Verdict& inFile = result.file.verdict;
    Shown shown = Shown::object("");
    shown.add("file", answer.file);
    addIfAny(shown, "subject", answer.subject);
    addIfAny(shown, "serial", answer.serial);
    shown.add("status", nameOf(result.state()));
    addIfAny(shown, "response", result.file.path);
    shown.add("action", nameOf(result.action));
    shown.add("inFile", result.file.state());
    addIfAny(shown, "reason", result.reason);
    addIfAny(shown, "responder", answer.responder);
    addIfAny(shown, "thisUpdate", timeText(inFile.thisUpdate));
    addIfAny(shown, "nextUpdate", timeText(inFile.nextUpdate));
    addIfAny(shown, "revocationTime", answer.revocationTime);
    addIfAny(shown, "revocationReason", answer.revocationReason);
    shown.add("nextRun", timeText(result.nextRun));
    addError(shown, "error", answer.error);
    addError(shown, "unsaved", answer.unsaved);
    return shown;
}

std::string textOf(const StapleResult& result) {
    const CheckResult& answer = result.answer;
    const Verdict& inFile = result.file.verdict;
    std::string text = safeLine(answer.file) + ": " + nameOf(result.state());
    text += answer.revocationTime.empty() ? "" : " since " + answer.revocationTime;
    text += answer.revocationReason.empty() ? "" : " (" + answer.revocationReason + ")";
    const auto addLine = [&text](const char* label, const std::string& value) {
        text += value.empty() ? "" : std::string("\n    ") + label + safeLine(value);
    };
    const std::string state = result.file.state();
    addLine("response:     ", result.file.path);
    addLine("action:       ", nameOf(result.action) + (result.reason.empty() ? "" : ": " + result.reason));
    addLine("in the file:  ", state == nameOf(result.state()) ? "" : state);
    addLine("this update:  ", timeText(inFile.thisUpdate));
    addLine("next update:  ", timeText(inFile.nextUpdate));
    addLine("next run:     ", timeText(result.nextRun));
    return text + '\n';
}

}  // namespace

void StaplePrinter::print(const StapleResult& result) const {
    if (options_.jsonLines) {
        std::cout << toJsonLine(kStapleLineSchema, shownResult(result)) << std::flush;
    } else if (!options_.json) {
        std::cout << textOf(result) << std::flush;
    }
    const bool isExplained = options_.isVerbose && result.action != StapleAction::kNotDue;
    std::cerr << (isExplained ? explanationOf(result.answer) : "") << failureLines(result.answer);
}

Outcome StaplePrinter::finish(const StapleReport& report) const {
    Outcome outcome;
    outcome.exitStatus = exitStatusOf(report);
    if (report.hook && !report.hook->failure.empty()) {
        const CheckError failure{status::kFail, report.hook->failure + "; the next run runs it again"};
        outcome.err = failureLine("--hook", failure);
    }
    if (options_.json) {
        Shown shown = Shown::list("staples");
        for (const StapleResult& result : report.staples) {
            shown.add(shownResult(result));
        }
        outcome.out = toJson(kStapleSchema, shown);
    }
    return outcome;
}

}  // namespace tallow::cli
