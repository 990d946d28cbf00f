// Responses without a network: judged for a question, as proof for a past time, and stored ones with their requests.
#include "platform/crypto/crypto_service.h"
#include "tests/checker/checker_fixture.h"
#include "tests/support/tlv.h"

namespace testkit {
namespace {

using namespace std::chrono_literals;
using tallow::Question;
using tallow::Stored;
using testing::HasSubstr;
using CheckerQuestions = CheckerTest;
using CheckerStored = CheckerTest;

Time daysFromNow(long days) {
    return std::chrono::system_clock::now() + std::chrono::seconds(days * kDay);
}

TEST_F(CheckerQuestions, AcceptOnlyTheirOwnAnswers) {
    const Checker checker(own(), {.responders = {url}});
    Question question = checker.ask(pki.good.certificate, pki.ca.certificate);
    const Question same = checker.ask(pki.good.certificate, pki.ca.certificate);
    const Question other = checker.ask(pki.revoked.certificate, pki.ca.certificate);
    EXPECT_EQ(question.responders(), std::vector<std::string>{url});
    const Bytes answer = echoing(good(), question.request());
    expectProven(checker.judge(question, answer), Answer::kGood);
    expectProven(checker.judge(question, echoing(about(pki.good, EntryStatus::kRevoked), question.request())),
                 Answer::kRevoked);
    expectUnproven(checker.judge(same, answer), Step::kNonce, status::kNonceMismatch);
    expectUnproven(checker.judge(other, echoing(good(), other.request())), Step::kEntry, status::kNotAnswered);
    expectUnproven(Checker(Trust()).judge(question, answer), Step::kSigner, status::kChaining);
    const Verdict rubbish = checker.judge(question, "rubbish");
    expectUnproven(rubbish, Step::kDecoding, rubbish.status);
    EXPECT_EQ(rubbish.subject, "CN=good");

    const Question moved = std::move(question);
    EXPECT_TRUE(question.request().empty() && question.responders().empty());  // NOLINT(bugprone-use-after-move)
    const Verdict none = checker.judge(question, answer);
    EXPECT_EQ(none.answer, Answer::kUnproven);
    EXPECT_NE(none.status, 0);
    expectProven(checker.judge(moved, answer), Answer::kGood);
}

// ---- Proof for a past time ------------------------------------------------------------------------------------------

// A responder whose certificate expired long ago, with CRLs of its time.
struct Past {
    static Identity make(const Identity* issuer, const char* name, long from, long to, bool isCa) {
        CertificateSpec spec;
        spec.commonName = name;
        spec.notBeforeSeconds = from * kDay;
        spec.notAfterSeconds = to * kDay;
        spec.ca = isCa;
        spec.extendedKeyUsage = isCa ? "" : "OCSPSigning";
        return issuer == nullptr ? selfSigned(spec) : issue(*issuer, spec);
    }
    static Bytes crl(const Identity& issuer, long from, long to, const std::vector<Bytes>& revoked = {}) {
        return makeCrl(issuer,
                       {.revokedSerials = revoked, .lastUpdateSeconds = from * kDay, .nextUpdateSeconds = to * kDay});
    }
    Identity root = make(nullptr, "old root", -400, 400, true);
    Identity ca = make(&root, "old ca", -400, -40, true);
    Identity responder = make(&ca, "old responder", -100, -50, false);
    Identity leaf = make(&ca, "old leaf", -90, 30, false);
    Trust trust = Trust().addRoots(root.certificate).addCrls(crl(root, -95, -60)).addCrls(crl(ca, -95, -60));

    ResponseSpec response(EntryStatus status, long from, long to) const {
        ResponseSpec spec(responder);
        EntrySpec entry(certIdOf(leaf, ca), status);
        spec.producedAt = entry.thisUpdate = generalizedTimeText(from * kDay);
        entry.nextUpdate = generalizedTimeText(to * kDay);
        spec.entries = {entry};
        return spec;
    }
    ResponseSpec revoked(long since, long from, long to) const {
        ResponseSpec spec = response(EntryStatus::kRevoked, from, to);
        spec.entries[0].revocationTime = generalizedTimeText(since * kDay);
        return spec;
    }
};

TEST_F(CheckerStored, ProvesAPastState) {
    const Past past;
    const ResponseSpec good = past.response(EntryStatus::kGood, -81, -78);
    struct Row {
        const char* name;
        long when;  // days from now
        ResponseSpec response;
        Answer answer;
        Step reached;
    };
    for (const Row& row : {
             Row{"good then", -80, good, Answer::kGood, Step::kProven},
             Row{"no longer current then", -77, good, Answer::kUnproven, Step::kEntry},
             Row{"not yet current then", -83, good, Answer::kUnproven, Step::kEntry},
             Row{"now", 0, good, Answer::kUnproven, Step::kSigner},
             Row{"before the responder", -120, good, Answer::kUnproven, Step::kSigner},
             Row{"revoked before", -80, past.revoked(-82, -81, -78), Answer::kRevoked, Step::kProven},
             Row{"revoked before, learned later", -80, past.revoked(-82, -76, -75), Answer::kRevoked, Step::kProven},
             Row{"revoked later", -80, past.revoked(-77, -76, -75), Answer::kGood, Step::kProven},
             Row{"revoked later, predicted", -80, past.revoked(-77, -81, -75), Answer::kRevoked, Step::kProven},
             Row{"good later", -80, past.response(EntryStatus::kGood, -76, -75), Answer::kUnproven, Step::kEntry},
             Row{"unknown then", -80, past.response(EntryStatus::kUnknown, -81, -78), Answer::kUnknown, Step::kProven},
         }) {
        SCOPED_TRACE(row.name);
        const Verdict verdict = Checker(past.trust)
                                    .provedAt(daysFromNow(row.when), past.leaf.certificate, past.ca.certificate,
                                              buildResponse(row.response));
        EXPECT_EQ(verdict.answer, row.answer) << verdict.why();
        EXPECT_EQ(verdict.reached, row.reached) << verdict.why();
        EXPECT_EQ(verdict.revokedAt.has_value(), row.response.entries[0].status == EntryStatus::kRevoked);
        EXPECT_EQ(verdict.why().find("revoked later") != std::string::npos,
                  verdict.answer == Answer::kGood && verdict.revokedAt);
    }
}

TEST_F(CheckerStored, ProvesNothingWithoutTheCrlsAndChainOfThatTime) {
    const Past past;
    const Bytes response = buildResponse(past.response(EntryStatus::kGood, -81, -78));
    const auto root = [&] { return Trust().addRoots(past.root.certificate).addCrls(Past::crl(past.root, -95, -60)); };
    const auto proved = [&](const Trust& trust, const Options& options = {}) {
        return Checker(trust, options).provedAt(daysFromNow(-80), past.leaf.certificate, past.ca.certificate, response);
    };
    EXPECT_EQ(proved(root()).answer, Answer::kUnproven) << "no CRL of the CA";
    EXPECT_EQ(proved(root().addCrls(Past::crl(past.ca, -30, 30))).answer, Answer::kUnproven) << "a later CRL";
    EXPECT_EQ(proved(root().addCrls(Past::crl(past.ca, -95, -85))).answer, Answer::kUnproven) << "an earlier CRL";
    EXPECT_EQ(proved(root().addCrls(Past::crl(past.ca, -95, -60, {past.responder.serial()}))).answer,
              Answer::kUnproven);
    expectProven(proved(past.trust, {.verifyChain = true}), Answer::kGood);
    // Dates of the certificate itself count with its chain.
    const Identity later = Past::make(&past.ca, "later leaf", -70, 30, false);
    ResponseSpec spec = past.response(EntryStatus::kGood, -81, -78);
    spec.entries[0].id = certIdOf(later, past.ca);
    const Verdict verdict =
        Checker(past.trust, {.verifyChain = true})
            .provedAt(daysFromNow(-80), later.certificate, past.ca.certificate, buildResponse(spec));
    expectUnproven(verdict, Step::kChain, status::kCertExpired);
}

TEST_F(CheckerStored, ProvesNothingAtTimesThatCannotBe) {
    const Bytes response = buildResponse(good());
    const Time year1601{std::chrono::duration_cast<Time::duration>(std::chrono::hours(-292L * 365 * 24))};
    for (const Time when : {Time::min(), Time::max(), year1601, Time()}) {
        const Verdict verdict = Checker(own()).provedAt(when, pki.good.certificate, pki.ca.certificate, response);
        EXPECT_EQ(verdict.answer, Answer::kUnproven) << verdict.why();
    }
}

// ---- Stored responses -----------------------------------------------------------------------------------------------

TEST_F(CheckerStored, IsComparedWithWhatIsGiven) {
    const Checker checker(own().addCertificates(pki.ca.certificate), {.responders = {url}});
    const Question question = checker.ask(pki.good.certificate, pki.ca.certificate);
    const Question other = checker.ask(pki.good.certificate, pki.ca.certificate);
    const Question plainQuestion =
        Checker(own(), {.responders = {url}, .nonce = Nonce::kOff}).ask(pki.good.certificate, pki.ca.certificate);
    const Question unasked = checker.ask(pki.unknown.certificate, pki.ca.certificate);
    ResponseSpec spec = good();
    spec.entries.emplace_back(certIdOf(pki.revoked, pki.ca), EntryStatus::kRevoked);
    const Bytes plain = buildResponse(spec);
    const Bytes withNonce = echoing(spec, question.request());
    struct Row {
        const char* name;
        Bytes response;
        Stored stored;
        std::vector<Answer> answers;
    };
    const auto kGood = Answer::kGood;
    const auto kNo = Answer::kUnproven;
    for (const Row& row : {
             Row{"all entries", plain, {}, {kGood, Answer::kRevoked}},
             Row{"all entries with a nonce", withNonce, {}, {kGood, Answer::kRevoked}},
             Row{"one certificate",
                 plain,
                 {.certificate = pki.good.certificate, .issuer = pki.ca.certificate},
                 {kGood}},
             Row{"a certificate whose issuer is in Trust", plain, {.certificate = pki.good.certificate}, {kGood}},
             Row{"a certificate whose issuer is not found", plain, {.certificate = pki.sameNameCa.certificate}, {kNo}},
             Row{"a certificate with another issuer",
                 plain,
                 {.certificate = pki.good.certificate, .issuer = pki.sameNameCa.certificate},
                 {kNo}},
             Row{"a certificate that is missing",
                 plain,
                 {.certificate = pki.unknown.certificate, .issuer = pki.ca.certificate},
                 {kNo}},
             Row{"the request", withNonce, {.request = question.request()}, {kGood}},
             Row{"another request", withNonce, {.request = other.request()}, {kNo}},
             Row{"a response without the nonce", plain, {.request = question.request()}, {kNo}},
             Row{"a request without a nonce", plain, {.request = plainQuestion.request()}, {kGood}},
             Row{"a nonce that was not sent", withNonce, {.request = plainQuestion.request()}, {kNo}},
             Row{"a request about another certificate",
                 echoing(spec, unasked.request()),
                 {.request = unasked.request()},
                 {kNo}},
             Row{"no request", plain, {.request = "rubbish"}, {kNo}},
             Row{"later", plain, {.at = daysFromNow(2)}, {kNo, kNo}},
             Row{"no response", {}, {}, {kNo}},
             Row{"rubbish", Bytes(100000, 0x30), {}, {kNo}},
             Row{"refusal",
                 tlv::sequence({tlv::enumerated(1)}),
                 {.certificate = pki.good.certificate, .issuer = pki.ca.certificate},
                 {kNo}},
         }) {
        SCOPED_TRACE(row.name);
        std::vector<Answer> answers;
        std::size_t numKept = 0;
        for (const Verdict& verdict : checker.verify(row.response, row.stored)) {
            answers.push_back(verdict.answer);
            EXPECT_EQ(verdict.status == 0, verdict.answer == Answer::kGood);
            numKept += verdict.response.empty() ? 0 : 1;
        }
        EXPECT_EQ(numKept, row.answers.front() == kNo ? 0U : 1U) << "the response, once";
        EXPECT_EQ(answers, row.answers);
    }
    const std::vector<Verdict> unusable = checker.verify(plain, {.certificate = "no certificate"});
    ASSERT_EQ(unusable.size(), 1U);
    EXPECT_EQ(unusable[0].reached, Step::kInput) << unusable[0].why();
}

// The identifier in the entry names the issuer by its hashes.
TEST_F(CheckerStored, NamesTheAuthorityWithoutTheIssuer) {
    ResponseSpec byIssuer = good();
    byIssuer.signer = pki.ca;
    for (const auto& [spec, authority] :
         {std::pair(byIssuer, tallow::Authority::kIssuer), std::pair(good(), tallow::Authority::kDelegate)}) {
        const std::vector<Verdict> verdicts =
            Checker(own().addCertificates(pki.ca.certificate)).verify(buildResponse(spec), {});
        expectProven(verdicts.at(0), Answer::kGood);
        EXPECT_EQ(verdicts[0].authority, authority);
    }
}

TEST_F(CheckerStored, IsNotCopiedForEachEntryOfARefusedResponse) {
    ResponseSpec spec = good();
    spec.entries.resize(2000, spec.entries[0]);
    spec.corruptSignature = true;
    const Bytes response = buildResponse(spec);
    std::size_t size = 0;
    for (const Verdict& verdict : Checker(own()).verify(response)) {
        EXPECT_EQ(verdict.answer, Answer::kUnproven);
        size += verdict.unverified.size();
    }
    EXPECT_LE(size, response.size());
}

TEST_F(CheckerStored, NeedsAChainWhenItIsWanted) {
    CertificateSpec over;
    over.notBeforeSeconds = -7200;
    over.notAfterSeconds = -30;
    const Identity leaf = issue(pki.ca, over);
    const Checker checker(own(), {.verifyChain = true});
    const auto verified = [&](const Identity& subject, EntryStatus status, bool isNamed) {
        const Bytes response = buildResponse(about(subject, status));
        const Stored stored = isNamed ? Stored{.certificate = subject.certificate, .issuer = pki.ca.certificate}
                                      : Stored{.issuer = pki.ca.certificate};
        return checker.verify(response, stored).front();
    };
    const Verdict good = verified(pki.good, EntryStatus::kGood, true);
    expectProven(good, Answer::kGood);
    EXPECT_TRUE(good.isChainValid);
    expectUnproven(verified(leaf, EntryStatus::kGood, true), Step::kChain, status::kCertExpired);
    expectUnproven(verified(pki.good, EntryStatus::kGood, false), Step::kChain, status::kInvalidArgument);
    EXPECT_EQ(verified(leaf, EntryStatus::kRevoked, true).answer, Answer::kRevoked);
    EXPECT_EQ(verified(pki.good, EntryStatus::kRevoked, false).answer, Answer::kRevoked);
}

}  // namespace
}  // namespace testkit
