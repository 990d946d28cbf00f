// Checks of one certificate: what responders say, how far a refused answer got, nonces, dates, several responders.
#include <chrono>
#include <thread>

#include "tests/checker/checker_fixture.h"
#include "tests/support/responder.h"
#include "tests/support/tlv.h"

namespace testkit {
namespace {

using namespace std::chrono_literals;
using tallow::Authority;
using tallow::Freshness;
using testing::HasSubstr;
using CheckerAnswers = CheckerTest;

TEST_F(CheckerAnswers, AreThoseOfARealResponder) {
    const Responder server({.ca = pki.ca,
                            .signer = responder,
                            .index = {{pki.good, 'V'}, {pki.revoked, 'R'}},
                            .arguments = {"-nmin", "5"},
                            .clock = ""});
    const Checker checker(own(), {.responders = {server.url()}});
    const tallow::Input asked[] = {pki.good.certificate, pki.revoked.certificate, pki.unknown.certificate};
    const std::vector<Verdict> verdicts = checker.check(asked, pki.ca.certificate);
    ASSERT_EQ(verdicts.size(), 3U);
    expectProven(verdicts[0], Answer::kGood);
    expectProven(verdicts[1], Answer::kRevoked);
    expectProven(verdicts[2], Answer::kUnknown);
    for (const Verdict& verdict : verdicts) {
        EXPECT_EQ(verdict.freshness, Freshness::kNonceMatched);
        EXPECT_EQ(verdict.authority, Authority::kDelegate);
        EXPECT_EQ(verdict.signerCertificate, responder.certificate);
        EXPECT_EQ(verdict.responder, server.url());
        EXPECT_TRUE(verdict.thisUpdate && verdict.nextUpdate && verdict.producedAt);
        ASSERT_EQ(verdict.attempts.size(), 1U);
        EXPECT_EQ(verdict.attempts[0].httpStatus, 200);
        EXPECT_EQ(verdict.attempts[0].status, 0);
        EXPECT_EQ(verdict.attempts[0].reason, "");
    }
    EXPECT_EQ(verdicts[0].serial, pki.good.serial());
    EXPECT_EQ(verdicts[1].reason, tallow::Reason::kKeyCompromise);
    EXPECT_TRUE(verdicts[1].revokedAt && *verdicts[1].revokedAt < std::chrono::system_clock::now() - 1h);
    EXPECT_THAT(verdicts[1].why(),
                testing::MatchesRegex("The certificate CN=revoked is revoked since .*keyCompromise.*"));
}

TEST_F(CheckerAnswers, AreProvenForAnIdentifierThatFitsItsIssuer) {
    const auto checked = [this](const ResponseSpec& spec, tallow::ReceivedRequest::Asked asked,
                                const std::string& issuer, bool verifyChain = false) {
        Options options{.responders = {url}, .verifyChain = verifyChain, .exchange = answering(spec)};
        return Checker(own(), options).checkIdentifier(std::move(asked), issuer);
    };
    const Checker checker(own(), {.responders = {url}});
    const auto ca = std::string(pki.ca.certificate.begin(), pki.ca.certificate.end());
    const auto root = std::string(pki.root.certificate.begin(), pki.root.certificate.end());
    const auto asked = checker.receive(checker.ask(pki.good.certificate, ca).request()).asked.at(0);
    const Verdict verdict = checked(good(), asked, ca);
    expectProven(verdict, Answer::kGood);
    EXPECT_EQ(verdict.serial, pki.good.serial());
    EXPECT_EQ(verdict.authority, Authority::kDelegate);
    const ResponseSpec revoked = about(pki.good, EntryStatus::kRevoked);
    EXPECT_EQ(checked(revoked, asked, ca, true).answer, Answer::kRevoked);
    expectUnproven(checked(good(), asked, ca, true), Step::kChain, status::kInvalidArgument);
    expectUnproven(checked(good(), asked, root), Step::kInput, status::kIssuerMismatch);
    expectUnproven(checked(good(), asked, ""), Step::kInput, status::kAsn1Error);
    tallow::ReceivedRequest::Asked other = asked;
    other.issuerKeyHash.back() ^= 1U;
    expectUnproven(checked(good(), other, ca), Step::kInput, status::kIssuerMismatch);
    other = asked;
    other.serial.back() ^= 1U;
    expectUnproven(checked(good(), other, ca), Step::kEntry, status::kNotAnswered);
    EXPECT_EQ(Checker(own()).checkIdentifier(asked, ca).status, status::kNoResponder);
}

TEST_F(CheckerAnswers, ThatAreRefusedNameTheStep) {
    const auto changed = [this](auto change) {
        ResponseSpec spec = good();
        change(spec);
        return spec;
    };
    CertificateSpec plain;
    plain.commonName = "no responder";
    struct Row {
        const char* name;
        ResponseSpec response;
        Step reached;
        std::int32_t status;
    };
    for (const Row& row : {
             Row{"refused", changed([](auto& s) { s.responseStatus = 3; }), Step::kDecoding, status::kNotSuccessful},
             Row{"trailing", changed([](auto& s) { s.trailing = {0}; }), Step::kDecoding, status::kAsn1Error},
             Row{"signer missing", changed([](auto& s) { s.includeSigner = false; }), Step::kSignature,
                 status::kCryptNotFound},
             Row{"signature", changed([](auto& s) { s.corruptSignature = true; }), Step::kSignature,
                 status::kBadSignature},
             Row{"signer", changed([&](auto& s) { s.signer = issue(pki.ca, plain); }), Step::kSigner,
                 status::kWrongUsage},
             Row{"delegate of another CA", changed([&](auto& s) {
                     s.signer = delegateOf(pki.sibling);
                     s.certificates = {pki.sibling.certificate};
                 }),
                 Step::kEntry, status::kWrongUsage},
             Row{"another certificate", about(pki.revoked, EntryStatus::kGood), Step::kEntry, status::kNotAnswered},
         }) {
        SCOPED_TRACE(row.name);
        const Verdict verdict = judged(row.response);
        expectUnproven(verdict, row.reached, row.status);
        EXPECT_FALSE(verdict.unverified.empty());
        ASSERT_EQ(verdict.attempts.size(), 1U);
        EXPECT_EQ(verdict.attempts[0].reached, row.reached);
        EXPECT_EQ(verdict.attempts[0].status, verdict.status);
        EXPECT_THAT(verdict.why(), HasSubstr(verdict.attempts[0].reason));
    }
}

TEST_F(CheckerAnswers, NeedAChainOnlyWhenItIsWanted) {
    CertificateSpec spec;
    spec.notAfterSeconds = -600;
    const Identity expired = issue(pki.ca, spec);
    ResponseSpec response = about(expired, EntryStatus::kGood);
    response.entries[0].thisUpdate = generalizedTimeText(-1200);
    Options options{.responders = {url}, .exchange = answering(response)};
    expectProven(Checker(own(), options).check(expired.certificate, pki.ca.certificate), Answer::kGood);
    options.verifyChain = true;
    const Verdict verdict = Checker(own(), options).check(expired.certificate, pki.ca.certificate);
    expectUnproven(verdict, Step::kChain, status::kCertExpired);
    EXPECT_FALSE(verdict.isChainValid);
    options.exchange = answering(good());
    EXPECT_TRUE(check(options).isChainValid);
    // The CRLs that the responder's chain needs are also those of the CAs above the certificate.
    const Verdict withoutCrls = check(options, Trust().addRoots(pki.root.certificate));
    EXPECT_NE(withoutCrls.answer, Answer::kGood);
}

// ---- Several responders ---------------------------------------------------------------------------------------------

TEST_F(CheckerAnswers, OfSeveralRespondersEndWithTheFirstGoodOrRevoked) {
    struct Row {
        const char* order;  // what each responder says: g, r, u; x: nothing, b: a bad signature
        Answer answer;
        std::size_t numAttempts;
    };
    for (const Row& row : {Row{"xg", Answer::kGood, 2}, Row{"gr", Answer::kGood, 1}, Row{"rg", Answer::kRevoked, 1},
                           Row{"ug", Answer::kGood, 2}, Row{"ur", Answer::kRevoked, 2}, Row{"uxb", Answer::kUnknown, 3},
                           Row{"bx", Answer::kUnproven, 2}, Row{"xuu", Answer::kUnknown, 3}}) {
        SCOPED_TRACE(row.order);
        Options options;
        for (const char* c = row.order; *c != 0; ++c) {
            options.responders.push_back(std::string("http://") + *c + ".test/");
        }
        options.exchange = [this](const std::string& where, const Bytes& request, auto) -> std::optional<Bytes> {
            ResponseSpec spec = about(pki.good, where[7] == 'r'   ? EntryStatus::kRevoked
                                                : where[7] == 'u' ? EntryStatus::kUnknown
                                                                  : EntryStatus::kGood);
            spec.corruptSignature = where[7] == 'b';
            return where[7] == 'x' ? std::nullopt : std::optional(echoing(spec, request));
        };
        const Verdict verdict = check(options);
        EXPECT_EQ(verdict.answer, row.answer) << verdict.why();
        EXPECT_EQ(verdict.attempts.size(), row.numAttempts);
    }
}

TEST_F(CheckerAnswers, ShareOneDeadline) {
    HttpServer slow([](const HttpRequest&) { return HttpReply{.delayMs = 3000}; });
    const std::vector<std::string> responders(4, slow.url());
    const auto start = std::chrono::steady_clock::now();
    const Verdict verdict = check({.timeout = 300ms, .responders = responders});
    EXPECT_LT(std::chrono::steady_clock::now() - start, 2s);
    expectUnproven(verdict, Step::kExchange, verdict.status);
    ASSERT_EQ(verdict.attempts.size(), 4U);
    EXPECT_FALSE(verdict.attempts[0].isSkipped);
    EXPECT_TRUE(verdict.attempts[3].isSkipped);
    EXPECT_EQ(slow.requests().size(), 1U);
}

TEST_F(CheckerAnswers, OfAnOwnExchangeMayFailInAnyWay) {
    const std::vector<std::pair<const char*, Exchange>> rows = {
        {"nothing", [](auto&&...) { return std::nullopt; }},
        {"empty", sending({})},
        {"rubbish", sending({0x30, 0x84, 0xFF, 0xFF, 0xFF, 0xFF})},
        {"exception", [](auto&&...) -> std::optional<Bytes> { throw std::runtime_error("line 1\nline 2"); }},
        {"another exception", [](auto&&...) -> std::optional<Bytes> { throw 42; }},
        {"slow",
         [](auto&&, auto&&, auto deadline) -> std::optional<Bytes> {
             std::this_thread::sleep_until(deadline);
             return std::nullopt;
         }},
    };
    for (const auto& [name, exchange] : rows) {
        SCOPED_TRACE(name);
        const Verdict verdict = check({.timeout = 100ms, .responders = {url}, .exchange = exchange});
        EXPECT_EQ(verdict.answer, Answer::kUnproven);
        EXPECT_NE(verdict.status, 0);
        EXPECT_EQ(verdict.attempts.size(), 1U);
        EXPECT_EQ(verdict.why().find('\n'), std::string::npos);
    }
}

// ---- Nonces ---------------------------------------------------------------------------------------------------------

// How a responder treats a nonce.
enum class Treatment { kReturns, kOmits, kChanges, kHttp400, kHttp500, kMalformedRequest, kUnauthorized, kHttp404 };

TEST_F(CheckerAnswers, DependOnTheNonce) {
    struct Row {
        Treatment treatment;
        Answer required, tried;
        std::size_t numTries;
        Freshness freshness;
    };
    const auto kGood = Answer::kGood;
    const auto kNo = Answer::kUnproven;
    for (const Row& row : {Row{Treatment::kReturns, kGood, kGood, 1, Freshness::kNonceMatched},
                           Row{Treatment::kOmits, kNo, kGood, 1, Freshness::kNonceNotReturned},
                           Row{Treatment::kChanges, kNo, kNo, 1, Freshness::kNone},
                           Row{Treatment::kHttp400, kNo, kGood, 2, Freshness::kNonceNotReturned},
                           Row{Treatment::kHttp500, kNo, kGood, 2, Freshness::kNonceNotReturned},
                           Row{Treatment::kMalformedRequest, kNo, kGood, 2, Freshness::kNonceNotReturned},
                           Row{Treatment::kUnauthorized, kNo, kGood, 2, Freshness::kNonceNotReturned},
                           Row{Treatment::kHttp404, kNo, kNo, 1, Freshness::kNone}}) {
        SCOPED_TRACE(static_cast<int>(row.treatment));
        HttpServer server([&](const HttpRequest& request) {
            ResponseSpec spec = good();
            const std::optional<ExtensionSpec> nonce = nonceOf(request.body);
            if (!nonce || row.treatment == Treatment::kOmits) {
                return HttpReply{.body = buildResponse(spec)};
            }
            switch (row.treatment) {
                case Treatment::kHttp400:
                    return HttpReply{.status = 400};
                case Treatment::kHttp500:
                    return HttpReply{.status = 500};
                case Treatment::kHttp404:
                    return HttpReply{.status = 404};
                case Treatment::kMalformedRequest:
                case Treatment::kUnauthorized:
                    spec.responseStatus = row.treatment == Treatment::kUnauthorized ? 6 : 1;
                    break;
                default:
                    spec.extensions = {*nonce};
                    spec.extensions[0].value.back() ^= row.treatment == Treatment::kChanges ? 1 : 0;
            }
            return HttpReply{.body = buildResponse(spec)};
        });
        const Verdict required = check({.responders = {server.url()}, .nonce = Nonce::kRequire});
        EXPECT_EQ(required.answer, row.required) << required.why();
        EXPECT_EQ(server.requests().size(), 1U);
        const Verdict tried = check({.responders = {server.url()}, .nonce = Nonce::kTry});
        EXPECT_EQ(tried.answer, row.tried) << tried.why();
        EXPECT_EQ(tried.freshness, row.freshness);
        EXPECT_EQ(server.requests().size(), 1U + row.numTries);
        const Verdict without = check({.responders = {server.url()}, .nonce = Nonce::kOff});
        EXPECT_EQ(without.answer, kGood) << without.why();
        EXPECT_EQ(without.freshness, Freshness::kNonceNotSent);
        EXPECT_FALSE(nonceOf(server.requests().back().body));
    }
}

// ---- Dates ----------------------------------------------------------------------------------------------------------

TEST_F(CheckerAnswers, DependOnTheDates) {
    struct Row {
        const char* name;
        long thisUpdate;
        std::optional<long> nextUpdate;
        Options options;
        Answer answer;
    };
    const auto kGood = Answer::kGood;
    const auto kNo = Answer::kUnproven;
    constexpr std::chrono::hours kLongest(24 * 365 * 100);
    for (const Row& row : {
             Row{"long period", -10 * kDay, 20 * kDay, {}, kGood},
             Row{"a week without nextUpdate", -6 * kDay, std::nullopt, {}, kGood},
             Row{"older without nextUpdate", -8 * kDay, std::nullopt, {}, kNo},
             Row{"expired", -600, -1, {}, kNo},
             Row{"younger than maxAge", -500, 3600, {.maxAge = 600s}, kGood},
             Row{"older than maxAge", -700, 3600, {.maxAge = 600s}, kNo},
             Row{"largest maxAge", -10 * kDay, 3600, {.maxAge = kLongest}, kGood},
             Row{"largest maxAge does not replace the week", -8 * kDay, std::nullopt, {.maxAge = kLongest}, kNo},
             Row{"a little ahead", 150, 3600, {}, kGood},
             Row{"ahead", 240, 3600, {}, kNo},
             Row{"ahead with a larger skew", 240, 3600, {.clockSkew = 300s}, kGood},
             Row{"ahead without skew", 30, 3600, {.clockSkew = 0s}, kNo},
             Row{"largest skew", 30, 3600, {.clockSkew = kLongest}, kGood},
             Row{"the skew does not prolong nextUpdate", -600, -1, {.clockSkew = 300s}, kNo},
         }) {
        SCOPED_TRACE(row.name);
        Options options = row.options;
        options.nonce = Nonce::kOff;
        const Verdict verdict = judged(goodAt(row.thisUpdate, row.nextUpdate), options);
        EXPECT_EQ(verdict.answer, row.answer) << verdict.why();
        EXPECT_EQ(verdict.reached, row.answer == kGood ? Step::kProven : Step::kEntry);
    }
}

}  // namespace
}  // namespace testkit
