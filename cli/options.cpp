#include "cli/options.h"

#include <CLI/CLI.hpp>
#include <iostream>

#include "cli/safe_text.h"

#ifndef TALLOW_VERSION
#define TALLOW_VERSION "unknown"
#endif

namespace tallow::cli {

namespace {

void declareCheck(CLI::App& check, CheckOptions& options) {
    check.add_option("CERT", options.certificates, "Certificates to ask about, PEM or DER")
        ->required()
        ->type_name("FILE");
    check.add_option("--issuer", options.issuer, "Certificate of their issuer");
    check.add_option("--url", options.url, "Ask this responder, not those that the certificates name")
        ->type_name("URL");
    check.add_option("--proxy", options.proxy, "Go through this HTTP proxy")->type_name("URL");
    check.add_option("--trust", options.trust, "Trust the roots in this file, for this run (repeatable)");
    check.add_option("--certs", options.certs, "More certificates for building chains (repeatable)");
    check.add_option("--crl", options.crls, "A CRL for the responder's chain (repeatable)");
    check.add_option("--hash", options.hash, "Hash that names the issuer: sha1, sha256, sha384, sha512 or an OID")
        ->type_name("NAME|OID");
    check.add_flag("--nonce,!--no-nonce", options.nonce, "Ask with or without a nonce; policy decides otherwise");
    check.add_option("--settings", options.settings, "Settings file");
    check.add_option("--save-request", options.saveRequest, "Write the DER request to this file (one certificate)");
    check.add_option("--save-response", options.saveResponse, "Write the response to this file (one certificate)");
    check.add_flag("--trace", options.trace, "Write a trace to standard error");
    check.add_flag("--json", options.json, "Print the result as JSON");
    // An empty text is a variable that was not set, and must not pass for an option that was not given.
    for (CLI::Option* option : check.get_options([](const CLI::Option* o) { return o->get_type_size() > 0; })) {
        option->check([](const std::string& value) { return value.empty() ? "an empty text names nothing" : ""; }, "");
    }
    for (const char* name :
         {"--issuer", "--trust", "--certs", "--crl", "--settings", "--save-request", "--save-response"}) {
        check.get_option(name)->type_name("FILE");
    }
    // A repeatable option takes one value at a time, so that it never swallows a certificate behind it.
    for (const char* name : {"--trust", "--certs", "--crl"}) {
        check.get_option(name)->allow_extra_args(false);
    }
    check.footer(
        "Every input may be PEM or DER.\n"
        "Exit status: 0 all certificates are good; 1 one is revoked; 3 none is, but for one no trusted answer was "
        "had;\n"
        "2 none of these, but a responder does not know one; 64 wrong usage.");
}

int usage(const std::string& message) {
    std::cerr << "tallow: " << safeLine(message) << " (see tallow check --help)\n";
    return kExitUsage;
}

}  // namespace

std::optional<int> readCommandLine(int argc, char** argv, CheckOptions& options) {
    CLI::App app("Asks OCSP responders whether certificates are still good, and verifies what they answer.", "tallow");
    app.set_version_flag("--version", "tallow " TALLOW_VERSION);
    app.require_subcommand(1);
    CLI::App* check = app.add_subcommand("check", "Ask about certificates");
    check->set_version_flag("--version", "tallow " TALLOW_VERSION);
    declareCheck(*check, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& request) {
        return app.exit(request);  // help or version, on standard output
    } catch (const CLI::ParseError& mistake) {
        return usage(mistake.what());
    }
    if (options.certificates.size() > 1 && !(options.saveRequest.empty() && options.saveResponse.empty())) {
        return usage("--save-request and --save-response go with one certificate: a second would overwrite the first");
    }
    return std::nullopt;
}

}  // namespace tallow::cli
