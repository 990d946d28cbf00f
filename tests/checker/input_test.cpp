// What callers pass: forms of certificates, options, objects that were moved from, received requests, issuers.
#include "tests/checker/checker_fixture.h"
#include "tests/support/process.h"

namespace testkit {
namespace {

using namespace std::chrono_literals;
using tallow::Input;
using tallow::ReceivedRequest;
using testing::HasSubstr;
using CheckerInput = CheckerTest;

TEST_F(CheckerInput, MayHaveTheUsualForms) {
    const std::string leaf = pki.good.certificatePem();
    const std::string ca = pki.ca.certificatePem();
    const Checker checker(own(), {.responders = {url}, .exchange = answering(good())});
    const auto kGood = Answer::kGood;
    const auto kNo = Answer::kUnproven;
    const std::string pkcs7 =
        run({"openssl", "crl2pkcs7", "-nocrl", "-certfile", folder().write("leaf.pem", leaf)}).out;
    ASSERT_THAT(pkcs7, HasSubstr("PKCS7"));
    struct Row {
        const char* name;
        std::string certificate;
        std::string issuer;
        Answer answer;
    };
    for (const Row& row : {
             Row{"PEM", leaf, ca, kGood},
             Row{"PEM with text", "subject: x\r\n\r\n" + leaf + "trailing text\n", "text\n" + ca, kGood},
             Row{"issuer in the same text", leaf + ca, "", kGood},
             Row{"a whole chain", leaf + ca + pki.root.certificatePem(), ca + pki.root.certificatePem(), kGood},
             Row{"a chain in the wrong order", ca + leaf, pki.root.certificatePem(), kNo},
             Row{"nothing", "", ca, kNo},
             Row{"a path", "leaf.pem", ca, kNo},
             Row{"PKCS #7", pkcs7, ca, kNo},
             Row{"cut off", leaf.substr(0, leaf.size() / 2), ca, kNo},
             Row{"a damaged certificate after it", leaf + ca.substr(0, 200), ca, kNo},
             Row{"octets after DER", std::string(pki.good.certificate.begin(), pki.good.certificate.end()) + "x", ca,
                 kNo},
             Row{"the issuer as the certificate", ca, ca, kNo},
             Row{"no issuer", leaf, "", kNo},
         }) {
        SCOPED_TRACE(row.name);
        const Verdict verdict = checker.check(row.certificate, row.issuer);
        EXPECT_EQ(verdict.answer, row.answer) << verdict.why();
        EXPECT_EQ(verdict.reached, row.answer == kGood ? Step::kProven : Step::kInput) << verdict.why();
    }
    // Others of the issuer's name neither hide it nor cost much.
    std::string many = leaf;
    for (int i = 0; i < 100; ++i) {
        Bytes sameName = pki.sameNameCa.certificate;
        sameName.back() = static_cast<std::uint8_t>(i);
        many += toPem(sameName, "CERTIFICATE");
    }
    expectProven(checker.check(many + ca), Answer::kGood);
    expectUnproven(checker.check(many), Step::kInput, status::kNoSigner);
    const std::string huge(64U << 20, 'A');
    expectUnproven(checker.check(huge, ca), Step::kInput, status::kAsn1Error);
    EXPECT_NE(checker.check("certs/leaf.pem", ca).cause.find("looks like a path"), std::string::npos);
    EXPECT_EQ(checker.check(Input(static_cast<const char*>(nullptr))).answer, kNo);
    EXPECT_EQ(checker.check(Input(nullptr, 0)).answer, kNo);
}

TEST_F(CheckerInput, ThatCannotBeUsedIsRefusedAtOnce) {
    const auto options = [](const Options& chosen) { return badInput([&] { const Checker checker(own(), chosen); }); };
    EXPECT_EQ(options({}), 0);
    EXPECT_NE(options({.timeout = 0ms}), 0);
    EXPECT_NE(options({.timeout = -1ms}), 0);
    EXPECT_EQ(options({.timeout = std::chrono::milliseconds::max()}), 0);
    EXPECT_NE(options({.maxAge = 0s}), 0);
    EXPECT_NE(options({.maxAge = std::chrono::seconds::max()}), 0);
    EXPECT_NE(options({.clockSkew = std::chrono::seconds::max()}), 0);
    EXPECT_NE(options({.clockSkew = -1s}), 0);
    EXPECT_NE(options({.hashOid = "1.2.3"}), 0);
    EXPECT_NE(options({.hashOid = "sha256\n"}), 0);
    const Checker checker(own());
    for (const char* rubbish : {"", "rubbish", "-----BEGIN CERTIFICATE-----\nAAAA\n-----END CERTIFICATE-----\n"}) {
        SCOPED_TRACE(rubbish);
        Trust trust = own();
        EXPECT_NE(badInput([&] { trust.addRoots(rubbish); }), 0);
        EXPECT_NE(badInput([&] { trust.addCertificates(rubbish); }), 0);
        EXPECT_NE(badInput([&] { trust.addCrls(rubbish); }), 0);
        EXPECT_NE(badInput([&] { static_cast<void>(checker.ask(rubbish)); }), 0);
        EXPECT_NE(badInput([&] { static_cast<void>(checker.issuerOf(rubbish)); }), 0);
        expectProven(check({.exchange = answering(good())}, trust), Answer::kGood);  // nothing was lost
    }
    EXPECT_NE(badInput([&] { Trust().addRoots(pki.ca.certificate); }), 0) << "not self-issued";
    EXPECT_EQ(badInput([&] { static_cast<void>(checker.issuerOf(pki.good.certificate, pki.sameNameCa.certificate)); }),
              status::kIssuerMismatch);
    EXPECT_EQ(checker.issuerOf(pki.good.certificate, pki.ca.certificate), pki.ca.certificate);
    EXPECT_EQ(checker.issuerOf(pki.ca.certificate), pki.root.certificate);
    EXPECT_EQ(Checker(own().addCertificates(pki.ca.certificate)).issuerOf(pki.good.certificate), pki.ca.certificate);
}

// A moved-from Trust or Checker is a copy of the moved one: no use of it can crash.
TEST_F(CheckerInput, MayHaveBeenMovedFrom) {
    Trust trust = own();
    const Trust moved = std::move(trust);
    const Options options{.responders = {url}, .exchange = answering(good())};
    Checker checker(trust, options);  // NOLINT(bugprone-use-after-move)
    const Checker other = std::move(checker);
    expectProven(other.check(pki.good.certificate, pki.ca.certificate), Answer::kGood);
    expectProven(checker.check(pki.good.certificate, pki.ca.certificate),  // NOLINT(bugprone-use-after-move)
                 Answer::kGood);
}

TEST_F(CheckerInput, OfUnfilledObjectsSaysUnproven) {
    const Verdict verdict;
    EXPECT_EQ(verdict.answer, Answer::kUnproven);
    EXPECT_NE(verdict.status, 0);
    EXPECT_EQ(verdict.why(), "The certificate is not proven good: no check was made.");
    EXPECT_EQ(ReceivedRequest().signer, ReceivedRequest::Signer::kUndecided);
    EXPECT_NE(ReceivedRequest().status, 0);
    EXPECT_NE(tallow::Sent().status, 0);
}

TEST_F(CheckerInput, MayBeAReceivedRequest) {
    const Checker checker(own());
    const auto write = [this](const char* name, const std::string& text) { return folder().write(name, text); };
    CertificateSpec spec;
    spec.commonName = "requestor";
    const Identity requestor = issue(pki.ca, spec);
    const std::string request = folder().file("request.der");
    const auto make = [&](std::vector<std::string> more) {
        std::vector<std::string> arguments = {"openssl", "ocsp",
                                              "-issuer", write("ca.pem", pki.ca.certificatePem()),
                                              "-cert",   write("leaf.pem", pki.good.certificatePem()),
                                              "-reqout", request};
        arguments.insert(arguments.end(), more.begin(), more.end());
        EXPECT_EQ(run(arguments).exitStatus, 0);
        return readFile(request);
    };
    const ReceivedRequest plain = checker.receive(make({}));
    EXPECT_EQ(plain.signer, ReceivedRequest::Signer::kUnsigned);
    ASSERT_EQ(plain.asked.size(), 1U);
    EXPECT_EQ(plain.asked[0].serial, pki.good.serial());
    const std::vector<std::string> signing = {"-signer",     write("signer.pem", requestor.certificatePem()),
                                              "-signkey",    write("signer.key", requestor.key.pem()),
                                              "-sign_other", write("ca.pem", pki.ca.certificatePem())};
    Bytes der = make(signing);
    const ReceivedRequest proven = checker.receive(der);
    EXPECT_EQ(proven.signer, ReceivedRequest::Signer::kProven) << proven.cause;
    EXPECT_EQ(proven.requestor, "CN=requestor");
    EXPECT_EQ(proven.requestorCertificate, requestor.certificate);
    const ReceivedRequest untrusted = Checker(Trust()).receive(der);
    EXPECT_EQ(untrusted.signer, ReceivedRequest::Signer::kInvalid);
    EXPECT_TRUE(untrusted.asked.empty());
    EXPECT_NE(untrusted.cause, "");
    der[20] ^= 1;
    for (const Bytes& damaged : {der, Bytes(), Bytes(1000, 0x30)}) {
        const ReceivedRequest refused = checker.receive(damaged);
        EXPECT_NE(refused.status, 0);
        EXPECT_TRUE(refused.asked.empty());
    }
}

}  // namespace
}  // namespace testkit
