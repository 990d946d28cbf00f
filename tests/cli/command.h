// The command as its users have it: the built program as a child process, with settings and files of its own.
//
//   Command tallow;
//   Responder responder(...);
//   const ProcessResult run = tallow.check({"--url", responder.url(), tallow.file("good", certs().good)});
#pragma once

#include <string>
#include <vector>

#include "tests/support/ocsp_builder.h"
#include "tests/support/pki.h"
#include "tests/support/process.h"
#include "tests/support/responder.h"
#include "tests/support/temp_dir.h"

namespace testkit {

/// A root that issues everything itself, so that nothing but the responder's certificate needs a CRL.
struct CommandPki {
    Identity root;
    Identity delegate;  // OCSPSigning and the no-check mark
    Identity markless;  // OCSPSigning alone: its revocation counts
    Identity good, revoked, unknown;
};

/// Made on first use, once in the program.
const CommandPki& certs();

/// A leaf of certs().root that names these responders.
Identity leafWith(const std::vector<std::string>& ocspUrls);

/// `openssl ocsp` for certs(), signing as `signer`.
ResponderOptions responderOptions(const Identity& signer = certs().delegate);

/// A response that says "good" about certs().good, signed by certs().delegate; nothing is wrong with it.
ResponseSpec goodResponse();

/// The same certificate with a signature algorithm that does not exist.
Identity withUnknownAlgorithm(Identity identity);

class Command {
public:
    /// Trusts nobody and asks nobody until told so; `moreSettings` is TOML behind the table [crypto].
    explicit Command(const std::string& moreSettings = "");

    /// "tallow check --settings (ours) ..." without any root.
    ProcessResult checkUntrusting(const std::vector<std::string>& arguments) const;
    /// The same with --trust certs().root.
    ProcessResult check(const std::vector<std::string>& arguments) const;
    /// "tallow ..." and nothing added.
    static ProcessResult plain(const std::vector<std::string>& arguments);

    /// "tallow ... --settings (ours)".
    ProcessResult with(std::vector<std::string> arguments) const;

    /// Writes a certificate as PEM and returns its path.
    std::string file(const std::string& name, const Identity& identity) const;
    std::string file(const std::string& name, const Bytes& content) const { return dir_.write(name, content); }
    std::string file(const std::string& name, const std::string& content) const { return dir_.write(name, content); }
    const TempDir& folder() const { return dir_; }

private:
    TempDir dir_;
    std::string settings_;
    std::string root_;
};

/// Hexadecimal as the command writes it.
std::string upperHex(const Bytes& octets);

/// Arguments, and words of the line that tells what is wrong with them.
struct Mistake {
    std::vector<std::string> arguments;
    const char* words;
};

/// Wrong usage: exit status 64, one line on standard error with these words, nothing on standard output.
void expectMistake(const ProcessResult& run, const std::string& words);

std::size_t numLines(const std::string& text);

}  // namespace testkit
