#include "cli/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <span>
#include <utility>

#include "checker/text/safe_text.h"
#include "cli/option_rules.h"
#include "cli/option_values.h"

#ifndef TALLOW_VERSION
#define TALLOW_VERSION "unknown"
#endif

namespace tallow::cli {

using namespace text;

namespace {

constexpr std::string_view kStartTlsProtocols[] = {"smtp", "imap", "pop3", "ftp", "ldap", "xmpp", "postgres", "mysql"};

std::string joined(std::span<const std::string_view> words) {
    std::string text;
    for (const std::string_view word : words) {
        text += (text.empty() ? "" : ", ") + std::string(word);
    }
    return text;
}

constexpr const char* kVersion = "tallow " TALLOW_VERSION;

// ---- Kinds of option ------------------------------------------------------------------------------------------------

CLI::Option* addFile(CLI::App& command, const char* name, std::string& path, const char* what) {
    return command.add_option(name, path, what)->type_name("FILE");
}

CLI::Option* addUrl(CLI::App& command, const char* name, std::string& url, const char* what) {
    return command.add_option(name, url, what)->type_name("URL");
}

// A repeatable option takes one value at a time, so that it never takes an argument after it.
void addFiles(CLI::App& command, const char* name, std::vector<std::string>& paths, const char* what) {
    command.add_option(name, paths, what)->type_name("FILE")->allow_extra_args(false);
}

// An option whose text `read` turns into a value, or rejects with nothing. `expected` says what it takes.
template <typename Value>
void addValue(CLI::App& command, const char* name, const char* type, std::optional<Value>& value,
              std::optional<Value> (*read)(const std::string&), const char* expected, const char* what) {
    const auto set = [&value, read, name, expected](const std::string& text) {
        value = read(text);
        if (!value) {
            throw CLI::ValidationError(name, text + " cannot be used; give " + expected);
        }
    };
    command.add_option_function<std::string>(name, set, what)->type_name(type);
}

void addJson(CLI::App& command, OutputOptions& options) {
    command.add_flag("--json", options.json, "Print the result as JSON");
}

// Of commands that report on certificates one after the other.
void addOutput(CLI::App& command, OutputOptions& options) {
    addJson(command, options);
    command.add_flag("--jsonl", options.jsonLines, "Print one line of JSON for each certificate as soon as it is done")
        ->excludes("--json");
    command.add_flag("-v,--verbose", options.isVerbose, "Explain on standard error how each verdict came about");
    const auto setColour = [&options](const std::string& when) {
        options.colour = when == "always" ? Colour::kAlways : when == "never" ? Colour::kNever : Colour::kAuto;
    };
    command.add_option_function<std::string>("--color", setColour, "When to print in colour: auto, always, never")
        ->type_name("WHEN")
        ->check(CLI::IsMember({"auto", "always", "never"}));
}

void addNetwork(CLI::App& command, NetworkOptions& options) {
    addUrl(command, "--proxy", options.proxy, "Go through this HTTP proxy");
    CLI::Option* const password = addFile(command, "--proxy-password-file", options.proxyPasswordFile,
                                          "The first line of this file is the password at the proxy");
    command.add_option("--proxy-user", options.proxyUser, "Name at the proxy")->type_name("NAME")->needs(password);
    password->needs("--proxy-user");
    addValue(command, "--timeout", "SECONDS", options.timeout, timeoutFrom, "seconds, for example 10 or 0.5",
             "Time limit for each certificate with all that it needs; 30 by default");
}

void addMaxAge(CLI::App& command, std::optional<std::chrono::seconds>& maxAge) {
    addValue(command, "--max-age", "DURATION", maxAge, durationFrom, "a duration such as 30m, 12h or 7d",
             "Refuse responses whose thisUpdate is older");
}

void addSettings(CLI::App& command, RunOptions& options) {
    addFile(command, "--settings", options.settings, "Settings file");
    command.add_flag("--trace", options.trace, "Write a trace to standard error");
}

// Certificates and CRLs for chains.
void addChainFiles(CLI::App& command, RunOptions& options) {
    addFiles(command, "--trust", options.trust, "Trust the roots in this file, for this run (repeatable)");
    addFiles(command, "--certs", options.certs, "More certificates for building chains (repeatable)");
    addFiles(command, "--crl", options.crls, "A CRL for the signer's chain (repeatable)");
}

void addNaming(CLI::App& command, RunOptions& options) {
    addFile(command, "--issuer", options.issuer, "Certificate of their issuer");
    command.add_option("--hash", options.hash, "Hash that names the issuer: sha1, sha256, sha384, sha512 or an OID")
        ->type_name("NAME|OID");
}

void addNonce(CLI::App& command, std::optional<Nonce>& nonce, const char* what) {
    addValue(command, "--nonce", "MODE", nonce, nonceFrom, "require, try or off", what);
    command.add_flag_function(
        "--no-nonce", [&nonce](std::int64_t) { nonce = Nonce::kOff; }, "The same as --nonce off");
}

// An empty text comes from a variable that is not set; it must not count as an option that is not given.
void refuseEmptyTexts(CLI::App& command) {
    for (CLI::Option* option : command.get_options([](const CLI::Option* o) { return o->get_type_size() > 0; })) {
        option->check([](const std::string& value) { return value.empty() ? "an empty text names nothing" : ""; }, "");
    }
}

// ---- The commands ---------------------------------------------------------------------------------------------------

void declare(CLI::App& check, CheckOptions& options) {
    check
        .add_option("CERT", options.certificates,
                    "Files with certificates to ask about and their issuers, PEM, DER, PKCS #7 or #12; - is standard "
                    "input")
        ->type_name("FILE");
    check
        .add_option("--connect", options.server.address,
                    "Check the certificate of this TLS server, and the response that it staples")
        ->type_name("HOST[:PORT]");
    check.add_option("--starttls", options.server.startTls, "Begin with this protocol: " + joined(kStartTlsProtocols))
        ->type_name("PROTOCOL")
        ->needs("--connect")
        ->check(CLI::IsMember(std::vector<std::string>(std::begin(kStartTlsProtocols), std::end(kStartTlsProtocols))));
    check.add_option("--servername", options.server.name, "Name of the server that is asked for (SNI)")
        ->type_name("NAME")
        ->needs("--connect");
    check.add_flag("--chain", options.server.wholeChain, "Check every certificate that the server sends")
        ->needs("--connect");
    addNaming(check, options);
    addNonce(check, options.nonce,
             "require: only a response with our nonce counts; try (the default): without one its dates decide; off: "
             "none is sent");
    addMaxAge(check, options.maxAge);
    addUrl(check, "--url", options.url, "Ask this responder, not those that the certificates name");
    addNetwork(check, options);
    addChainFiles(check, options);
    check.add_flag("--verify-chain", options.verifyChain,
                   "Validate the chain of the certificate too: dates, path, CRLs of the CAs");
    addFile(check, "--save-request", options.saveRequest,
            "Write the DER request to this file, - for standard output (one certificate)");
    addFile(check, "--save-response", options.saveResponse,
            "Write the response to this file, - for standard output (one certificate)");
    addOutput(check, options);
    addSettings(check, options);
    check.footer(
        "Every certificate is checked that is not a CA and did not issue another one in its file. In a file with CAs "
        "only,\n"
        "those are checked that did not issue another one in it; none of them if one issued a certificate that is "
        "checked\n"
        "from another file. All certificates and CRLs of all files, in any order, are used for issuers and chains.\n"
        "Results are named FILE, or FILE#1, FILE#2, ... when several certificates of a file are checked.\n"
        "If an output file is - or /dev/stdout, the result is printed on standard error.\n"
        "--connect goes to the server directly, without a proxy. As for files, only revocation is checked, and with\n"
        "--verify-chain the chain: not the name of the server, nor how well TLS protects the connection.\n"
        "Exit status: 0 all certificates are good; 1 one is revoked; 3 none is, but for one no trusted answer was "
        "had;\n"
        "2 none of these, but a responder does not know one; 64 wrong usage.");
}

void declare(CLI::App& request, RequestOptions& options) {
    request
        .add_option("CERT", options.certificates,
                    "Files with certificates to ask about, and their issuers, as for check")
        ->required()
        ->type_name("FILE");
    addNaming(request, options);
    addNonce(request, options.nonce, "off: without a nonce; require and try: with one; by default as the policy says");
    CLI::Option* sign = addFile(request, "--sign", options.sign, "Sign with the key of this certificate");
    request.add_option("--key", options.key, "Path or URI of its key; else in or beside its file, or as store My says")
        ->type_name("URI")
        ->needs(sign);
    addFile(request, "--pin-file", options.pinFile, "The first line of this file opens the key")->needs(sign);
    request
        .add_option("--include", options.include, "Certificates to send along: none, signer, chain, chain-root, policy")
        ->type_name("WHAT")
        ->needs(sign)
        ->check(CLI::IsMember({"none", "signer", "chain", "chain-root", "policy"}));
    addFile(request, "-o,--output", options.output, "Write the DER request to this file, - for standard output")
        ->required();
    addSettings(request, options);
    request.footer("Exit status: 0 the request is written; 3 it cannot be built or signed; 64 wrong usage.");
}

void declare(CLI::App& send, SendOptions& options) {
    addFile(send, "REQUEST", options.request, "The request to send: PEM, DER or base64; - is standard input")
        ->required();
    addUrl(send, "--url", options.url, "Address of the responder")->required();
    addNetwork(send, options);
    addFile(
        send, "-o,--output", options.output,
        "Write what is answered to this file, - for standard output; what else is printed then goes to standard error");
    addSettings(send, options);
    send.footer(
        "Exit status: 0 a successful response came, not verified; 3 none, or one that does not fit the request;\n"
        "64 wrong usage.");
}

void declare(CLI::App& verify, VerifyOptions& options) {
    addFile(verify, "RESPONSE", options.response, "The response to judge: PEM, DER or base64; - is standard input")
        ->required();
    addFile(verify, "--request", options.request, "The request it answers: nonce and entries are matched with it");
    addFile(verify, "--cert", options.certificate, "Judge the entry about this certificate");
    addFile(verify, "--issuer", options.issuer, "Certificate of its issuer");
    addValue(verify, "--at", "TIME", options.at, timeFrom, "a time such as 2026-11-22T10:00:00Z or 2026-11-22",
             "Judge as of this time (UTC): response, chain and CRLs");
    addMaxAge(verify, options.maxAge);
    addChainFiles(verify, options);
    addOutput(verify, options);
    addSettings(verify, options);
    verify.footer(
        "Nobody is asked: chains and CRLs come from files, stores and the cache. Without --cert and --request every\n"
        "entry of the response is judged.\n"
        "Exit status: 0 all certificates are good; 1 one is revoked; 3 none is, but for one there is no answer to "
        "trust;\n"
        "2 none of these, but the responder does not know one; 64 wrong usage.");
}

void declare(CLI::App& verify, VerifyRequestOptions& options) {
    addFile(verify, "REQUEST", options.request, "The request to judge: PEM, DER or base64; - is standard input")
        ->required();
    addChainFiles(verify, options);
    addJson(verify, options);
    addSettings(verify, options);
    verify.footer(
        "Exit status: 0 it is signed by a requestor to trust; 1 it is refused; 2 nothing is wrong with it, but it is "
        "not\n"
        "signed; 3 there is no verdict; 64 wrong usage.");
}

void declare(CLI::App& show, ShowOptions& options) {
    addFile(show, "FILE", options.file, "A request or a response: PEM, DER or base64; - is standard input")->required();
    addJson(show, options);
    show.footer("Nothing is verified. Exit status: 0 the message is shown; 64 the file is no OCSP message.");
}

void declare(CLI::App& store, StoreOptions& options) {
    struct Row {
        const char* name;
        const char* what;
        StoreAction action;
        const char* file;  // null when it takes none
    };
    constexpr Row kRows[] = {
        {"list", "Show the certificates and CRLs of a store", StoreAction::kList, nullptr},
        {"add", "Put certificates or CRLs into a store", StoreAction::kAdd, "Certificates or CRLs, PEM or DER"},
        {"remove", "Take certificates or CRLs out of a store", StoreAction::kRemove,
         "The same certificates or CRLs, or a SHA-1 thumbprint as list shows it"},
    };
    store.require_subcommand(1);
    for (const Row& row : kRows) {
        CLI::App* action = store.add_subcommand(row.name, row.what);
        action->add_option("NAME", options.name, "ROOT, CA, My, ...")->required()->type_name("STORE");
        if (row.file != nullptr) {
            addFile(*action, "FILE", options.file, row.file)->required();
        }
        action->add_flag("--machine", options.machine, "The machine's store, not the user's");
        if (row.action == StoreAction::kList) {
            addJson(*action, options);
        }
        addSettings(*action, options);
        action->callback([&options, chosen = row.action] { options.action = chosen; });
        refuseEmptyTexts(*action);
    }
    store.footer("Exit status: 0 done; 64 wrong usage, or a file or store that cannot be used.");
}

void declare(CLI::App& settings, SettingsOptions& options) {
    CLI::Option* const check =
        settings.add_flag("--check", options.isCheck, "Report unknown keys, wrong types and values out of range");
    addFile(settings, "FILE", options.file, "The file to check; that in force when absent")->needs(check);
    addJson(settings, options);
    addSettings(settings, options);
    settings.footer("Exit status: 0 shown, or without a mistake; 64 the settings file is broken.");
}

void declare(CLI::App& explain, ExplainOptions& options) {
    explain.add_option("CODE", options.code, "A status such as 0xC2110122")->required()->type_name("CODE");
    explain.footer("Exit status: 0 explained; 64 the status is not known.");
}

[[noreturn]] void usage(const std::string& message, const std::string& command) {
    throw UsageError(message + " (see tallow " + command + "--help)");
}

// The parser repeats unknown arguments, which may be addresses with a password.
std::string withoutLogins(std::string message, int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        for (const std::string_view shown : {argument, argument.substr(argument.find('=') + 1)}) {
            const std::size_t at = shown.find('@') == std::string_view::npos ? std::string::npos : message.find(shown);
            if (at != std::string::npos) {
                message.replace(at, shown.size(), withoutLogin(shown));
            }
        }
    }
    return message;
}

// The whole command line: each command's options, and the chosen command.
class CommandLine {
public:
    CommandLine() {
        app_.set_version_flag("--version", kVersion);
        app_.require_subcommand(1);
        add("check", "Ask about certificates", check_);
        add("request", "Build a request, signed if wanted", request_);
        add("send", "Send a request as it is", send_);
        add("verify", "Judge a stored response", verify_);
        add("verify-request", "Judge a request as its receiver would", verifyRequest_);
        add("show", "Show what stands in a request or a response", show_);
        add("store", "List, fill and empty the stores of trusted and other certificates", store_);
        add("explain", "Say what a status means, its usual causes, and what helps", explain_);
        add("settings", "Show every setting, its value in force, and whether it is set", settings_);
    }

    std::optional<int> read(int argc, char** argv, CommandOptions& options) {
        if (const std::string mistake = helpMistakeIn(argc, argv); !mistake.empty()) {
            return usage(mistake, "");
        }
        try {
            std::vector<std::string> arguments = withoutMark(argc, argv);
            std::reverse(arguments.begin(), arguments.end());  // as the parser takes them
            app_.parse(std::move(arguments));
        } catch (const CLI::Success& request) {
            return app_.exit(request);  // help or version, on standard output
        } catch (const CLI::ParseError& mistake) {
            usage(withoutLogins(mistake.what(), argc, argv), commandGiven());
        }
        take_(options);
        return std::nullopt;
    }

private:
    template <typename Options>
    void add(const char* name, const char* what, Options& options) {
        CLI::App* command = app_.add_subcommand(name, what);
        command->set_version_flag("--version", kVersion);
        declare(*command, options);
        refuseEmptyTexts(*command);
        command->callback([this, &options] { take_ = [&options](CommandOptions& given) { given = options; }; });
    }

    // "check ", or "" without a command.
    std::string commandGiven() const {
        const std::vector<CLI::App*> given = app_.get_subcommands();
        return given.empty() ? std::string() : given.front()->get_name() + ' ';
    }

    CLI::App app_{"Asks OCSP responders whether certificates are still good, and verifies what they answer.", "tallow"};
    CheckOptions check_;
    RequestOptions request_;
    SendOptions send_;
    VerifyOptions verify_;
    VerifyRequestOptions verifyRequest_;
    ShowOptions show_;
    StoreOptions store_;
    SettingsOptions settings_;
    ExplainOptions explain_;
    std::function<void(CommandOptions&)> take_;
};

}  // namespace

std::optional<int> readCommandLine(int argc, char** argv, CommandOptions& options) {
    CommandLine line;
    if (const std::optional<int> end = line.read(argc, argv, options)) {
        return end;
    }
    if (const std::string mistake = mistakeIn(options); !mistake.empty()) {
        usage(mistake, argc > 1 ? argv[1] + std::string(" ") : "");
    }
    return std::nullopt;
}

}  // namespace tallow::cli
