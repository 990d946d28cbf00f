// GOST by OpenSSL's gost engine, from the CA to the verdict: with `openssl ocsp` as the responder, with requests that
// openssl and the command sign for each other, and with what a program finds in its environment. A program of its own,
// since the engine changes the process.
#include <openssl/ocsp.h>
#include <openssl/x509.h>

#include <algorithm>
#include <ctime>
#include <memory>

#include "tests/cli/command.h"
#include "tests/support/gost_keys.h"
#include "tests/support/openssl_ptr.h"

namespace testkit {
namespace {

using testing::HasSubstr;

constexpr const char* kEngineMissing = "needs the gost engine of OpenSSL; install the package libengine-gost-openssl";
constexpr const char* kStreebog256 = "1.2.643.7.1.1.2.2";
constexpr const char* kStreebog512 = "1.2.643.7.1.1.2.3";

// A root that issues everything. Without GOST keys for `bits` 0, except that of the delegate.
struct GostPki {
    explicit GostPki(int bits) {
        const GostKey delegateKey = *makeGostKey(bits == 0 ? 256 : bits);
        const auto spec = [&](const char* name) {
            CertificateSpec made{.commonName = name};
            if (bits != 0) {
                made.key = makeGostKey(bits)->key;
                made.hash = delegateKey.hash;
            }
            return made;
        };
        CertificateSpec ca = spec("gost root");
        ca.ca = true;
        ca.keyUsage = "critical,keyCertSign,cRLSign,digitalSignature";  // it may sign responses too
        root = selfSigned(ca);
        CertificateSpec signer = spec("gost responder");
        signer.key = delegateKey.key;
        signer.extendedKeyUsage = "OCSPSigning";
        signer.ocspNoCheck = true;
        delegate = issue(root, signer);
        good = issue(root, spec("good"));
        revoked = issue(root, spec("revoked"));
        crl = makeCrl(root, {.hash = bits == 0 ? "SHA256" : delegateKey.hash});
    }
    Identity root, delegate, good, revoked;
    Bytes crl;
};

// With the lowest bit flipped at `offset` from the first occurrence of `marker`.
Bytes withBitFlipped(Bytes der, const Bytes& marker, std::size_t offset) {
    const auto found = std::search(der.begin(), der.end(), marker.begin(), marker.end());
    der.at(static_cast<std::size_t>(found - der.begin()) + offset) ^= 1;
    return der;
}

class Gost : public testing::Test {
protected:
    void SetUp() override {
        if (!makeGostKey(256)) {
            GTEST_SKIP() << "the gost engine of OpenSSL is not installed";
        }
    }

    // The directory of OpenSSL's engines.
    static std::string engines() {
        const std::string text = run({"openssl", "version", "-e"}).out;
        const std::size_t start = text.find('"') + 1;
        return text.substr(start, text.find('"', start) - start);
    }

    // A file for OPENSSL_CONF that loads the engine for everything; `more` are further lines about it.
    std::string configuration(const std::string& more = "") const {
        return tallow.file("openssl" + std::to_string(more.size()) + ".cnf",
                           "openssl_conf = init\n[init]\nengines = engines\n[engines]\ngost = gost\n[gost]\n"
                           "engine_id = gost\n" +
                               more + "default_algorithms = ALL\ninit = 1\n");
    }

    Responder responderOf(const GostPki& pki, const Identity& signer) const {
        return Responder({.ca = pki.root,
                          .signer = signer,
                          .index = {{pki.good, 'V'}, {pki.revoked, 'R'}},
                          .arguments = {"-nmin", "5"},
                          .clock = "",
                          .configuration = configuration()});
    }

    const Command tallow;
    const std::string request = tallow.folder().file("request.der");    // only the path
    const std::string response = tallow.folder().file("response.der");  // only the path
};

TEST_F(Gost, IsCheckedWithEveryIdentifierAndSigner) {
    for (const int bits : {256, 512}) {
        const GostPki pki(bits);
        const std::string root = tallow.file("root.pem", pki.root);
        const Arguments trust{"--trust", root, "--issuer", root};
        for (const Identity& signer : {pki.delegate, pki.root}) {
            const Responder responder = responderOf(pki, signer);
            struct Row {
                Arguments hash;
                std::string shown;
            };
            for (const Row& row : {Row{{}, "GOST R 34.11-2012 with " + std::to_string(bits) + " bit hash"},
                                   Row{{"--hash", kStreebog256}, "GOST R 34.11-2012 with 256 bit hash"},
                                   Row{{"--hash", kStreebog512}, "GOST R 34.11-2012 with 512 bit hash"},
                                   Row{{"--hash", "sha1"}, "sha1"}}) {
                for (const int expected : {0, 1}) {
                    SCOPED_TRACE(std::to_string(bits) + testing::PrintToString(row.hash) + std::to_string(expected));
                    const std::string leaf = tallow.file("leaf.pem", expected == 0 ? pki.good : pki.revoked);
                    Arguments check = joined(joined({"check", "--url", responder.url()}, trust), row.hash);
                    check = joined(check, {"--save-request", request, "--save-response", response, leaf});
                    const ProcessResult asked = tallow.with(check);
                    EXPECT_EQ(asked.exitStatus, expected) << asked.err;
                    EXPECT_THAT(run({"openssl", "ocsp", "-reqin", request, "-req_text"}).out,
                                HasSubstr("Hash Algorithm: " + row.shown + "\n"));
                    const Arguments verify = joined({"verify", "--cert", leaf}, trust);
                    EXPECT_EQ(tallow.with(joined(verify, {"--request", request, response})).exitStatus, expected);
                    constexpr std::size_t kLastDigit = 2 + 13;  // of producedAt, another moment of the same minute
                    const std::string damaged =
                        tallow.file("damaged.der", withBitFlipped(readFile(response), {0x18, 0x0F}, kLastDigit));
                    const ProcessResult other = tallow.with(joined(verify, {damaged}));
                    expectOneLine(other, 3, {"signature"});
                }
            }
        }
    }
}

// What libcrypto says about a signed request; `signer` is among the request's certificates.
bool opensslVerifies(const Bytes& der, const Identity& root) {
    const auto read = fromDer<std::unique_ptr<OCSP_REQUEST, FreeWith<OCSP_REQUEST_free>>>(der, d2i_OCSP_REQUEST);
    const std::unique_ptr<X509_STORE, FreeWith<X509_STORE_free>> store(X509_STORE_new());
    require(X509_STORE_add_cert(store.get(), parseCertificate(root.certificate).get()) == 1, "trusting a root");
    return OCSP_request_verify(read.get(), nullptr, store.get(), 0) == 1;
}

TEST_F(Gost, RequestsAreSignedAndVerified) {
    for (const int bits : {256, 512}) {
        SCOPED_TRACE(bits);
        const GostPki pki(bits);
        const std::string root = tallow.file("root.pem", pki.root);
        const std::string leaf = tallow.file("leaf.pem", pki.good);
        const std::string signer = tallow.file("signer.pem", pki.good.certificatePem() + pki.good.key.pem());
        const Arguments verify{"verify-request", "--trust", root, "--crl", tallow.file("root.crl", pki.crl)};
        const ProcessResult made =
            tallow.with({"request", "--issuer", root, "--sign", signer, "--include", "signer", "-o", request, leaf});
        ASSERT_EQ(made.exitStatus, 0) << made.err;
        EXPECT_TRUE(opensslVerifies(readFile(request), pki.root));
        EXPECT_EQ(tallow.with(joined(verify, {request})).exitStatus, 0);
        const ProcessResult theirs = run({"openssl", "ocsp", "-issuer", root, "-cert", leaf, "-signer", signer,
                                          "-signkey", signer, "-reqout", request},
                                         30000, {"OPENSSL_CONF=" + configuration()});
        ASSERT_EQ(theirs.exitStatus, 0) << theirs.err;
        const ProcessResult verdict = tallow.with(joined(verify, {request}));
        EXPECT_EQ(verdict.exitStatus, 0) << verdict.err;
        EXPECT_THAT(verdict.out, HasSubstr("requestor: CN=good"));
        const std::string damaged = tallow.file("damaged.der", withBitFlipped(readFile(request), pki.good.serial(), 0));
        EXPECT_EQ(tallow.with(joined(verify, {damaged})).exitStatus, 1);
    }
}

TEST_F(Gost, WorksWithTheEngineThatTheEnvironmentLoadedAndIsNamedWithoutOne) {
    const GostPki pki(512);
    ResponseSpec proof(pki.delegate, {EntrySpec(certIdOf(pki.good, pki.root))});
    proof.hash = makeGostKey(512)->hash;
    const std::string ready = "dynamic_path = " + engines() + "/gost.so\n";
    const std::string nowhere = "OPENSSL_ENGINES=" + tallow.folder().file("nowhere");
    struct Row {
        std::vector<std::string> environment;
        int exitStatus;
        const char* words;
    };
    for (const Row& row :
         {Row{{}, 0, "good"}, Row{{"OPENSSL_CONF=" + configuration()}, 0, "good"},
          Row{{nowhere, "OPENSSL_CONF=" + configuration(ready)}, 0, "good"}, Row{{nowhere}, 1, kEngineMissing}}) {
        SCOPED_TRACE(testing::PrintToString(row.environment));
        const ProcessResult stored =
            run({TALLOW_EVIDENCE, tallow.file("root.pem", pki.root), tallow.file("root.crl", pki.crl),
                 tallow.file("leaf.pem", pki.good), tallow.file("issuer.pem", pki.root),
                 tallow.file("proof.der", buildResponse(proof)), std::to_string(std::time(nullptr))},
                30000, row.environment);
        EXPECT_EQ(stored.exitStatus, row.exitStatus) << stored.err;
        EXPECT_THAT(stored.out, HasSubstr(row.words));
    }
    const GostPki mixed(0);
    const ProcessResult signing =
        run({TALLOW_SIGNED_REQUEST, tallow.file("leaf.der", mixed.good.certificate),
             tallow.file("root.der", mixed.root.certificate), tallow.file("signer.der", pki.good.certificate),
             tallow.file("signer.key", pki.good.key.pem()), request},
            30000, {nowhere});
    EXPECT_THAT(signing.err, HasSubstr("algorithm is unknown or not accepted"));  // and not "does not fit"
}

// The command forgets OPENSSL_ENGINES, so the directory is hidden from it.
TEST_F(Gost, NamesThePackageInEveryCommandWithoutTheEngine) {
    const Arguments hidden{"unshare", "-rm", "sh", "-c", "mount -t tmpfs none \"$0\" && exec \"$@\"", engines()};
    if (run(joined(hidden, {"true"})).exitStatus != 0) {
        GTEST_SKIP() << "this system does not let users hide a directory";
    }
    const GostPki gost(256);
    const GostPki mixed(0);
    const std::string root = tallow.file("root.pem", mixed.root);
    const std::string leaf = tallow.file("leaf.pem", mixed.good);
    const std::string signer = tallow.file("signer.pem", gost.good.certificatePem() + gost.good.key.pem());
    ResponseSpec byDelegate(mixed.delegate, {EntrySpec(certIdOf(mixed.good, mixed.root))});
    byDelegate.hash = "md_gost12_256";
    ResponseSpec byHash(mixed.root, {EntrySpec(certIdOf(mixed.good, mixed.root, kStreebog256))});
    const std::string gostRoot = tallow.file("gost.pem", gost.root);
    ASSERT_EQ(
        tallow.with({"request", "--issuer", root, "--sign", signer, "--include", "signer", "-o", request, leaf}).err,
        "");
    struct Row {
        Arguments arguments;
        int exitStatus;
    };
    for (const Row& row :
         {Row{{"check", "--trust", gostRoot, "--issuer", gostRoot, "--url", deadUrl(), signer}, 3},
          Row{{"check", "--trust", root, "--issuer", root, "--url", deadUrl(), "--hash", kStreebog256, leaf}, 64},
          Row{{"request", "--issuer", root, "--hash", kStreebog256, "-o", response, leaf}, 64},
          Row{{"request", "--issuer", root, "--sign", signer, "-o", response, leaf}, 3},
          Row{{"verify", "--trust", root, "--issuer", root, "--cert", leaf,
               tallow.file("delegate.der", buildResponse(byDelegate))},
              3},
          Row{{"verify", "--trust", root, "--issuer", root, "--cert", leaf,
               tallow.file("hash.der", buildResponse(byHash))},
              3},
          Row{{"verify-request", "--trust", gostRoot, request}, 3}}) {
        SCOPED_TRACE(testing::PrintToString(row.arguments));
        expectOneLine(run(joined(joined(hidden, {TALLOW_COMMAND}), row.arguments)), row.exitStatus, {kEngineMissing});
    }
}

}  // namespace
}  // namespace testkit
