#include "cli/option_rules.h"

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <type_traits>

#include "cli/network.h"
#include "cli/output_file.h"

namespace tallow::cli {

namespace {

using Paths = std::vector<std::string>;

void append(Paths& paths, const Paths& more) {
    paths.insert(paths.end(), more.begin(), more.end());
}

template <typename Options>
Paths inputsOf(const Options& options) {
    Paths paths;
    if constexpr (std::is_base_of_v<RunOptions, Options>) {
        paths.push_back(options.issuer);
        append(paths, options.trust);
        append(paths, options.certs);
        append(paths, options.crls);
    }
    if constexpr (requires { options.certificates; }) {
        append(paths, options.certificates);
    }
    if constexpr (requires { options.batch; }) {
        paths.push_back(options.batch.list);
    }
    if constexpr (requires { options.request; }) {
        paths.push_back(options.request);
    }
    if constexpr (requires { options.response; }) {
        paths.push_back(options.response);
    }
    if constexpr (requires { options.certificate; }) {
        paths.push_back(options.certificate);
    }
    if constexpr (requires { options.sign; }) {
        const std::string& key = options.key;
        paths.insert(paths.end(), {options.sign, options.pinFile, key.substr(key.starts_with("file://") ? 7 : 0),
                                   std::filesystem::path(options.sign).replace_extension(".key").string()});
    }
    if constexpr (std::is_base_of_v<NetworkOptions, Options>) {
        paths.push_back(options.proxyPasswordFile);
    }
    if constexpr (requires { options.file; }) {
        paths.push_back(options.file);
    }
    return paths;
}

// Those of a check, in the order of outputsOf.
constexpr const char* kOutputs[] = {"--save-request", "--save-response", "--metrics", "--report"};

template <typename Options>
Paths outputsOf(const Options& options) {
    if constexpr (requires { options.saveRequest; }) {
        return {options.saveRequest, options.saveResponse, options.metrics, options.report};
    } else if constexpr (requires { options.output; }) {
        return {options.output};
    }
    return {};
}

template <typename Options>
bool isJson(const Options& options) {
    if constexpr (std::is_base_of_v<OutputOptions, Options>) {
        return options.json || options.jsonLines;
    }
    return false;
}

// The second one written would replace the first. Devices and pipes take both.
bool isSameFile(const std::string& left, const std::string& right) {
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::file_type type = left.empty() || right.empty() ? fs::file_type::none : fs::status(left, error).type();
    return (type == fs::file_type::regular || type == fs::file_type::not_found) && left != "-" &&
           fs::weakly_canonical(fs::absolute(left, error), error) ==
               fs::weakly_canonical(fs::absolute(right, error), error) &&
           !error;
}

std::string mistakeInStreams(const CommandOptions& options) {
    const Paths inputs = inputFilesOf(options);
    if (std::count(inputs.begin(), inputs.end(), "-") > 1) {
        return "- is given more than once, but standard input can be read only once; name files for the others";
    }
    const Paths outputs = outputFilesOf(options);
    const auto numTaken = std::count_if(outputs.begin(), outputs.end(), isStandardOutput);
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        for (std::size_t j = i + 1; j < outputs.size(); ++j) {
            const std::string both = std::string(kOutputs[i]) + " and " + kOutputs[j];
            if (isStandardOutput(outputs[i]) && isStandardOutput(outputs[j])) {
                return both + " would both be written to standard output; name a file for one";
            }
            if (isSameFile(outputs[i], outputs[j]) || (!outputs[i].empty() && outputs[i] == outputs[j])) {
                return both + " name the same file; name two";
            }
        }
    }
    if (numTaken == 1 && std::visit([](const auto& chosen) { return isJson(chosen); }, options)) {
        return "the JSON result and an output file would both be written to standard output; name a file for one";
    }
    return {};
}

template <typename Options>
std::string mistakeInAsking(const Options& options) {
    std::string mistake;
    if constexpr (std::is_base_of_v<NetworkOptions, Options>) {
        mistake = mistakeInUrl("--url", options.url);
        return mistake.empty() ? mistakeInNetwork(options) : mistake;
    }
    return mistake;
}

// What does not go with a list, which may be long.
std::string mistakeInBatch(const CheckOptions& options) {
    if (options.batch.list.empty()) {
        return {};
    }
    if (!options.certificates.empty()) {
        return "CERT and --from-file exclude each other; add the files to the list";
    }
    if (!options.server.address.empty()) {
        return "--connect and --from-file exclude each other; check servers in a run of their own";
    }
    if (options.json) {
        return "--json and --from-file exclude each other, since one document would hold all results; use --jsonl";
    }
    if (options.batch.bundle > 1 && options.nonce == Nonce::kOff) {
        return "--bundle and --nonce off exclude each other: only the nonce shows that such a response is fresh";
    }
    if (!options.batch.resume.empty() &&
        (options.isMonitoring || !options.metrics.empty() || !options.report.empty())) {
        return "--resume goes with none of --monitor, --metrics and --report, which need the results of all "
               "certificates; leave it out";
    }
    if (options.batch.resume == "-") {
        return "--resume needs a file that can be replaced, not standard input or output; name one";
    }
    return options.saveRequest.empty() && options.saveResponse.empty()
               ? std::string()
               : "--save-request and --save-response go with one certificate, not with --from-file";
}

// "-h.pem" and "-vh" begin with flags, one of which is -h.
bool isHelp(std::string_view argument) {
    const bool isShort = argument.starts_with('-') && !argument.starts_with("--");
    const std::size_t flag = isShort ? argument.find_first_not_of('v', 1) : std::string_view::npos;
    const std::string_view name = argument.substr(0, argument.find('='));
    return name == "--help" || name == "--version" || (flag != std::string_view::npos && argument[flag] == 'h');
}

// How many of the arguments, from the first on, name the command.
std::ptrdiff_t numCommandWords(const std::vector<std::string_view>& arguments) {
    const bool isOption = arguments.empty() || arguments.front().starts_with('-');
    return isOption ? 0 : arguments.front() == "store" ? 2 : 1;
}

}  // namespace

std::vector<std::string> inputFilesOf(const CommandOptions& options) {
    return std::visit([](const auto& chosen) { return inputsOf(chosen); }, options);
}

std::vector<std::string> outputFilesOf(const CommandOptions& options) {
    return std::visit([](const auto& chosen) { return outputsOf(chosen); }, options);
}

std::string settingsFileOf(const CommandOptions& options) {
    return std::visit(
        [](const auto& chosen) {
            if constexpr (requires { chosen.settings; }) {
                return chosen.settings;
            }
            return std::string();
        },
        options);
}

bool isOutputTaken(const CommandOptions& options) {
    const Paths outputs = outputFilesOf(options);
    return std::any_of(outputs.begin(), outputs.end(), isStandardOutput);
}

std::string mistakeIn(const CommandOptions& options) {
    const auto* check = std::get_if<CheckOptions>(&options);
    if (check != nullptr && check->certificates.empty() && check->server.address.empty() && check->batch.list.empty()) {
        return "CERT is missing; name a file with a certificate, or a server with --connect";
    }
    if (check != nullptr && check->warn && check->critical && *check->warn < *check->critical) {
        return "--warn is shorter than --crit, so that there is never a warning; exchange them";
    }
    if (const auto* staple = std::get_if<StapleOptions>(&options);
        staple != nullptr && (staple->name.find('/') != std::string::npos || staple->name.starts_with('.'))) {
        return "--name " + staple->name + ": is no name for a file; give one such as www.example.org";
    }
    std::string mistake = mistakeInStreams(options);
    if (mistake.empty() && check != nullptr) {
        mistake = mistakeInBatch(*check);
    }
    return mistake.empty() ? std::visit([](const auto& chosen) { return mistakeInAsking(chosen); }, options) : mistake;
}

std::string helpMistakeIn(int argc, char** argv) {
    const std::vector<std::string_view> arguments(argv + std::min(argc, 1), argv + argc);
    const auto end = std::find(arguments.begin(), arguments.end(), "--");
    const auto help = std::find_if(arguments.begin(), end, isHelp);
    if (help == end) {
        return {};
    }
    // "tallow --help", "tallow check --help", "tallow store add --help"
    const bool isAlone = help + 1 == arguments.end() && help - arguments.begin() <= numCommandWords(arguments);
    if (isAlone && (*help == "-h" || *help == "--help" || *help == "--version")) {
        return {};
    }
    const std::string name(*help);
    return name + " counts only alone, as in tallow check " + (name == "--version" ? name : "--help") +
           "; a file of that name is ./" + name + ", or comes after --";
}

std::vector<std::string> withoutMark(int argc, char** argv) {
    std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
    for (std::string& argument : arguments) {
        // The parser would read a file of this name as a list of others. An IPv6 address is left alone.
        if (argument.starts_with('[') && argument.ends_with(']') && argument.find(':') == std::string::npos) {
            argument.insert(0, "./");
        }
    }
    const auto mark = std::find(arguments.begin(), arguments.end(), "--");
    for (auto file = mark; file != arguments.end(); ++file) {
        if (file->starts_with('-') && file->size() > 1) {
            file->insert(0, "./");
        }
    }
    if (mark != arguments.end()) {
        arguments.erase(mark);
    }
    return arguments;
}

}  // namespace tallow::cli
