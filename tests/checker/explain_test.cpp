// What a verdict says when a chain, a CRL, an issuer or a signature is not enough: names, dates, places; and what it
// was made from.
#include "tests/checker/checker_fixture.h"
#include "tests/support/tlv.h"

namespace testkit {
namespace {

using tallow::ChainLink;
using tallow::Evidence;
using testing::HasSubstr;
using CheckerExplains = CheckerTest;

void expectCause(const char* name, const Verdict& verdict, const std::vector<std::string>& parts) {
    SCOPED_TRACE(name);
    EXPECT_EQ(verdict.answer, Answer::kUnproven);
    for (const std::string& part : parts) {
        EXPECT_THAT(verdict.cause, HasSubstr(part));
    }
    EXPECT_EQ(verdict.cause.find('\n'), std::string::npos);
}

TEST_F(CheckerExplains, WhyAResponseIsRejected) {
    const auto changed = [this](auto change) {
        ResponseSpec spec = good();
        change(spec);
        return judged(spec);
    };
    const Identity plain = issue(pki.ca, {.commonName = "plain"});
    const Identity old = issue(
        pki.ca, {.commonName = "old", .notAfterSeconds = -600, .extendedKeyUsage = "OCSPSigning", .ocspNoCheck = true});
    const Identity young =
        issue(pki.ca,
              {.commonName = "young", .notBeforeSeconds = -60, .extendedKeyUsage = "OCSPSigning", .ocspNoCheck = true});
    const Bytes otherAlgorithm = tlv::sequence({tlv::oid("1.2.3.4")});
    const std::string keyHash = "the key with the SHA-1 hash ";
    struct Row {
        const char* name;
        Verdict verdict;
        std::vector<std::string> parts;
    };
    for (const Row& row : {
             Row{"altered",
                 changed([](auto& s) { s.corruptSignature = true; }),
                 {"the signature of the response does not verify (altered, or signed with another key)"}},
             Row{"no signer",
                 changed([](auto& s) { s.includeSigner = false; }),
                 {"the certificate of the signer, CN=responder, is neither in the response"}},
             Row{"no signer by key",
                 changed([](auto& s) {
                     s.includeSigner = false;
                     s.responderIdKind = ResponderIdKind::kByKey;
                 }),
                 {keyHash}},
             Row{"unknown algorithm",
                 changed([&](auto& s) { s.signatureAlgorithm = otherAlgorithm; }),
                 {"the signature algorithm 1.2.3.4 is not known"}},
             Row{"SHA-1", changed([](auto& s) { s.hash = "SHA1"; }), {"(1.2.840.10045.4.1) uses SHA-1", "accept_sha1"}},
             Row{"no usage",
                 changed([&](auto& s) { s.signer = plain; }),
                 {"not authorised: certificate CN=plain has no OCSPSigning usage"}},
             Row{"other issuer",
                 changed([&](auto& s) {
                     s.signer = delegateOf(pki.sibling);
                     s.certificates = {pki.sibling.certificate};
                 }),
                 {"certificate CN=responder was issued by CN=sibling, not by the issuer CN=ca"}},
             Row{"expired",
                 changed([&](auto& s) { s.signer = old; }),
                 {"certificate CN=old expired on 20", "10 min", " before our clock, 20"}},
             Row{"produced too early",
                 changed([&](auto& s) {
                     s.signer = young;
                     s.producedAt = generalizedTimeText(-180);
                     s.entries[0].thisUpdate = s.producedAt;
                 }),
                 {"certificate CN=young is not valid before 20", "but producedAt is 20",
                  " earlier; check the clock of the responder"}},
             Row{"other entry",
                 judged(about(pki.revoked, EntryStatus::kGood)),
                 {"no entry about serial number ", " of the issuer CN=ca (it has 1, about serial number "}},
             Row{"future",
                 judged(goodAt(3 * kDay + 4 * 3600 + 60, std::nullopt)),
                 {"producedAt 20", "is 3 days 4 h ahead of our clock 20"}},
             Row{"impossible dates",
                 changed([](auto& s) { s.entries[0].nextUpdate = generalizedTimeText(-3600); }),
                 {"decoding: nextUpdate is not after thisUpdate"}},
             Row{"twice the same extension",
                 changed([](auto& s) {
                     s.extensions = {nonceExtension({1}), nonceExtension({2})};
                 }),
                 {"decoding: an extension occurs twice"}},
             Row{"other type",
                 changed([](auto& s) { s.responseType = "1.3.6.1.5.5.7.48.1.99"; }),
                 {"decoding: the response is of a type other than basic"}},
             Row{"past", judged(goodAt(-3 * kDay, -kDay - 60)), {"nextUpdate 20", "is 1 day before our clock 20"}},
             Row{"old",
                 judged(goodAt(-8 * kDay, std::nullopt)),
                 {"is 8 days before our clock 20", "more than the 7 days that are accepted without nextUpdate"}},
         }) {
        expectCause(row.name, row.verdict, row.parts);
    }
}

TEST_F(CheckerExplains, WhichCertificateOfAChainIsAtFault) {
    const auto with = [](const Bytes& crl) { return Trust().addRoots(Pki::shared().root.certificate).addCrls(crl); };
    Options options;
    options.exchange = answering(good());
    const std::string crlUrl = "http://127.0.0.1:1/root.crl";
    const std::string caUrl = "http://127.0.0.1:1/ca.cer";
    const Identity named = issue(pki.root, {.commonName = "named", .ca = true, .crlUrls = {crlUrl}});
    const Identity leaf = issue(named, {.commonName = "leaf", .caIssuersUrls = {caUrl}});
    ResponseSpec byDelegate(delegateOf(named));
    byDelegate.entries.emplace_back(certIdOf(leaf, named), EntryStatus::kGood);
    Options offline{.responders = {url}, .downloads = false, .exchange = answering(byDelegate)};
    const Trust root = Trust().addRoots(pki.root.certificate);
    const Checker checker(root, offline);
    expectCause("no CRL", checker.check(leaf.certificate, named.certificate),
                {"certificate CN=named has an unknown revocation status: no CRL of its issuer was found",
                 "CRL of CN=root", crlUrl, "supply a current CRL of CN=root"});
    expectCause("no issuer", checker.check(leaf.certificate),
                {"finding the issuer: the issuer of certificate CN=leaf was not found: CN=named", "key identifier ",
                 "searched in the certificates given", caUrl, "supply"});
    expectCause("expired CRL", check(options, with(makeCrl(pki.root, {.nextUpdateSeconds = -60}))),
                {"certificate CN=ca has", "the newest CRL expired on 20", "names no address"});
    expectCause("revoked CA", check(options, with(makeCrl(pki.root, {.revokedSerials = {pki.ca.serial()}}))),
                {"certificate CN=ca is revoked since 20", "by the CRL of CN=root of 20"});
    expectCause("no root", check(options, Trust().addRoots(pki.sameNameCa.certificate)),
                {"the issuer of certificate CN=ca was not found: CN=root"});
    ResponseSpec carrying = good();
    carrying.certificates = {pki.root.certificate};
    options.exchange = answering(carrying);
    expectCause("other root", check(options, Trust().addRoots(pki.sameNameCa.certificate)),
                {"the chain ends in the root CN=root, which is not trusted"});
    expectCause("a root itself", Checker(own(), {}).check(pki.root.certificate),
                {"root certificates have no OCSP responder: certificate CN=root is self-signed"});
    const tallow::Time past = std::chrono::system_clock::now() - std::chrono::hours(24);
    expectCause("past", Checker(own()).provedAt(past, pki.good.certificate, pki.ca.certificate, buildResponse(good())),
                {"after the time asked about, 20", "use a response of that time (not proven at that time)"});
}

TEST_F(CheckerExplains, WhatAVerdictWasMadeFrom) {
    Options options{.responders = {url}, .verifyChain = true, .exchange = answering(good())};
    const Checker checker(own(), options);
    const Bytes answer = buildResponse(good());
    const std::vector<Verdict> verdicts = {
        checker.check(pki.good.certificate, pki.ca.certificate),
        checker.judge(checker.ask(pki.good.certificate, pki.ca.certificate), answer),
        checker.provedAt(std::chrono::system_clock::now(), pki.good.certificate, pki.ca.certificate, answer),
        checker.verify(answer, {.certificate = pki.good.certificate, .issuer = pki.ca.certificate}).at(0),
    };
    for (const Verdict& verdict : verdicts) {
        const Evidence& evidence = verdict.evidence;
        expectProven(verdict, Answer::kGood);
        EXPECT_EQ(evidence.issuer, "CN=ca");
        EXPECT_EQ(evidence.issuerCertificate, pki.ca.certificate);
        EXPECT_EQ(evidence.issuerSource, tallow::IssuerSource::kGiven);
        EXPECT_EQ(evidence.hashOid, verdict.request.empty() ? "" : kSha1Oid);
        for (const std::vector<ChainLink>* chain : {&evidence.signerChain, &evidence.certificateChain}) {
            ASSERT_EQ(chain->size(), 3U);
            const ChainLink& ca = chain->at(1);
            EXPECT_EQ(ca.subject, "CN=ca");
            EXPECT_EQ(ca.issuer, "CN=root");
            EXPECT_EQ(ca.serial, pki.ca.serial());
            EXPECT_EQ(ca.revocation, ChainLink::Revocation::kGood);
            EXPECT_EQ(ca.crlIssuer, "CN=root");
            EXPECT_TRUE(ca.crlThisUpdate && ca.crlNextUpdate && *ca.crlThisUpdate < *ca.crlNextUpdate);
            EXPECT_TRUE(ca.notBefore && ca.notAfter && *ca.notBefore < *ca.notAfter);
            EXPECT_EQ(ca.fault, "");
            EXPECT_EQ(chain->at(0).crlIssuer + chain->at(2).crlIssuer, "") << "no CRL was needed";
            EXPECT_EQ(chain->at(0).revocation, ChainLink::Revocation::kNotChecked) << "no-check, and the answer itself";
        }
        EXPECT_EQ(evidence.signerChain[0].subject, "CN=responder");
        EXPECT_EQ(evidence.certificateChain[0].subject, "CN=good");
    }
    const Verdict failed = check({.exchange = answering(good())}, Trust().addRoots(pki.root.certificate));
    ASSERT_EQ(failed.evidence.signerChain.size(), 3U);
    EXPECT_EQ(failed.evidence.signerChain[1].revocation, ChainLink::Revocation::kUnknown);
    EXPECT_THAT(failed.evidence.signerChain[1].fault, HasSubstr("no CRL of its issuer"));
}

}  // namespace
}  // namespace testkit
