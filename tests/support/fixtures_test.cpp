// The fixtures, checked with the openssl and curl commands: with a faulty fixture, no other test would prove anything.
#include <gmock/gmock.h>

#include "tests/support/http_server.h"
#include "tests/support/ocsp_builder.h"
#include "tests/support/responder.h"

namespace testkit {
namespace {

using ::testing::HasSubstr;

TEST(Fixtures, BuiltResponsesPassTheOpensslCommand) {
    struct Row {
        const char* name;
        KeyKind keyKind;
        const char* hash;
        bool pss;
        ResponderIdKind idKind;
    };
    const Row rows[] = {
        {"ECDSA, by name", KeyKind::kEcP256, "SHA256", false, ResponderIdKind::kByName},
        {"ECDSA, by key", KeyKind::kEcP384, "SHA384", false, ResponderIdKind::kByKey},
        {"RSA", KeyKind::kRsa2048, "SHA512", false, ResponderIdKind::kByName},
        {"RSASSA-PSS", KeyKind::kRsa2048, "SHA256", true, ResponderIdKind::kByKey},
        {"Ed25519", KeyKind::kEd25519, "", false, ResponderIdKind::kByName},
    };
    const Pki& pki = Pki::shared();
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        CertificateSpec signer;
        signer.key = Key::make(row.keyKind);
        signer.extendedKeyUsage = "OCSPSigning";
        ResponseSpec spec(issue(pki.ca, signer));
        spec.hash = row.hash;
        spec.pss = row.pss;
        spec.responderIdKind = row.idKind;
        spec.extensions.push_back({"1.2.3.4", false, {5, 0}});
        spec.entries.emplace_back(certIdOf(pki.good, pki.ca, kSha256Oid));
        spec.entries.emplace_back(certIdOf(pki.revoked, pki.ca), EntryStatus::kRevoked);
        spec.entries.back().revocationReason = 1;

        const TempDir dir;
        const ProcessResult result = run(
            {"openssl", "ocsp", "-no_nonce", "-respin", dir.write("response", buildResponse(spec)), "-CAfile",
             dir.write("root", pki.root.certificatePem() + pki.ca.certificatePem()), "-issuer",
             dir.write("ca", pki.ca.certificatePem()), "-cert", dir.write("revoked", pki.revoked.certificatePem())});
        EXPECT_THAT(result.err, HasSubstr("Response verify OK"));
        EXPECT_THAT(result.out, HasSubstr("revoked"));
    }
}

TEST(Fixtures, TheResponderKnowsWhatItsIndexLists) {
    const Pki& pki = Pki::shared();
    Responder responder({pki.ca, pki.delegate, {{pki.good}, {pki.revoked, 'R'}}, {"-nmin", "5"}, ""});
    const TempDir dir;
    const std::string ca = dir.write("ca", pki.ca.certificatePem());
    const ProcessResult result =
        run({"openssl", "ocsp", "-url", responder.url(), "-issuer", ca, "-cert",
             dir.write("good", pki.good.certificatePem()), "-cert", dir.write("revoked", pki.revoked.certificatePem()),
             "-cert", dir.write("unknown", pki.unknown.certificatePem()), "-CAfile",
             dir.write("root", pki.root.certificatePem()), "-verify_other", ca});
    EXPECT_THAT(result.err, HasSubstr("Response verify OK"));
    EXPECT_THAT(result.out, HasSubstr("good: good"));
    EXPECT_THAT(result.out, HasSubstr("revoked: revoked"));
    EXPECT_THAT(result.out, HasSubstr("unknown: unknown"));
}

TEST(Fixtures, TheServerSpeaksHttpPlainAndOverTls) {
    const Identity tls = rootCa("127.0.0.1");
    for (const Identity* identity : {static_cast<const Identity*>(nullptr), &tls}) {
        HttpServer server(
            [](const HttpRequest& request) {
                HttpReply reply;
                reply.body = request.body;
                reply.framing = BodyFraming::kChunked;
                return reply;
            },
            identity);
        const ProcessResult result =
            run({"curl", "-sk", "--noproxy", "*", "--data-binary", "question", server.url("/path")});
        EXPECT_EQ(result.out, "question");
        ASSERT_EQ(server.requests().size(), 1U);
        EXPECT_EQ(server.requests()[0].target, "/path");
    }
}

}  // namespace
}  // namespace testkit
