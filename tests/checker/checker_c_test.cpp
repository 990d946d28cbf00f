// The functions for C against a real responder, and against the facade for responses of every kind.
#include <gmock/gmock.h>

#include <ctime>
#include <functional>
#include <memory>
#include <tuple>

#include "checker.h"
#include "checker/silent_responders.h"
#include "checker_c.h"
#include "handles/status.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/http_server.h"
#include "tests/support/ocsp_builder.h"
#include "tests/support/process.h"
#include "tests/support/repeating_threads.h"
#include "tests/support/responder.h"

extern "C" int lineThatFailsForNull(void);

namespace {

using namespace testkit;

struct Free {
    void operator()(tallow_checker* checker) const { tallow_checker_free(checker); }
    void operator()(tallow_question* question) const { tallow_question_free(question); }
    void operator()(tallow_verdict* verdict) const { tallow_verdict_free(verdict); }
    void operator()(tallow_verdict_list* list) const { tallow_verdict_list_free(list); }
    void operator()(tallow_received* received) const { tallow_received_free(received); }
};
template <typename Object>
using Owned = std::unique_ptr<Object, Free>;

std::tuple<const void*, std::size_t> arguments(const Bytes& octets) {
    return {octets.data(), octets.size()};
}
std::tuple<const void*, std::size_t> arguments(const Identity& identity) {
    return arguments(identity.certificate);
}
template <typename Object>
std::tuple<Object*> arguments(const Owned<Object>& object) {
    return {object.get()};
}
std::tuple<std::int64_t> arguments(std::int64_t number) {
    return {number};
}

// Calls a function with octets and certificates as pointer and size, and owns the object that it returns.
template <typename Function, typename... Arguments>
auto call(Function function, const Arguments&... values) {
    const auto result = std::apply(function, std::tuple_cat(arguments(values)...));
    if constexpr (std::is_pointer_v<decltype(result)>) {
        return Owned<std::remove_pointer_t<std::remove_const_t<decltype(result)>>>(result);
    } else {
        return result;
    }
}

template <typename Read, typename... Arguments>
Bytes octetsOf(Read read, Arguments... arguments) {
    std::size_t size = 0;
    const std::uint8_t* const octets = read(arguments..., &size);
    return octets == nullptr ? Bytes() : Bytes(octets, octets + size);
}

std::optional<tallow::Time> timeOf(bool (*read)(const tallow_verdict*, std::int64_t*), const tallow_verdict* verdict) {
    std::int64_t seconds = 0;
    return read(verdict, &seconds) ? std::optional(tallow::Time(std::chrono::seconds(seconds))) : std::nullopt;
}

void expectSame(const Owned<tallow_verdict>& found, const tallow::Verdict& expected) {
    const tallow_verdict* const c = found.get();
    const std::string why = tallow_verdict_why(c);
    EXPECT_EQ(why, expected.why());
    EXPECT_EQ(tallow_verdict_is_good(c), expected.answer == tallow::Answer::kGood) << why;
    EXPECT_EQ(tallow_verdict_answer(c), static_cast<int>(expected.answer)) << why;
    EXPECT_EQ(tallow_verdict_reached(c), static_cast<int>(expected.reached)) << why;
    EXPECT_EQ(tallow_verdict_status(c), expected.status) << why;
    EXPECT_EQ(tallow_verdict_cause(c), expected.cause);
    EXPECT_EQ(tallow_verdict_subject(c), expected.subject);
    EXPECT_EQ(octetsOf(tallow_verdict_serial, c), expected.serial);
    EXPECT_EQ(timeOf(tallow_verdict_revoked_at, c), expected.revokedAt);
    EXPECT_EQ(tallow_verdict_reason(c), expected.reason ? static_cast<int>(*expected.reason) : -1);
    EXPECT_EQ(timeOf(tallow_verdict_produced_at, c), expected.producedAt);
    EXPECT_EQ(timeOf(tallow_verdict_this_update, c), expected.thisUpdate);
    EXPECT_EQ(timeOf(tallow_verdict_next_update, c), expected.nextUpdate);
    EXPECT_EQ(tallow_verdict_freshness(c), static_cast<int>(expected.freshness));
    EXPECT_EQ(tallow_verdict_authority(c), static_cast<int>(expected.authority));
    EXPECT_EQ(tallow_verdict_signer(c), expected.signer);
    EXPECT_EQ(octetsOf(tallow_verdict_signer_certificate, c), expected.signerCertificate);
    EXPECT_EQ(octetsOf(tallow_verdict_response, c), expected.response);
    EXPECT_EQ(octetsOf(tallow_verdict_unverified, c), expected.unverified);
}

class CheckerC : public testing::Test {
protected:
    static Identity makeDelegate() {
        CertificateSpec spec;
        spec.commonName = "responder";
        spec.extendedKeyUsage = "OCSPSigning";
        spec.ocspNoCheck = true;
        return issue(Pki::shared().ca, spec);
    }
    // Trusts the root of the PKI, whose CRL shows that the CA is not revoked.
    static Owned<tallow_checker> checkerFor(const std::string& responder = "") {
        Owned<tallow_checker> checker(tallow_checker_new());
        EXPECT_EQ(call(tallow_checker_add_roots, checker, pki.root), 0);
        EXPECT_EQ(call(tallow_checker_add_crls, checker, crl), 0);
        EXPECT_TRUE(responder.empty() || tallow_checker_add_responder(checker.get(), responder.c_str()) == 0);
        return checker;
    }
    static ResponseSpec about(const Identity& certificate, EntryStatus status = EntryStatus::kGood) {
        ResponseSpec spec(delegate);
        spec.entries.emplace_back(certIdOf(certificate, pki.ca), status);
        return spec;
    }
    static Owned<tallow_verdict> check(const Owned<tallow_checker>& checker, const Identity& certificate = pki.good) {
        return call(tallow_check, checker, certificate, pki.ca);
    }
    static bool isGood(const Owned<tallow_verdict>& verdict) { return tallow_verdict_is_good(verdict.get()); }

    static inline const Pki& pki = Pki::shared();
    static inline const Identity delegate = makeDelegate();
    static inline const Bytes crl = makeCrl(pki.root, {});
};

TEST_F(CheckerC, AcceptsNullEverywhere) {
    EXPECT_EQ(lineThatFailsForNull(), 0) << "line of checker_c_null.c";
}

TEST_F(CheckerC, ReportsWhatARealResponderSays) {
    ResponderOptions options;
    options.ca = pki.ca;
    options.signer = delegate;
    options.index = {{pki.good, 'V'}, {pki.revoked, 'R'}};
    const Responder responder(options);
    struct Row {
        const Identity& certificate;
        enum tallow_answer answer;
        std::int32_t reason;
    };
    const Owned<tallow_checker> checker = checkerFor(responder.url());
    for (const Row& row :
         {Row{pki.good, TALLOW_GOOD, -1}, Row{pki.revoked, TALLOW_REVOKED, 1}, Row{pki.unknown, TALLOW_UNKNOWN, -1}}) {
        const Owned<tallow_verdict> owned = check(checker, row.certificate);
        const tallow_verdict* const verdict = owned.get();
        SCOPED_TRACE(tallow_verdict_why(verdict));
        EXPECT_EQ(tallow_verdict_answer(verdict), row.answer);
        EXPECT_EQ(tallow_verdict_status(verdict) == 0, row.answer == TALLOW_GOOD);
        EXPECT_EQ(tallow_verdict_reason(verdict), row.reason);
        EXPECT_EQ(tallow_verdict_freshness(verdict), TALLOW_FRESHNESS_NONCE_MATCHED);
        EXPECT_EQ(tallow_verdict_responder(verdict), responder.url());
        ASSERT_EQ(tallow_verdict_attempt_count(verdict), 1U);
        EXPECT_EQ(tallow_attempt_url(tallow_verdict_attempt(verdict, 0)), responder.url());
        EXPECT_EQ(tallow_attempt_http_status(tallow_verdict_attempt(verdict, 0)), 200);
        EXPECT_EQ(tallow_attempt_status(tallow_verdict_attempt(verdict, 0)), 0);
        const auto staple = call(tallow_fetch_staple, checker, row.certificate, pki.ca);
        EXPECT_EQ(tallow_verdict_answer(staple.get()), row.answer);
        EXPECT_EQ(tallow_verdict_freshness(staple.get()), TALLOW_FRESHNESS_NONCE_NOT_SENT);
        // The response is held against its own request, another one, and none.
        const Bytes request = octetsOf(tallow_verdict_request, verdict);
        const Bytes response = octetsOf(tallow_verdict_response, verdict);
        const auto other = call(tallow_ask, checker, row.certificate, pki.ca);
        for (const Bytes& held : {request, octetsOf(tallow_question_request, other.get()), Bytes(), Bytes(3)}) {
            const auto again = call(tallow_verify_with_request, checker, row.certificate, pki.ca, held, response);
            EXPECT_EQ(tallow_verdict_answer(again.get()), held == request ? row.answer : TALLOW_UNPROVEN);
        }
    }
    const Owned<tallow_verdict> silent = check(checkerFor("http://127.0.0.1:" + std::to_string(closedPort()) + "/"));
    EXPECT_EQ(tallow_verdict_reached(silent.get()), TALLOW_STEP_EXCHANGE);
    EXPECT_NE(tallow_attempt_status(tallow_verdict_attempt(silent.get(), 0)), 0);
    EXPECT_STRNE(tallow_attempt_reason(tallow_verdict_attempt(silent.get(), 0)), "");
}

TEST_F(CheckerC, GivesTheVerdictsOfTheFacade) {
    using Change = std::function<void(ResponseSpec&)>;
    const std::pair<const char*, Change> rows[] = {
        {"good", [](ResponseSpec&) {}},
        {"revoked", [](ResponseSpec& spec) { spec.entries[0].status = EntryStatus::kRevoked; }},
        {"removed from the CRL",
         [](ResponseSpec& spec) {
             spec.entries[0].status = EntryStatus::kRevoked;
             spec.entries[0].revocationReason = 8;
         }},
        {"unknown", [](ResponseSpec& spec) { spec.entries[0].status = EntryStatus::kUnknown; }},
        {"contradictory",
         [](ResponseSpec& spec) { spec.entries.emplace_back(spec.entries[0].id, EntryStatus::kRevoked); }},
        {"no nextUpdate", [](ResponseSpec& spec) { spec.entries[0].nextUpdate.reset(); }},
        {"expired", [](ResponseSpec& spec) { spec.entries[0].nextUpdate = generalizedTimeText(-30); }},
        {"future", [](ResponseSpec& spec) { spec.entries[0].thisUpdate = generalizedTimeText(900); }},
        {"other nonce", [](ResponseSpec& spec) { spec.extensions.push_back(nonceExtension(Bytes(16, 7))); }},
        {"other certificate", [](ResponseSpec& spec) { spec.entries[0].id = certIdOf(pki.unknown, pki.ca); }},
        {"bad signature", [](ResponseSpec& spec) { spec.corruptSignature = true; }},
        {"no signer", [](ResponseSpec& spec) { spec.includeSigner = false; }},
        {"unauthorised signer", [](ResponseSpec& spec) { spec.signer = pki.good; }},
        {"signed by the issuer", [](ResponseSpec& spec) { spec.signer = pki.ca; }},
        {"refused", [](ResponseSpec& spec) { spec.responseStatus = 6; }},
        {"trailing octets",
         [](ResponseSpec& spec) {
             spec.trailing = {0, 0};
         }},
        {"bare", [](ResponseSpec& spec) { spec.bare = true; }},
    };
    const Bytes& leaf = pki.good.certificate;
    const Bytes& ca = pki.ca.certificate;
    const tallow::Checker facade(tallow::Trust().addRoots(pki.root.certificate).addCrls(crl));
    const tallow::Question asked = facade.ask(leaf, ca);
    const Owned<tallow_checker> checker = checkerFor();
    const Owned<tallow_question> question = call(tallow_ask, checker, leaf, ca);
    ASSERT_EQ(tallow_question_status(question.get()), 0) << tallow_question_cause(question.get());
    for (const auto& [name, change] : rows) {
        SCOPED_TRACE(name);
        ResponseSpec spec = about(pki.good);
        change(spec);
        const Bytes response = buildResponse(spec);
        expectSame(call(tallow_judge, checker, question, response), facade.judge(asked, response));
        expectSame(call(tallow_verify, checker, leaf, ca, response),
                   facade.verify(response, {.certificate = leaf, .issuer = ca}).at(0));
        for (const std::int64_t when : {std::time(nullptr) - 10, std::time(nullptr) + 10000}) {
            expectSame(call(tallow_proved_at, checker, when, leaf, ca, response),
                       facade.provedAt(tallow::Time(std::chrono::seconds(when)), leaf, ca, response));
        }
        const std::vector<tallow::Verdict> entries = facade.verify(response, {.issuer = ca});
        const auto list = call(tallow_verify_entries, checker, ca, response);
        ASSERT_EQ(tallow_verdict_list_count(list.get()), entries.size());
        for (std::size_t i = 0; i < entries.size(); ++i) {
            EXPECT_EQ(tallow_verdict_why(tallow_verdict_list_at(list.get(), i)), entries[i].why());
        }
    }
    for (const std::int64_t when : {INT64_MIN, INT64_MAX / 1000000000 + 1, INT64_MAX}) {
        EXPECT_FALSE(isGood(call(tallow_proved_at, checker, when, leaf, ca, buildResponse(about(pki.good))))) << when;
    }
}

TEST_F(CheckerC, TellsWhoAsks) {
    const TempDir folder;
    const std::string file = folder.file("request.der");
    const Owned<tallow_checker> checker = checkerFor();
    EXPECT_EQ(call(tallow_checker_add_certificates, checker, pki.ca), 0);
    EXPECT_EQ(call(tallow_checker_add_crls, checker, makeCrl(pki.ca, {})), 0);
    std::vector<std::string> command{"openssl", "ocsp",
                                     "-reqout", file,
                                     "-issuer", folder.write("ca.pem", pki.ca.certificatePem()),
                                     "-cert",   folder.write("leaf.pem", pki.good.certificatePem())};
    for (const bool isSigned : {false, true}) {
        ASSERT_EQ(run(command).exitStatus, 0);
        const auto owned = call(tallow_receive, checker, readFile(file));
        const tallow_received* const received = owned.get();
        EXPECT_EQ(tallow_received_status(received), 0) << tallow_received_cause(received);
        EXPECT_EQ(tallow_received_signer(received), isSigned ? TALLOW_REQUEST_PROVEN : TALLOW_REQUEST_UNSIGNED);
        EXPECT_STREQ(tallow_received_requestor(received), isSigned ? "CN=good" : "");
        EXPECT_EQ(octetsOf(tallow_received_requestor_certificate, received), isSigned ? pki.good.certificate : Bytes());
        ASSERT_EQ(tallow_received_asked_count(received), 1U);
        const CertIdSpec id = certIdOf(pki.good, pki.ca);
        EXPECT_EQ(tallow_received_asked_hash(received, 0), id.hashOid);
        EXPECT_EQ(octetsOf(tallow_received_asked_issuer_name_hash, received, 0), id.issuerNameHash);
        EXPECT_EQ(octetsOf(tallow_received_asked_issuer_key_hash, received, 0), id.issuerKeyHash);
        EXPECT_EQ(octetsOf(tallow_received_asked_serial, received, 0), id.serial);
        command.insert(command.end(),
                       {"-signer", folder.file("leaf.pem"), "-signkey", folder.write("leaf.key", pki.good.key.pem())});
    }
}

// What a caller's exchange is to answer, and what it was asked.
struct Exchange {
    Bytes answer;
    bool isComplete = true;
    std::size_t lastPiece = 0;  // the size that is said of it
    std::string url = {};
    std::int64_t milliseconds = -1;

    static bool post(void* user, const char* url, const std::uint8_t* request, std::size_t requestSize,
                     std::int64_t milliseconds, tallow_body* body) {
        Exchange& self = *static_cast<Exchange*>(user);
        self.url = url;
        self.milliseconds = milliseconds;
        const std::size_t half = self.answer.size() / 2;
        EXPECT_TRUE(request != nullptr && requestSize != 0 && tallow_body_append(body, self.answer.data(), half));
        EXPECT_TRUE(tallow_body_append(body, self.answer.data() + half, self.answer.size() - half));
        EXPECT_EQ(tallow_body_append(body, self.answer.data(), self.lastPiece), self.lastPiece == 0);
        return self.isComplete;
    }
};

TEST_F(CheckerC, AppliesItsOptionsAndTheExchange) {
    using Set = std::function<std::int32_t(tallow_checker*, Exchange&)>;
    struct Row {
        const char* name;
        Set set;
        enum tallow_step reached;
    };
    const tallow_exchange throwing = [](auto...) -> bool { throw 1; };
    const Row rows[] = {
        {"none", [](auto*, auto&) { return 0; }, TALLOW_STEP_PROVEN},
        {"timeout", [](auto* c, auto&) { return tallow_checker_set_timeout_ms(c, 5000); }, TALLOW_STEP_PROVEN},
        {"chain", [](auto* c, auto&) { return tallow_checker_set_verify_chain(c, true); }, TALLOW_STEP_PROVEN},
        {"no nonce", [](auto* c, auto&) { return tallow_checker_set_nonce(c, TALLOW_NONCE_OFF); }, TALLOW_STEP_PROVEN},
        {"nonce", [](auto* c, auto&) { return tallow_checker_set_nonce(c, TALLOW_NONCE_REQUIRE); }, TALLOW_STEP_NONCE},
        {"age", [](auto* c, auto&) { return tallow_checker_set_max_age_seconds(c, 30); }, TALLOW_STEP_ENTRY},
        {"hash", [](auto* c, auto&) { return tallow_checker_set_hash(c, kSha384Oid); }, TALLOW_STEP_PROVEN},
        {"no answer", [](auto*, auto& e) { return e.isComplete = false, 0; }, TALLOW_STEP_EXCHANGE},
        {"empty answer", [](auto*, auto& e) { return e.answer.clear(), 0; }, TALLOW_STEP_DECODING},
        // Refused before it is read.
        {"endless answer", [](auto*, auto& e) { return e.lastPiece = 65U << 20, 0; }, TALLOW_STEP_EXCHANGE},
        {"exception", [&](auto* c, auto&) { return tallow_checker_set_exchange(c, throwing, nullptr); },
         TALLOW_STEP_EXCHANGE},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Exchange exchange{.answer = buildResponse(about(pki.good))};
        const Owned<tallow_checker> checker = checkerFor("http://responder.example/");
        ASSERT_EQ(tallow_checker_set_exchange(checker.get(), Exchange::post, &exchange), 0);
        ASSERT_EQ(row.set(checker.get(), exchange), 0);
        const Owned<tallow_verdict> verdict = check(checker);
        EXPECT_EQ(tallow_verdict_reached(verdict.get()), row.reached) << tallow_verdict_why(verdict.get());
        EXPECT_EQ(isGood(verdict), row.reached == TALLOW_STEP_PROVEN);
        EXPECT_EQ(tallow_verdict_is_chain_valid(verdict.get()), row.name == std::string("chain"));
        const auto asked = call(tallow_receive, checker, octetsOf(tallow_verdict_request, verdict.get()));
        EXPECT_STREQ(tallow_received_asked_hash(asked.get(), 0),
                     row.name == std::string("hash") ? kSha384Oid : kSha1Oid);
        if (row.name == std::string("timeout")) {
            EXPECT_EQ(exchange.url, "http://responder.example/");
            EXPECT_THAT(exchange.milliseconds, testing::AllOf(testing::Gt(0), testing::Le(5000)));
        }
    }
}

// A caller that overlooks the status of a setter must not get a weaker check.
TEST_F(CheckerC, ProvesNothingAfterASetterFailed) {
    using Set = std::function<std::int32_t(tallow_checker*)>;
    const std::pair<const char*, Set> rows[] = {
        {"roots that are none",
         [](auto* c) { return tallow_checker_add_roots(c, pki.ca.certificate.data(), pki.ca.certificate.size()); }},
        {"null with a size", [](auto* c) { return tallow_checker_add_crls(c, nullptr, 5); }},
        {"certificates that are none", [](auto* c) { return tallow_checker_add_certificates(c, "no PEM", 6); }},
        {"timeout", [](auto* c) { return tallow_checker_set_timeout_ms(c, 0); }},
        {"nonce", [](auto* c) { return tallow_checker_set_nonce(c, 4); }},
        {"age", [](auto* c) { return tallow_checker_set_max_age_seconds(c, -1); }},
        {"skew", [](auto* c) { return tallow_checker_set_clock_skew_seconds(c, -1); }},
        {"hash", [](auto* c) { return tallow_checker_set_hash(c, "1.2.3"); }},
        {"responder", [](auto* c) { return tallow_checker_add_responder(c, nullptr); }},
    };
    const Bytes response = buildResponse(about(pki.good));
    for (const auto& [name, set] : rows) {
        SCOPED_TRACE(name);
        const Owned<tallow_checker> checker = checkerFor();
        const std::int32_t status = set(checker.get());
        EXPECT_NE(status, 0);
        EXPECT_EQ(tallow_checker_set_downloads(checker.get(), true), 0);
        const std::string problem = tallow_checker_problem(checker.get());
        EXPECT_NE(problem, "");
        const auto verify = [&] { return call(tallow_verify, checker, pki.good, pki.ca, response); };
        const Owned<tallow_verdict> verdict = verify();
        EXPECT_EQ(tallow_verdict_answer(verdict.get()), TALLOW_UNPROVEN);
        EXPECT_EQ(tallow_verdict_status(verdict.get()), status);
        EXPECT_THAT(tallow_verdict_why(verdict.get()), testing::HasSubstr(problem));
        tallow_checker_clear_problem(checker.get());
        EXPECT_TRUE(isGood(verify()));
        // This was the first use: nothing can be set any more.
        EXPECT_EQ(tallow_checker_set_downloads(checker.get(), false), status::kInvalidArgument);
        EXPECT_FALSE(isGood(verify()));
    }
}

// What the threads call allocates nothing, since a sanitizer's allocator does not survive a fork.
TEST_F(CheckerC, NeedsNoLockInAChildThatAnotherThreadHolds) {
    const Owned<tallow_checker> checker(tallow_checker_new());
    const tallow::SilentResponders silent;
    const auto isUsable = [&] {
        return *tallow_checker_problem(checker.get()) == '\0' && !silent.reasonFor("http://a");
    };
    const RepeatingThreads others(3, isUsable);
    bool isUsableInAll = true;
    for (int i = 0; isUsableInAll && i < 500; ++i) {
        isUsableInAll = isTrueInChild(isUsable);
    }
    EXPECT_TRUE(isUsableInAll);
}

// Each allocation of a check fails once. The good certificate may stay good, since some algorithms do without memory.
TEST_F(CheckerC, ProvesNothingMoreWhenMemoryIsExhausted) {
    ResponseSpec forged = about(pki.good);
    forged.corruptSignature = true;
    const Bytes crlOfCa = makeCrl(pki.root, {.revokedSerials = {pki.ca.serial()}});
    struct Row {
        const char* name;
        Bytes response, crl;
        bool isGood;
    };
    for (const Row& row : {Row{"good", buildResponse(about(pki.good)), crl, true},
                           Row{"revoked", buildResponse(about(pki.good, EntryStatus::kRevoked)), crl, false},
                           Row{"forged", buildResponse(forged), crl, false},
                           Row{"revoked CA", buildResponse(about(pki.good)), crlOfCa, false}}) {
        SCOPED_TRACE(row.name);
        Owned<tallow_verdict> verdict;
        bool hasFailed = true;
        for (long numGranted = 0; hasFailed && numGranted < 10000; ++numGranted) {
            allocationsLeft = numGranted;
            const Owned<tallow_checker> checker(tallow_checker_new());
            call(tallow_checker_add_roots, checker, pki.root);
            call(tallow_checker_add_crls, checker, row.crl);
            verdict = call(tallow_verify, checker, pki.good, pki.ca, row.response);
            hasFailed = allocationsLeft < 0;
            allocationsLeft = -1;
            EXPECT_TRUE(row.isGood || !isGood(verdict)) << numGranted;
            EXPECT_EQ(octetsOf(tallow_verdict_response, verdict.get()) == row.response,
                      tallow_verdict_answer(verdict.get()) != TALLOW_UNPROVEN);
        }
        EXPECT_FALSE(hasFailed);
        EXPECT_EQ(isGood(verdict), row.isGood);
    }
}

}  // namespace
