// `check --verify-chain`: a verified response counts only for a certificate whose chain is valid.
#include "tests/cli/command.h"

namespace {

using namespace testkit;
using testing::AllOf;
using testing::HasSubstr;

constexpr const char* kNoFailure = "";

struct Chain {
    Identity root = certs().root;
    Identity ca;
    Identity leaf;
    EntryStatus status = EntryStatus::kGood;
};

Chain chainOf(const Identity& root, const CertificateSpec& ca, const CertificateSpec& leaf) {
    const Identity issuer = issue(root, ca);
    return {root, issuer, issue(issuer, leaf)};
}

// The responder is authorised for every CA, so that only the chain of the leaf makes a difference.
TEST(VerifyChainOption, RejectsGoodUnderAnInvalidChainAndNamesTheCause) {
    const std::string thumbprint = toUpperHex(digest(kSha1Oid, certs().delegate.certificate));
    const Command tallow("[config.cades.ocsppolicy]\nAuthorizedOCSPs = [\"" + thumbprint + "\"]\n");
    const CertificateSpec leaf{.commonName = "chain leaf"};
    const CertificateSpec early{.commonName = "chain leaf", .notBeforeSeconds = 3600};
    const CertificateSpec ca{.commonName = "chain CA", .ca = true};
    const CertificateSpec expired{.commonName = "chain CA", .notAfterSeconds = -60, .ca = true};
    const CertificateSpec noCa{.commonName = "chain CA", .keyUsage = "keyCertSign"};
    const Chain sound = chainOf(certs().root, ca, leaf);
    const Chain deep = chainOf(issue(certs().root, {.commonName = "narrow CA", .ca = true, .pathLength = 0}), ca, leaf);
    Chain revoked = sound;
    revoked.status = EntryStatus::kRevoked;
    Chain unknown = sound;
    unknown.status = EntryStatus::kUnknown;
    const Bytes crl = makeCrl(certs().root, {});
    const Bytes crlOnCa = makeCrl(certs().root, {.revokedSerials = {sound.ca.serial()}});
    const Bytes crlOnLeaf = makeCrl(sound.ca, {.revokedSerials = {sound.leaf.serial()}});
    struct Row {
        Chain chain;
        std::vector<Bytes> crls;
        int exitStatus;
        const char* code;
        const char* words;
    };
    for (const Row& row : {
             Row{sound, {crl}, 0, kNoFailure, ""},
             Row{sound, {crl, crlOnLeaf}, 0, kNoFailure, ""},
             Row{sound, {}, 3, "0x80092012", "certificate CN=chain CA has an unknown revocation status: no CRL"},
             Row{sound, {crlOnCa}, 3, "0x80092010", "certificate CN=chain CA is revoked since 20"},
             Row{revoked, {crlOnCa}, 1, "0xC2110126", "by the CRL of CN=command root of 20"},
             Row{unknown, {}, 3, "0x80092012", "supply a current CRL of CN=command root"},
             Row{chainOf(certs().root, expired, leaf), {crl}, 3, "0x800B0101", "CN=chain CA expired on 20"},
             Row{chainOf(certs().root, ca, early), {crl}, 3, "0x800B0101", "CN=chain leaf is not valid before 2"},
             Row{chainOf(certs().root, noCa, leaf), {crl}, 3, "0x80096019", "certificate CN=chain CA is no CA"},
             Row{deep, {crl}, 3, "0x80096019", "may not issue at this depth"},
             Row{chainOf(rootCa("other"), ca, leaf), {crl}, 3, "0x800B0109", "ends in the root CN=other, which is not"},
             Row{{certs().good, deep.ca, deep.leaf},
                 {crl},
                 3,
                 "0x800B010A",
                 "the issuer of certificate CN=chain CA was not"},
         }) {
        const bool isSound = row.code == kNoFailure;
        SCOPED_TRACE(row.words);
        const HttpServer server = serverOf(responseAbout(row.chain.leaf, row.chain.status, row.chain.ca));
        Arguments arguments{"--json",   "--no-nonce",
                            "--url",    server.url(),
                            "--certs",  tallow.file("root.pem", row.chain.root),
                            "--issuer", tallow.file("ca.pem", row.chain.ca)};
        for (std::size_t i = 0; i < row.crls.size(); ++i) {
            arguments.insert(arguments.end(), {"--crl", tallow.file(std::to_string(i) + ".crl", row.crls[i])});
        }
        arguments.push_back(tallow.file("leaf.pem", row.chain.leaf));
        EXPECT_EQ(tallow.check(arguments).exitStatus, static_cast<int>(row.chain.status));  // 0, 1, 2 in this order
        arguments.insert(arguments.begin(), "--verify-chain");
        const ProcessResult run = tallow.check(arguments);
        EXPECT_EQ(run.exitStatus, row.exitStatus) << run.out << run.err;
        EXPECT_EQ(numLines(run.err), isSound ? 0U : 1U);
        EXPECT_THAT(run.err, AllOf(HasSubstr(row.code), HasSubstr(row.words)));
        const auto result = parseResults(run.out).at(0);
        EXPECT_EQ(result.at("chain"), isSound ? "valid" : "invalid");
        EXPECT_EQ(result.at("status"), row.exitStatus == 0 ? "good" : row.exitStatus == 1 ? "revoked" : "error");
    }
}

}  // namespace
