#include "cli/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <utility>

#include "checker/text/safe_text.h"
#include "cli/closest_name.h"
#include "cli/help.h"
#include "cli/option_rules.h"
#include "cli/option_values.h"
#include "cli/parser_text.h"
#include "cli/server/starttls.h"
#include "platform/crypto/crypto_service.h"

#ifndef TALLOW_VERSION
#define TALLOW_VERSION "unknown"
#endif

namespace tallow::cli {

using namespace text;

namespace {

// The headings of help pages.
constexpr const char* kInput = "Input";
constexpr const char* kAsking = "Asking";
constexpr const char* kAccepting = "Accepting";
constexpr const char* kTrust = "Trust";
constexpr const char* kOutput = "Output";
constexpr const char* kSettings = "Settings";
constexpr const char* kHelp = "Help";  // at the end of a page

constexpr const char* kExitStatuses =
    "Exit status: 0 all certificates are good; 1 at least one is revoked; 2 at least one is unknown to its responder; "
    "3 at least one has no verified answer; 64 wrong usage. If several apply, 1 comes before 3, and 3 before 2.";

std::vector<std::string> startTlsNames() {
    std::vector<std::string> names;
    for (const StartTlsProtocol& protocol : startTlsProtocols()) {
        names.emplace_back(protocol.name);
    }
    return names;
}

std::string version() {
    std::string text = std::string("tallow " TALLOW_VERSION "\n") + crypto_library_versions();
    text.pop_back();  // the parser adds this line feed
    return text;
}

// ---- Kinds of option ------------------------------------------------------------------------------------------------

// The options declared next stand under this heading.
void group(CLI::App& command, const char* heading) {
    command.option_defaults()->group(heading);
}

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

// An option that takes a whole number from 1 on.
CLI::Option* addCount(CLI::App& command, const char* name, unsigned& count, unsigned most, const std::string& what) {
    const auto set = [&count, name, most](const std::string& text) {
        const std::optional<unsigned> number = countFrom(text, most);
        if (!number) {
            throw CLI::ValidationError(name,
                                       text + " cannot be used; give a whole number from 1 to " + std::to_string(most));
        }
        count = *number;
    };
    return command.add_option_function<std::string>(name, set, what)->type_name("N");
}

// Limits an option to some words.
void takesOneOf(CLI::Option* option, const std::vector<std::string>& words) {
    const auto find = [words](const std::string& text) {
        if (std::find(words.begin(), words.end(), text) != words.end()) {
            return std::string();
        }
        const std::string near = closestName(text, words);
        return text + " cannot be used; " +
               (near.empty() ? "give one of " + joined(words) : "did you mean " + near + "?");
    };
    option->check(find, "");
}

void addJson(CLI::App& command, OutputOptions& options) {
    command.add_flag("--json", options.json, "Print the result as one JSON document");
}

// Of commands that report on certificates one after the other.
void addOutput(CLI::App& command, OutputOptions& options) {
    group(command, kOutput);
    addJson(command, options);
    command.add_flag("--jsonl", options.jsonLines, "Print one line of JSON for each certificate as soon as it is done")
        ->excludes("--json");
    command.add_flag("-v,--verbose", options.isVerbose,
                     "Explain each verdict on standard error: issuer, responders, signer, chain, CRLs, nonce");
    const auto setColour = [&options](const std::string& when) {
        options.colour = when == "always" ? Colour::kAlways : when == "never" ? Colour::kNever : Colour::kAuto;
    };
    takesOneOf(command
                   .add_option_function<std::string>(
                       "--color", setColour,
                       "Print in colour: auto (the default: on a terminal, unless NO_COLOR is set), always or never")
                   ->type_name("WHEN"),
               {"auto", "always", "never"});
}

void addNetwork(CLI::App& command, NetworkOptions& options) {
    group(command, kAsking);
    addUrl(command, "--proxy", options.proxy, "Use this HTTP proxy; default: the setting DefaultProxy, or none");
    CLI::Option* const password = addFile(command, "--proxy-password-file", options.proxyPasswordFile,
                                          "File whose first line is the password for the proxy");
    command.add_option("--proxy-user", options.proxyUser, "User name for the proxy; needs --proxy-password-file")
        ->type_name("NAME")
        ->needs(password);
    password->needs("--proxy-user");
    addValue(command, "--timeout", "SECONDS", options.timeout, timeoutFrom,
             "seconds up to 86400, for example 10 or 0.5",
             "Time limit for one certificate with everything it needs; default: the setting check_timeout_ms, else 30");
}

void addMaxAge(CLI::App& command, std::optional<std::chrono::seconds>& maxAge) {
    group(command, kAccepting);
    addValue(command, "--max-age", "DURATION", maxAge, durationFrom, "a duration such as 30m, 12h or 7d",
             "Reject responses whose thisUpdate is older (30m, 12h, 7d); default: accept them until nextUpdate");
}

void addSettings(CLI::App& command, RunOptions& options) {
    group(command, kSettings);
    addFile(command, "--settings", options.settings, "Settings file; default: /etc/tallow/settings.toml");
    command.add_flag("--trace", options.trace, "Write a trace of the library to standard error");
}

// Certificates and CRLs for chains.
void addChainFiles(CLI::App& command, RunOptions& options) {
    group(command, kTrust);
    addFiles(command, "--trust", options.trust,
             "Trust the roots in this file too, for this run (repeatable); default: the stores ROOT and the system's "
             "roots");
    addFiles(command, "--certs", options.certs, "More certificates for building chains (repeatable)");
    addFiles(command, "--crl", options.crls, "A CRL for the signer's chain (repeatable)");
}

void addNaming(CLI::App& command, RunOptions& options, const char* issuer) {
    group(command, kAsking);
    addFile(command, "--issuer", options.issuer, issuer);
    command
        .add_option("--hash", options.hash,
                    "Hash that identifies the issuer in the request: sha1, sha256, sha384, sha512 or an OID; default: "
                    "the setting CertIDHashAlg, else sha1, which every responder knows")
        ->type_name("NAME|OID");
}

void addNonce(CLI::App& command, std::optional<Nonce>& nonce, const char* what) {
    addValue(command, "--nonce", "MODE", nonce, nonceFrom, "require, try or off", what);
    command
        .add_flag_function(
            "--no-nonce", [&nonce](std::int64_t) { nonce = Nonce::kOff; }, "The same as --nonce off")
        ->excludes("--nonce");
}

// A list in place of files.
void addBatch(CLI::App& command, BatchOptions& options) {
    constexpr unsigned kMostJobs = 256;
    constexpr unsigned kMostPerHost = 64;
    constexpr unsigned kMostInBundle = 100;
    command
        .add_option("--from-file", options.list,
                    "Check the files that are named in this list, one path or JSON object a line; - is standard input")
        ->type_name("LIST");
    addCount(command, "--jobs", options.jobs, kMostJobs, "Checks at a time; default: 8; needs --from-file")
        ->needs("--from-file");
    addCount(command, "--per-host", options.perHost, kMostPerHost,
             "Checks at a time that ask the same server; default: 4; needs --from-file")
        ->needs("--from-file");
    addCount(command, "--bundle", options.bundle, kMostInBundle,
             "Ask about up to N certificates in a request where the responder answers that; needs --from-file")
        ->needs("--from-file");
    addFile(command, "--resume", options.resume,
            "Record in this file what is done, and leave out what it records; needs --from-file")
        ->needs("--from-file");
}

void describeHelp(CLI::App& command) {
    command.get_help_ptr()->group(kHelp)->description("Print this page");
}

void addVersion(CLI::App& command) {
    command.set_version_flag("--version", version, "Print the versions of tallow and of its libraries")->group(kHelp);
}

// An empty text comes from a variable that is not set; it must not count as an option that is not given.
void rejectEmptyTexts(CLI::App& command) {
    for (CLI::Option* option : command.get_options([](const CLI::Option* o) { return o->get_type_size() > 0; })) {
        option->check([](const std::string& value) { return value.empty() ? "the value is empty; give one" : ""; }, "");
    }
}

void addMonitoring(CLI::App& check, CheckOptions& options) {
    group(check, "Monitoring");
    CLI::Option* const monitor = check.add_flag(
        "--monitor", options.isMonitoring,
        "Print one line with values for a monitoring system. Exit status: 0 OK, 1 warning, 2 critical, 3 unknown");
    monitor->excludes("--json")->excludes("--jsonl");
    constexpr const char* kExpected = "a duration such as 30m, 12h or 7d";
    addValue(check, "--warn", "DURATION", options.warn, durationFrom, kExpected,
             "Warn when a response, the certificate or that of the responder expires sooner; needs --monitor");
    addValue(check, "--crit", "DURATION", options.critical, durationFrom, kExpected,
             "The same for a critical state; needs --monitor");
    for (const char* name : {"--warn", "--crit"}) {
        check.get_option(name)->needs(monitor);
    }
    addFile(check, "--metrics", options.metrics, "Write the results to this file in the text format of Prometheus");
}

// ---- The commands ---------------------------------------------------------------------------------------------------

void declare(CLI::App& check, CheckOptions& options) {
    group(check, kInput);
    check
        .add_option("CERT", options.certificates,
                    "Files with the certificates to check and their issuers, in any order: PEM, DER, PKCS #7 or "
                    "PKCS #12; - is standard input")
        ->type_name("FILE");
    addBatch(check, options.batch);
    check
        .add_option("--connect", options.server.address,
                    "Check the certificate of this TLS server (default port 443), and its stapled response")
        ->type_name("HOST[:PORT]");
    takesOneOf(check
                   .add_option("--starttls", options.server.startTls,
                               "Begin with this protocol: " + joined(startTlsNames()) + "; needs --connect")
                   ->type_name("PROTOCOL")
                   ->needs("--connect"),
               startTlsNames());
    check
        .add_option("--servername", options.server.name,
                    "Name to ask the server for (SNI); default: HOST; needs --connect")
        ->type_name("NAME")
        ->needs("--connect");
    check
        .add_flag("--chain", options.server.wholeChain,
                  "Check every certificate that the server sends, not only its own; needs --connect")
        ->needs("--connect");
    addNaming(check, options,
              "Certificate of the issuer; default: searched in all files, the stores, and at the addresses that the "
              "certificates name");
    addUrl(check, "--url", options.url, "Ask this responder instead of those that the certificates name");
    addNonce(check, options.nonce,
             "require: accept only a response with the nonce of the request; try: without a nonce, its dates decide; "
             "off: send none. Default: try, unless policy says otherwise");
    addNetwork(check, options);
    addMaxAge(check, options.maxAge);
    addChainFiles(check, options);
    check.add_flag("--verify-chain", options.verifyChain,
                   "Validate the chain of each certificate too: dates, path, CRLs of the CAs");
    addOutput(check, options);
    addFile(check, "--save-request", options.saveRequest,
            "Write the DER request to this file; - is standard output (one certificate)");
    addFile(check, "--save-response", options.saveResponse,
            "Write the response to this file; - is standard output (one certificate)");
    addFile(check, "--report", options.report, "Write the results to this file as a page of HTML that stands alone");
    addMonitoring(check, options);
    addSettings(check, options);
    check.footer(
        std::string("Checks every certificate that is not a CA and did not issue another one in its file. In a file "
                    "with CAs only, those are checked that did not issue another one in it; none of them if one issued "
                    "a certificate that is checked from another file. Results are named FILE, or FILE#1, FILE#2, ... "
                    "when several certificates of a file are checked.\n"
                    "If an output file is - or /dev/stdout, the result is printed on standard error.\n"
                    "--connect goes to the server directly, without a proxy. As for files, only revocation is checked, "
                    "and with --verify-chain the chain: not the name of the server, nor how well TLS protects the "
                    "connection.\n") +
        kExitStatuses);
}

void declare(CLI::App& request, RequestOptions& options) {
    group(request, kInput);
    request
        .add_option("CERT", options.certificates,
                    "Files with the certificates to ask about and their issuers, as for check")
        ->required()
        ->type_name("FILE");
    addNaming(request, options,
              "Certificate of the issuer; default: searched in all files, the stores, and at the addresses that the "
              "certificates name");
    addNonce(request, options.nonce,
             "require or try: with a nonce; off: without one. Default: the setting UseNonceByDefault");
    group(request, "Signing");
    CLI::Option* sign = addFile(request, "--sign", options.sign, "Sign with the key of this certificate");
    request
        .add_option("--key", options.key,
                    "Path or URI of the private key; default: in or beside the file of the certificate, or where the "
                    "store My says")
        ->type_name("URI")
        ->needs(sign);
    addFile(request, "--pin-file", options.pinFile, "File whose first line is the password or PIN of the key")
        ->needs(sign);
    takesOneOf(request
                   .add_option("--include", options.include,
                               "Certificates to include: none, signer, chain, chain-root, or policy (the default: the "
                               "setting CertsToInclude)")
                   ->type_name("WHAT")
                   ->needs(sign),
               {"none", "signer", "chain", "chain-root", "policy"});
    group(request, kOutput);
    addFile(request, "-o,--output", options.output, "Write the DER request to this file; - is standard output")
        ->required();
    addSettings(request, options);
    request.footer("Exit status: 0 the request was written; 3 it cannot be built or signed; 64 wrong usage.");
}

void declare(CLI::App& send, SendOptions& options) {
    group(send, kInput);
    addFile(send, "REQUEST", options.request, "The request to send: PEM, DER or base64; - is standard input")
        ->required();
    group(send, kAsking);
    addUrl(send, "--url", options.url, "Address of the responder")->required();
    addNetwork(send, options);
    group(send, kOutput);
    addFile(send, "-o,--output", options.output, "Write the response to this file as received; - is standard output");
    addSettings(send, options);
    send.footer(
        "Nothing is verified: use tallow verify for that. With -o -, everything else is printed on standard error.\n"
        "Exit status: 0 a successful response arrived; 3 none did, or it does not fit the request; 64 wrong usage.");
}

void declare(CLI::App& verify, VerifyOptions& options) {
    group(verify, kInput);
    addFile(verify, "RESPONSE", options.response, "The response to verify: PEM, DER or base64; - is standard input")
        ->required();
    addFile(verify, "--request", options.request, "The request: its nonce and entries are compared with the response");
    addFile(verify, "--cert", options.certificate, "Report only the entry for this certificate");
    addFile(verify, "--issuer", options.issuer, "Certificate of its issuer");
    group(verify, kAccepting);
    addValue(verify, "--at", "TIME", options.at, timeFrom, "a time such as 2026-11-22T10:00:00Z or 2026-11-22",
             "Verify as of this time (UTC): response, chain and CRLs; default: now");
    addMaxAge(verify, options.maxAge);
    addChainFiles(verify, options);
    addOutput(verify, options);
    addSettings(verify, options);
    verify.footer(std::string("Uses no network: certificates and CRLs come from files, the stores and the cache "
                              "directory. Without --cert "
                              "and --request, every entry of the response is reported.\n") +
                  kExitStatuses);
}

void declare(CLI::App& verify, VerifyRequestOptions& options) {
    group(verify, kInput);
    addFile(verify, "REQUEST", options.request, "The request to verify: PEM, DER or base64; - is standard input")
        ->required();
    addChainFiles(verify, options);
    group(verify, kOutput);
    addJson(verify, options);
    addSettings(verify, options);
    verify.footer(
        "Exit status: 0 signed by a trusted requestor; 1 rejected; 2 acceptable, but not signed; 3 no verdict; "
        "64 wrong usage.");
}

void declare(CLI::App& show, ShowOptions& options) {
    group(show, kInput);
    addFile(show, "FILE", options.file, "A request or a response: PEM, DER or base64; - is standard input")->required();
    group(show, kOutput);
    addJson(show, options);
    show.footer(
        "Nothing is verified.\n"
        "Exit status: 0 the message was shown; 64 the file is not an OCSP message.");
}

void declare(CLI::App& staple, StapleOptions& options) {
    group(staple, kInput);
    staple
        .add_option("CERT", options.certificates,
                    "Files with the certificates of servers and their issuers, in any order: PEM, DER, PKCS #7 or "
                    "PKCS #12; - is standard input")
        ->required()
        ->type_name("FILE");
    addNaming(staple, options,
              "Certificate of the issuer; default: searched in all files, the stores, and at the addresses that the "
              "certificates name");
    addUrl(staple, "--url", options.url, "Ask this responder instead of those that the certificates name");
    staple.add_flag("--if-due", options.onlyWhenDue,
                    "Ask only for responses whose validity period is half over, and for missing ones");
    addNetwork(staple, options);
    addMaxAge(staple, options.maxAge);
    staple.add_flag("--write-revoked", options.writesRevoked,
                    "Write responses that say revoked or unknown, too; default: good ones only");
    addChainFiles(staple, options);
    group(staple, "Files");
    staple.add_option("--out", options.directory, "Directory of the responses, one NAME.ocsp for each certificate")
        ->required()
        ->type_name("DIR");
    staple
        .add_option("--name", options.name,
                    "NAME for the response (one certificate); default: that of the file CERT without .pem, .crt, .cer "
                    "or .der")
        ->type_name("NAME");
    staple
        .add_option("--hook", options.hook,
                    "Run this command with sh after responses were written; \"$@\" are their paths. After a failure it "
                    "is run again by the next run")
        ->type_name("COMMAND");
    addOutput(staple, options);
    addSettings(staple, options);
    staple.footer(
        "A response is replaced as a whole, only by a newer one. It stays when there is none.\n"
        "Exit status: 0 there is a valid response that says good for each certificate; 1 at least one is revoked; 2 at "
        "least one is unknown to its responder; 3 at least one has no valid response, or a response or the hook "
        "failed; "
        "64 wrong usage. If several apply, 1 comes before 3, and 3 before 2.");
}

// An option that takes up to a day.
void addSeconds(CLI::App& command, const char* name, std::chrono::seconds& time, const std::string& what) {
    constexpr unsigned kLongest = 86400;
    const auto set = [&time, name](const std::string& text) {
        const std::optional<unsigned> seconds = countFrom(text, kLongest);
        if (!seconds) {
            throw CLI::ValidationError(name, text + " cannot be used; give whole seconds from 1 to 86400");
        }
        time = std::chrono::seconds(*seconds);
    };
    command.add_option_function<std::string>(name, set, what)->type_name("SECONDS");
}

void addQueue(CLI::App& command, QueueOptions& options) {
    group(command, "Queue");
    command
        .add_option("--queue", options.url,
                    "Redis server with the queue: redis://HOST:PORT/DATABASE, or rediss:// over TLS")
        ->required()
        ->type_name("URL");
    CLI::Option* const password =
        addFile(command, "--queue-password-file", options.passwordFile, "File with the password at that server");
    command.add_option("--queue-user", options.user, "User at that server; default: its default user")
        ->type_name("NAME")
        ->needs(password);
    addFile(command, "--queue-ca", options.caFile, "Roots for rediss://; default: the setting system_bundle");
}

void declare(CLI::App& worker, WorkerOptions& options) {
    constexpr unsigned kMostJobs = 256;
    constexpr unsigned kMostPerHost = 64;
    constexpr unsigned kMostRate = 10000;
    constexpr unsigned kMostKept = 100000000;
    addQueue(worker, options.queue);
    group(worker, "Work");
    addCount(worker, "--jobs", options.batch.jobs, kMostJobs, "Checks at a time; default: 8");
    addCount(worker, "--per-host", options.batch.perHost, kMostPerHost,
             "Checks at a time that ask the same server; default: 4");
    addCount(worker, "--rate", options.rate, kMostRate,
             "Checks that ask the same server in a second, by all workers of the queue; default: any number");
    worker.add_option("--name", options.name, "Name of this worker, its own; default: host and process")
        ->type_name("NAME");
    addSeconds(worker, "--claim-after", options.claimAfter,
               "Take over jobs that no worker has held for this long, and repeat failed checks after it; default: 60");
    addCount(worker, "--keep", options.keep, kMostKept, "Keep about the last N results; default: 1000000");
    worker.add_flag("--until-empty", options.untilEmpty, "End when no job is left");
    addNaming(worker, options, "Certificate of the issuer, for jobs without one");
    addUrl(worker, "--url", options.url, "Ask this responder where a job names none");
    addNonce(worker, options.nonce,
             "require: accept only a response with the nonce of the request; try: without a nonce, its dates decide; "
             "off: send none. Default: try, unless policy says otherwise");
    addNetwork(worker, options);
    addMaxAge(worker, options.maxAge);
    addChainFiles(worker, options);
    worker.add_flag("--verify-chain", options.verifyChain,
                    "Validate the chain of each certificate too: dates, path, CRLs of the CAs");
    addSettings(worker, options);
    worker.footer(
        "SIGTERM ends it after the checks that it began.\n"
        "Exit status: 0 it was told to end, or no job was left; 3 results could not be written; 64 wrong usage.");
}

void declare(CLI::App& enqueue, EnqueueOptions& options) {
    group(enqueue, kInput);
    enqueue
        .add_option("--from-file", options.batch.list,
                    "The certificates: one path or JSON object a line, as for check; - is standard input")
        ->required()
        ->type_name("LIST");
    addFile(enqueue, "--issuer", options.issuer, "Certificate of the issuer, for lines without one");
    enqueue
        .add_option("--run", options.run,
                    "Name that begins the ids of the jobs; of an id there is only one result. Default: a random one")
        ->type_name("NAME");
    addSeconds(enqueue, "--wait", options.wait, "Wait this long for room when the queue is full; default: 600");
    addQueue(enqueue, options.queue);
    addSettings(enqueue, options);
    enqueue.footer(
        "Exit status: 0 all were added; 3 some lines cannot be used, the queue stays full, or the server cannot be "
        "reached; 64 wrong usage.");
}

void declare(CLI::App& results, ResultsOptions& options) {
    addQueue(results, options.queue);
    group(results, kOutput);
    results.add_option("--run", options.run, "Print the results of this run only")->type_name("NAME");
    CLI::Option* const dead =
        results.add_flag("--dead", options.dead, "Print those of the jobs that failed three times");
    results.add_flag("--remove", options.remove, "Remove what is printed from the server")->excludes(dead);
    addSettings(results, options);
    results.footer(
        "Prints one line of JSON for each result that is there.\n"
        "Exit status: 0 all printed results are good; 1 at least one is revoked; 2 at least one is unknown to its "
        "responder; 3 at least one has no verified answer, there are none, or the queue cannot be used; 64 wrong "
        "usage. "
        "If several apply, 1 comes before 3, and 3 before 2.");
}

void declare(CLI::App& store, StoreOptions& options) {
    struct Row {
        const char* name;
        const char* what;
        StoreAction action;
        const char* file;  // null when it takes none
    };
    constexpr Row kRows[] = {
        {"list", "Print the certificates and CRLs of a store", StoreAction::kList, nullptr},
        {"add", "Add certificates or CRLs to a store", StoreAction::kAdd, "Certificates or CRLs, PEM or DER"},
        {"remove", "Remove certificates or CRLs from a store", StoreAction::kRemove,
         "The same certificates or CRLs, or a SHA-1 thumbprint as list prints it"},
    };
    store.require_subcommand(1);
    for (const Row& row : kRows) {
        CLI::App* action = store.add_subcommand(row.name, row.what);
        group(*action, kInput);
        action
            ->add_option("NAME", options.name,
                         "The store: ROOT (trusted roots), CA (intermediate certificates and CRLs), My (own "
                         "certificates), AddressBook, Trust, TrustedPeople, or another existing one")
            ->required()
            ->type_name("STORE");
        if (row.file != nullptr) {
            addFile(*action, "FILE", options.file, row.file)->required();
        }
        action->add_flag("--machine", options.machine, "Use the machine's store; default: the user's");
        if (row.action == StoreAction::kList) {
            group(*action, kOutput);
            addJson(*action, options);
        }
        addSettings(*action, options);
        describeHelp(*action);
        action->callback([&options, chosen = row.action] { options.action = chosen; });
        rejectEmptyTexts(*action);
    }
    store.footer("Exit status: 0 done; 64 wrong usage, or a file or store that cannot be used.");
}

void declare(CLI::App& settings, SettingsOptions& options) {
    group(settings, kInput);
    CLI::Option* const check = settings.add_flag("--check", options.isCheck,
                                                 "Report unknown keys, wrong types and values out of range instead");
    addFile(settings, "FILE", options.file, "With --check, the file to check; default: the one in force")->needs(check);
    group(settings, kOutput);
    addJson(settings, options);
    addSettings(settings, options);
    settings.footer("Exit status: 0 printed, or nothing to report; 64 the settings file has mistakes.");
}

void declare(CLI::App& explain, ExplainOptions& options) {
    group(explain, kInput);
    explain
        .add_option("CODE", options.code,
                    "A status as 0xC2110122, C2110122, NotCurrent or a decimal number; default: list all")
        ->type_name("CODE");
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
    // Only a command whose name is among the arguments can be meant, so only its options are declared: those of all
    // commands take as long as reading a response.
    CommandLine(int argc, char** argv) : arguments_(argv + std::min(argc, 1), argv + argc) {
        app_.formatter_fn([](const CLI::App* command, const std::string&, CLI::AppFormatMode) {
            return helpText(helpPageOf(*command));
        });
        add("check", "Ask responders whether certificates are still good", check_);
        add("request", "Build a request, signed if wanted", request_);
        add("send", "Send a stored request as it is", send_);
        add("verify", "Verify a stored response", verify_);
        add("verify-request", "Verify a request as its receiver", verifyRequest_);
        add("staple", "Keep responses as files for servers that staple them", staple_);
        add("enqueue", "Put the certificates of a list into a queue", enqueue_);
        add("worker", "Check the certificates in a queue", worker_);
        add("results", "Print the results of a queue", results_);
        add("show", "Print a request or a response", show_);
        add("store", "List, add and remove trusted and other certificates", store_);
        add("settings", "Print or check the settings", settings_);
        add("explain", "Explain a status: meaning, usual causes, remedies", explain_);
        help_ = app_.add_subcommand("help", "Describe a command");
        group(*help_, kInput);
        help_->add_option("COMMAND", topic_, "The command, for example check, or store add; default: list all");
        app_.require_subcommand(1);
        addVersion(app_);
        app_.footer(
            "tallow help COMMAND describes a command, man tallow all of them.\n"
            "The first check: tallow check CERT.pem. A web server: tallow check --connect HOST.");
        describeHelp(app_);
        describeHelp(*help_);
    }

    std::optional<int> read(int argc, char** argv, CommandOptions& options) {
        if (const std::string mistake = helpMistakeIn(argc, argv); !mistake.empty()) {
            usage(mistake, "");
        }
        try {
            std::vector<std::string> arguments = withoutMark(argc, argv);
            std::reverse(arguments.begin(), arguments.end());  // as the parser takes them
            app_.parse(std::move(arguments));
        } catch (const CLI::Success& request) {
            return app_.exit(request);  // help or version, on standard output
        } catch (const CLI::ParseError& mistake) {
            usage(withoutLogins(describe(mistake), argc, argv), commandGiven());
        }
        if (help_->parsed()) {
            return help();
        }
        take_(options);
        return std::nullopt;
    }

private:
    template <typename Options>
    void add(const char* name, const char* what, Options& options) {
        CLI::App* command = app_.add_subcommand(name, what);
        if (std::find(arguments_.begin(), arguments_.end(), name) == arguments_.end()) {
            return;
        }
        declare(*command, options);
        addVersion(*command);
        describeHelp(*command);
        rejectEmptyTexts(*command);
        command->callback([this, &options] { take_ = [&options](CommandOptions& given) { given = options; }; });
    }

    // tallow help [COMMAND [ACTION]]
    int help() const {
        const CLI::App* command = &app_;
        for (const std::string& word : topic_) {
            const auto isMeant = [&word](const CLI::App* below) { return below->get_name() == word; };
            const std::vector<const CLI::App*> found = command->get_subcommands(isMeant);
            if (found.empty()) {
                usage(unexpected(*command, {word}), "");
            }
            command = found.front();
        }
        std::cout << helpText(helpPageOf(*command)) << std::flush;
        return std::cout ? 0 : kExitNoAnswer;
    }

    std::string describe(const CLI::ParseError& mistake) const {
        const CLI::App* command = &app_;
        while (command->remaining().empty() && !command->get_subcommands().empty()) {
            command = command->get_subcommands().front();
        }
        const std::vector<std::string> rest = command->remaining();
        return rest.empty() ? plainWords(*command, mistake) : unexpected(*command, rest);
    }

    // "check ", or "" without a command.
    std::string commandGiven() const {
        const std::vector<CLI::App*> given = app_.get_subcommands();
        return given.empty() ? std::string() : given.front()->get_name() + ' ';
    }

    const std::vector<std::string_view> arguments_;
    CLI::App app_{"Asks OCSP responders whether certificates are still good, and verifies their responses.", "tallow"};
    CheckOptions check_;
    RequestOptions request_;
    SendOptions send_;
    VerifyOptions verify_;
    VerifyRequestOptions verifyRequest_;
    StapleOptions staple_;
    EnqueueOptions enqueue_;
    WorkerOptions worker_;
    ResultsOptions results_;
    ShowOptions show_;
    StoreOptions store_;
    SettingsOptions settings_;
    ExplainOptions explain_;
    CLI::App* help_ = nullptr;
    std::vector<std::string> topic_;
    std::function<void(CommandOptions&)> take_;
};

}  // namespace

std::optional<int> readCommandLine(int argc, char** argv, CommandOptions& options) {
    CommandLine line(argc, argv);
    if (const std::optional<int> end = line.read(argc, argv, options)) {
        return end;
    }
    if (const std::string mistake = mistakeIn(options); !mistake.empty()) {
        usage(mistake, argc > 1 ? argv[1] + std::string(" ") : "");
    }
    return std::nullopt;
}

}  // namespace tallow::cli
