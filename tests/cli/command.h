// The built command as a child process, with its own settings and files.
//
//   Command tallow;
//   Responder responder(...);
//   const ProcessResult run = tallow.check({"--url", responder.url(), tallow.file("good", certs().good)});
#pragma once

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "tests/cli/json_result.h"
#include "tests/support/http_server.h"
#include "tests/support/ocsp_builder.h"
#include "tests/support/pki.h"
#include "tests/support/process.h"
#include "tests/support/responder.h"
#include "tests/support/temp_dir.h"

namespace testkit {

/// A root that issues everything, so that only the responder's certificate needs a CRL.
struct CommandPki {
    Identity root;
    Identity delegate;  // OCSPSigning and no-check
    Identity markless;  // OCSPSigning without no-check: its revocation is checked
    Identity good, revoked, unknown;
};

/// Made on first use, once in the program.
const CommandPki& certs();

/// A leaf of certs().root that names these responders.
Identity leafWith(const std::vector<std::string>& ocspUrls);

/// `openssl ocsp` for certs(), signing as `signer`.
ResponderOptions responderOptions(const Identity& signer = certs().delegate);

/// A valid response about `identity`, a certificate of `issuer`, signed by certs().delegate.
ResponseSpec responseAbout(const Identity& identity, EntryStatus status, const Identity& issuer = certs().root);
/// A valid response that certs().good is good.
ResponseSpec goodResponse();

/// A server that gives every request the same reply.
HttpServer serverOf(HttpReply reply);
HttpServer serverOf(const ResponseSpec& response);

/// The same certificate with a signature algorithm that does not exist.
Identity withUnknownAlgorithm(Identity identity);

using Arguments = std::vector<std::string>;

/// All of the first, then all of the second.
Arguments joined(Arguments first, const Arguments& second);

class Command {
public:
    /// No trusted root and no responder address by default; `moreSettings` is TOML in and after the table [crypto].
    explicit Command(const std::string& moreSettings = "");

    /// "tallow check --settings (of this object) ..." without a root.
    ProcessResult checkUntrusting(const Arguments& arguments) const;
    /// The same with --trust certs().root.
    ProcessResult check(const Arguments& arguments) const;
    /// "tallow ..." with nothing added.
    static ProcessResult plain(const Arguments& arguments);

    /// "tallow ... --settings (of this object)".
    ProcessResult with(Arguments arguments) const;

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

/// A command of its own for each test, and files that most need.
class CommandTest : public testing::Test {
protected:
    const Command tallow;
    const std::string leaf = tallow.file("leaf.pem", certs().good);
    const std::string root = tallow.file("root.pem", certs().root);
    const std::string request = tallow.folder().file("request.der");    // only the path
    const std::string response = tallow.folder().file("response.der");  // only the path
};

/// The address of a responder with responderOptions() that all tests use; started on first use.
std::string responderUrl();

/// Wrong arguments, and words of the line that reports them.
struct Mistake {
    Arguments arguments;
    const char* words;
};

/// This exit status, and one line on standard error that contains all these words.
void expectOneLine(const ProcessResult& run, int exitStatus, const std::vector<std::string>& words);
/// No verdict: exit status 3, one line on standard error with the code and these words, and a JSON result that holds
/// the error and no time of a response.
void expectError(const ProcessResult& run, const std::string& code, const std::vector<std::string>& words = {});
/// Wrong usage: exit status 64, one line on standard error with these words; on standard output nothing, or the error
/// as JSON.
void expectMistake(const ProcessResult& run, const std::string& words);

/// Holds files with documents against the installed schemas: exit status 0 when all fit.
ProcessResult validateJson(const Arguments& files);

/// Where no responder listens.
std::string deadUrl();

std::size_t numLines(const std::string& text);

}  // namespace testkit
