// Built responses, checked with the openssl command: with a faulty builder, no other test would prove anything.
#include <gmock/gmock.h>

#include "tests/support/ocsp_builder.h"
#include "tests/support/process.h"
#include "tests/support/temp_dir.h"

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
        ResponseSpec spec(issue(pki.ca, {.key = Key::make(row.keyKind), .extendedKeyUsage = "OCSPSigning"}));
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

}  // namespace
}  // namespace testkit
