#include "cli/result_printer.h"

#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <string_view>

#include "cli/output.h"
#include "cli/verbose.h"

namespace tallow::cli {

namespace {

std::string_view environment(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::string_view() : value;
}

bool isColoured(Colour colour) {
    if (colour != Colour::kAuto) {
        return colour == Colour::kAlways;
    }
    const std::string_view terminal = environment("TERM");
    return environment("NO_COLOR").empty() && !terminal.empty() && terminal != "dumb" && ::isatty(STDOUT_FILENO) == 1;
}

}  // namespace

ResultPrinter::ResultPrinter(const OutputOptions& options, std::ostream& out)
    : options_(options), out_(out), isColoured_(isColoured(options.colour)) {}

ResultPrinter::Texts ResultPrinter::textsOf(const CheckResult& result) const {
    Texts texts;
    if (options_.jsonLines) {
        texts.out = toJsonLine(result);
    } else if (!options_.json) {
        texts.out = toText(result, isColoured_);
    }
    texts.err = (options_.isVerbose ? explanationOf(result) : "") + failureLines(result);
    return texts;
}

void ResultPrinter::print(const Texts& texts) const {
    if (!texts.out.empty()) {
        out_ << texts.out << std::flush;
    }
    std::cerr << texts.err;
}

Outcome ResultPrinter::finish(const std::vector<CheckResult>& results) const {
    return {options_.json ? toJson(results) : "", "", exitStatusOf(results)};
}

}  // namespace tallow::cli
