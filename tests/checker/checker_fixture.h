// What the tests of the facade share: a PKI with its CRLs, responders without a network, and a machine whose settings
// and stores a test chooses.
//
//   const Checker checker(own(), {.exchange = answering(good())});
//   expectProven(checker.check(der(pki.good), der(pki.ca)), Answer::kGood);
#pragma once

#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <vector>

#include "checker/checker.h"
#include "handles/status.h"
#include "tests/support/http_server.h"
#include "tests/support/ocsp_builder.h"
#include "tests/support/pki.h"
#include "tests/support/temp_dir.h"

namespace testkit {

using tallow::Answer;
using tallow::Checker;
using tallow::Exchange;
using tallow::Nonce;
using tallow::Options;
using tallow::Step;
using tallow::Time;
using tallow::Trust;
using tallow::Verdict;

constexpr long kDay = 24L * 3600;

/// The nonce extension of a request; nothing when it has none.
std::optional<ExtensionSpec> nonceOf(const Bytes& request);

/// The response with the nonce of the request.
Bytes echoing(ResponseSpec spec, const Bytes& request);

/// Answers every request with this response and the nonce of the request.
Exchange answering(const ResponseSpec& spec);
/// Answers every request with these octets.
Exchange sending(const Bytes& body);
/// The same as a server on this machine.
HttpServer::Handler serving(const ResponseSpec& spec);

void expectProven(const Verdict& verdict, Answer answer);
/// An unproven verdict with nothing in it that could be taken for an answer.
void expectUnproven(const Verdict& verdict, Step reached, std::int32_t status);

/// The status of the BadInput that `action` throws; 0 when it throws none. The text must be one line.
std::int32_t badInput(const std::function<void()>& action);

class CheckerTest : public testing::Test {
protected:
    CheckerTest() { settings(""); }

    /// Settings of the machine: the table of policy, and lines for [crypto]. Its stores are in folder(), "stores".
    void settings(const std::string& policy, const std::string& crypto = "") const;
    const TempDir& folder() const { return folder_; }

    /// Trusts the root of the PKI, with current CRLs.
    static Trust own();
    /// A delegate of `issuer` that needs no CRL.
    static Identity delegateOf(const Identity& issuer, const std::string& name = "responder");

    ResponseSpec about(const Identity& certificate, EntryStatus status) const;
    ResponseSpec good() const { return about(pki.good, EntryStatus::kGood); }
    /// A good response for this time: seconds from now.
    ResponseSpec goodAt(long seconds, std::optional<long> nextUpdate) const;

    /// The check of the good certificate; a responder is named when the options name none.
    Verdict check(Options options, const Trust& trust = own()) const {
        if (options.responders.empty()) {
            options.responders = {url};
        }
        return Checker(trust, options).check(pki.good.certificate, pki.ca.certificate);
    }
    Verdict judged(const ResponseSpec& spec, Options options = {}) const {
        options.exchange = answering(spec);
        return check(options);
    }

    const Pki& pki = Pki::shared();
    const Identity responder = delegateOf(pki.ca);
    const std::string url = "http://responder.test/";

private:
    TempDir folder_;
};

}  // namespace testkit
