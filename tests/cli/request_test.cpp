// `request` and `verify-request`, compared with openssl: each reads and verifies what the other signs.
#include <algorithm>
#include <filesystem>

#include "tests/cli/command.h"
#include "tests/support/tlv.h"

namespace {

using namespace testkit;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using VerifyRequest = CommandTest;

// A requestor below an intermediate CA.
struct RequestorPki {
    Identity root = rootCa("requestors");
    Identity ca = issueCa(root, "requestors' CA");
    Identity signer = requestor(Key::make());
    Identity rsa = requestor(Key::make(KeyKind::kRsa2048));

    Identity requestor(const Key& key) const { return issue(ca, {.commonName = "requestor", .key = key}); }
};

const RequestorPki& requestors() {
    static const RequestorPki pki;
    return pki;
}

void fillStores(const Command& tallow) {
    tallow.file("user/ROOT/root.der", requestors().root.certificate);
    tallow.file("user/CA/ca.der", requestors().ca.certificate);
    tallow.file("user/CA/root.crl", makeCrl(requestors().root, {}));
    tallow.file("user/CA/ca.crl", makeCrl(requestors().ca, {}));
}

std::string withKey(const Identity& identity) {
    return identity.certificatePem() + identity.key.pem();
}

class Request : public CommandTest {
protected:
    // "tallow request" about certs().good with its issuer.
    ProcessResult ask(const Command& command, const Arguments& more) const {
        return command.with(joined({"request", "--issuer", root, "-o", request, leaf}, more));
    }
};

TEST_F(Request, ContainsAnEntryForEachCertificate) {
    const Identity other = leafWith({});
    const ProcessResult run = ask(tallow, {"--hash", "sha256", tallow.file("other.pem", other), "--no-nonce"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_EQ(run.out + run.err, "");
    const std::string text = testkit::run({"openssl", "ocsp", "-reqin", request, "-req_text"}).out;
    EXPECT_THAT(text, AllOf(HasSubstr("Hash Algorithm: sha256"), Not(HasSubstr("Nonce")), Not(HasSubstr("Signature"))));
    for (const Identity& asked : {certs().good, other}) {
        EXPECT_THAT(text, HasSubstr("Serial Number: " + toUpperHex(asked.serial())));
    }
}

TEST_F(Request, ContainsTheChosenCertificatesAndVerifies) {
    const Command including("[config.cades.ocsppolicy]\nCertsToInclude = 1\n");
    fillStores(including);
    struct Row {
        const char* include;
        const Identity& signer;
        std::size_t numCertificates;
    };
    for (const Row& row :
         {Row{"none", requestors().signer, 0}, Row{"signer", requestors().rsa, 1}, Row{"chain", requestors().signer, 2},
          Row{"chain-root", requestors().rsa, 3}, Row{"policy", requestors().signer, 1}}) {
        SCOPED_TRACE(row.include);
        const std::string signer = tallow.file("signer.pem", withKey(row.signer));
        const ProcessResult run = ask(including, {"--sign", signer, "--include", row.include});
        ASSERT_EQ(run.exitStatus, 0) << run.err;
        const std::string text = testkit::run({"openssl", "ocsp", "-reqin", request, "-req_text"}).out;
        EXPECT_THAT(text, AllOf(HasSubstr("Requestor Name: DirName:CN = requestor"), HasSubstr("Nonce")));
        std::size_t numCertificates = 0;
        for (auto at = text.find("-----BEGIN"); at != std::string::npos; at = text.find("-----BEGIN", at + 1)) {
            ++numCertificates;
        }
        EXPECT_EQ(numCertificates, row.numCertificates);
        const ProcessResult verdict = including.with({"verify-request", "--json", "--certs", signer, request});
        EXPECT_EQ(verdict.exitStatus, 0) << verdict.err;
        EXPECT_EQ(parseTree(verdict.out).at("request.status"), "valid");
        EXPECT_EQ(parseTree(verdict.out).at("request.requestor"), "CN=requestor");
    }
}

TEST_F(Request, FindsTheKeyInEachPlace) {
    const Identity& signer = requestors().rsa;
    const std::string plain = tallow.file("plain/key.pem", signer.key.pem());
    const std::string inFile = tallow.file("in/signer.pem", withKey(signer));
    const std::string alone = tallow.file("alone/signer.pem", signer);
    const std::string beside = tallow.file("beside/signer.pem", signer);
    tallow.file("beside/signer.key", signer.key.pem());
    const std::string locked = tallow.folder().file("locked.pem");
    const std::string archive = tallow.folder().file("archive.p12");
    ASSERT_EQ(
        run({"openssl", "pkey", "-in", plain, "-aes256", "-passout", "pass:\xC3\xA4 1", "-out", locked}).exitStatus, 0);
    ASSERT_EQ(
        run({"openssl", "pkcs12", "-export", "-in", inFile, "-passout", "pass:\xC3\xA4 1", "-out", archive}).exitStatus,
        0);
    const std::string pin = tallow.file("pin", std::string("\xC3\xA4 1\r\nsecond line"));
    for (const Arguments& row :
         {Arguments{"--sign", inFile}, Arguments{"--sign", beside}, Arguments{"--sign", alone, "--key", plain},
          Arguments{"--sign", alone, "--key", "file://" + plain},
          Arguments{"--sign", alone, "--key", locked, "--pin-file", pin},
          Arguments{"--sign", alone, "--key", archive, "--pin-file", pin}}) {
        SCOPED_TRACE(testing::PrintToString(row));
        std::filesystem::remove(request);
        EXPECT_EQ(ask(tallow, row).err, "");
        EXPECT_TRUE(std::filesystem::exists(request));
    }
    tallow.file("user/My/own.der", signer.certificate);
    tallow.file("user/My/own.toml", "key = \"" + plain + "\"");
    EXPECT_EQ(ask(tallow, {"--sign", alone}).err, "");
}

TEST_F(Request, ReportsAFailureInOneLineAndLeavesNoFile) {
    const std::string signer = tallow.file("signer.pem", requestors().signer);
    const std::string foreign = tallow.file("foreign.pem", certs().good.key.pem());
    const std::string locked = tallow.folder().file("locked.pem");
    const std::string key = tallow.file("key.pem", requestors().signer.key.pem());
    ASSERT_EQ(run({"openssl", "pkey", "-in", key, "-aes256", "-passout", "pass:secret", "-out", locked}).exitStatus, 0);
    const std::string wrong = tallow.file("wrong", std::string("xyzzy-secret\n"));
    const std::string empty = tallow.file("empty", std::string("\nsecret\n"));
    struct Row {
        Arguments arguments;
        int exitStatus;
        const char* words;
    };
    for (const Row& row : {
             Row{{"--sign", signer}, 64, "--key"},
             Row{{"--sign", key}, 64, "PRIVATE KEY"},
             Row{{"--sign", signer, "--key", foreign}, 3, "does not fit the certificate"},
             Row{{"--sign", signer, "--key", "missing"}, 3, "no private key"},
             Row{{"--sign", signer, "--key", "nonsense:x"}, 3, "scheme"},
             Row{{"--sign", signer, "--key", locked}, 3, "PIN"},
             Row{{"--sign", signer, "--key", locked, "--pin-file", wrong}, 3, "the PIN does not open"},
             Row{{"--sign", signer, "--key", locked, "--pin-file", empty}, 64, "first line"},
             Row{{"--sign", signer, "--key", locked, "--pin-file", "missing"}, 64, "No such file"},
             Row{{"--key", key}, 64, "--sign"},
             Row{{"--sign", signer, "--include", "all"}, 64, "all"},
             Row{{"--issuer", signer}, 64, "--issuer"},
             Row{{"missing.pem"}, 64, "No such file"},
             Row{{tallow.file("issuerless.pem", requestors().signer)}, 3, "issuer"},
         }) {
        const ProcessResult run = ask(tallow, row.arguments);
        expectOneLine(run, row.exitStatus, {row.words});
        EXPECT_THAT(run.err, Not(HasSubstr("xyzzy")));
        EXPECT_FALSE(std::filesystem::exists(request));
    }
}

// A request about certs().good with an extension, as openssl and a builder would make it.
Bytes requestWith(const std::vector<ExtensionSpec>& extensions) {
    Bytes list;
    for (const ExtensionSpec& extension : extensions) {
        list = concat({list, extension.encode()});
    }
    const Bytes id = certIdOf(certs().good, certs().root).encode();
    return tlv::sequence(
        {tlv::sequence({tlv::sequence({tlv::sequence({id})}), tlv::context(2, tlv::raw(0x30, list))})});
}

std::string signedByOpenssl(const Command& tallow, const std::string& name, const Identity& signer,
                            const Arguments& more = {}) {
    std::string file = tallow.folder().file(name);
    const std::string pem = tallow.file(name + ".pem", withKey(signer));
    const std::string root = tallow.file("root.pem", certs().root);
    const std::string good = tallow.file("good.pem", certs().good);
    const Arguments sign{"openssl", "ocsp", "-issuer",  root, "-cert",   good,
                         "-signer", pem,    "-signkey", pem,  "-reqout", file};
    EXPECT_EQ(run(joined(sign, more)).exitStatus, 0);
    return file;
}

TEST_F(VerifyRequest, ReportsStatusAndCode) {
    fillStores(tallow);
    const std::string good = signedByOpenssl(tallow, "good.der", requestors().rsa);
    struct Row {
        const char* name;
        std::string file;
        Arguments more;
        int exitStatus;
        const char* status;
        const char* code;
    };
    const std::string unsignedOne = tallow.file("unsigned", requestWith({nonceExtension({1, 2})}));
    const std::string critical = tallow.file("critical", requestWith({{"1.2.3.4", true, {5}}}));
    const std::string foreign = signedByOpenssl(tallow, "foreign", certs().good);
    const std::string revoked = signedByOpenssl(tallow, "revoked", certs().revoked);
    const std::string bare = signedByOpenssl(tallow, "bare", requestors().rsa, {"-no_certs"});
    const auto trusting = [&](const CrlSpec& crl) {
        return Arguments{"--trust", root, "--crl",
                         tallow.file(std::to_string(crl.revokedSerials.size()) + ".crl", makeCrl(certs().root, crl))};
    };
    const auto holding = [&](const Identity& signer, const std::string& before = "") {
        return Arguments{"--certs", tallow.file(toHex(signer.serial()), before + signer.certificatePem())};
    };
    for (const Row& row : {
             Row{"signed", good, {}, 0, "valid", ""},
             Row{"unsigned", unsignedOne, {}, 2, "unsigned", ""},
             Row{"critical", critical, {}, 1, "refused", "0x800B0105"},
             Row{"foreign root", foreign, {}, 1, "refused", "0x800B010A"},
             Row{"root named", foreign, trusting({}), 0, "valid", ""},
             Row{"revoked", revoked, trusting({.revokedSerials = {certs().revoked.serial()}}), 1, "refused",
                 "0x80092010"},
             Row{"no certificate", bare, {}, 3, "error", "0x80092004"},
             Row{"certificate named", bare, holding(requestors().rsa), 0, "valid", ""},
             Row{"of two of the name, the second signed", bare,
                 holding(requestors().rsa, requestors().signer.certificatePem()), 0, "valid", ""},
             Row{"another's certificate", bare, holding(requestors().signer), 1, "refused", "0x80090006"},
             Row{"garbage", tallow.file("garbage", std::string("garbage")), {}, 3, "error", "0x80093101"},
             Row{"missing", tallow.folder().file("missing"), {}, 3, "error", "0x80070002"},
         }) {
        SCOPED_TRACE(row.name);
        const ProcessResult run = tallow.with(joined({"verify-request", "--json", row.file}, row.more));
        SCOPED_TRACE(run.out);
        EXPECT_EQ(run.exitStatus, row.exitStatus);
        auto fields = parseTree(run.out);
        EXPECT_EQ(fields["request.file"], row.file);
        EXPECT_EQ(fields["request.status"], row.status);
        EXPECT_EQ(fields["request.error.code"], row.code);
        EXPECT_EQ(numLines(run.err), *row.code == '\0' ? 0U : 1U);
    }
    EXPECT_THAT(tallow.with({"verify-request", foreign}).err, testing::HasSubstr("the issuer of certificate "));
    EXPECT_THAT(tallow.with({"verify-request", tallow.file("bytes", Bytes{0x30, 0})}).err,
                testing::HasSubstr("it is no OCSP request in DER (2 octets)"));
}

TEST_F(VerifyRequest, ReportsUnusableOptionFiles) {
    const std::string file = tallow.file("request", requestWith({}));
    for (const char* option : {"--trust", "--certs", "--crl", "--settings"}) {
        const std::string missing = tallow.folder().file("missing");
        expectMistake(Command::plain({"verify-request", option, missing, file}), missing);
    }
}

}  // namespace
