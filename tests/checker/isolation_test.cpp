// A Checker with a Trust of its own sees nothing of the machine; one with Trust::system does. Objects and threads do
// not affect each other.
#include <cstdlib>
#include <filesystem>
#include <thread>

#include "platform/crypto/crypto_service.h"
#include "tests/checker/checker_fixture.h"

namespace testkit {
namespace {

using tallow::Authority;

std::string thumbprintSetting(const char* key, const Identity& certificate) {
    return std::string(key) + " = [\"" + toHex(digest(kSha1Oid, certificate.certificate)) + "\"]\n";
}

class CheckerIsolation : public CheckerTest {
protected:
    // The root and the CRLs of the PKI as the machine's.
    void install() const {
        folder().write("stores/ROOT/root.pem", pki.root.certificatePem());
        folder().write("stores/CA/root.crl", makeCrl(pki.root, {}));
        folder().write("stores/CA/ca.crl", makeCrl(pki.ca, {}));
    }
};

TEST_F(CheckerIsolation, KeepsStoresAndAddedRootsOut) {
    install();
    const Options options{.responders = {url}, .exchange = answering(good())};
    expectProven(check(options, Trust::system()), Answer::kGood);
    expectProven(check(options, Trust().addSystemRoots().addCrls(makeCrl(pki.root, {})).addCrls(makeCrl(pki.ca, {}))),
                 Answer::kGood);
    const Identity other = rootCa("other root");
    PCCERT_CONTEXT added = CertCreateCertificateContext(X509_ASN_ENCODING, pki.root.certificate.data(),
                                                        static_cast<DWORD>(pki.root.certificate.size()));
    ASSERT_TRUE(crypto_add_trusted_root(added));
    CertFreeCertificateContext(added);
    EXPECT_EQ(check(options, Trust().addRoots(other.certificate)).answer, Answer::kUnproven);
    EXPECT_EQ(check(options, Trust()).answer, Answer::kUnproven);
    // CRLs of the machine do not count either: without one the status of the CA is not known.
    EXPECT_NE(check(options, Trust().addRoots(pki.root.certificate)).answer, Answer::kGood);
    // Its stores do not help to find an issuer.
    folder().write("stores/CA/ca.pem", pki.ca.certificatePem());
    EXPECT_EQ(toHex(Checker(Trust::system()).issuerOf(pki.good.certificate)), toHex(pki.ca.certificate));
    EXPECT_EQ(Checker(own()).issuerOf(pki.good.certificate), Bytes());
    crypto_forget_trusted_roots();
}

TEST_F(CheckerIsolation, KeepsSettingsOut) {
    install();
    const Identity foreign = delegateOf(pki.sibling, "foreign");
    ResponseSpec fromForeign = good();
    fromForeign.signer = foreign;
    fromForeign.certificates = {pki.sibling.certificate};
    ResponseSpec unchecked = good();  // its status is unknown without a CRL of the sibling
    CertificateSpec spec;
    spec.extendedKeyUsage = "OCSPSigning";
    unchecked.signer = issue(pki.ca, spec);
    ResponseSpec weak = good();
    weak.hash = "SHA1";
    const ResponseSpec old = goodAt(-3000, 3000);
    struct Row {
        const char* name;
        std::string policy;
        ResponseSpec response;
        Answer own, system;
    };
    const auto kGood = Answer::kGood;
    const auto kNo = Answer::kUnproven;
    for (const Row& row : {
             Row{"AuthorizedOCSPs", thumbprintSetting("AuthorizedOCSPs", foreign), fromForeign, kNo, kGood},
             Row{"DisableNonce", "DisableNonce = true\nUseNonceByDefault = true\n", good(), kGood, kGood},
             Row{"RequireNonce", "RequireNonce = true\n", good(), kGood, kNo},
             Row{"DisableUnsignedRequests", "DisableUnsignedRequests = true\n", good(), kGood, kNo},
             Row{"ThisUpdateAccuracy", "ThisUpdateAccuracyUnits = 1\nThisUpdateAccuracy = \"n\"\n",
                 goodAt(-3000, std::nullopt), kGood, kNo},
             Row{"ResponseAccuracy", "ResponseAccuracy = 1000\n", old, kGood, kNo},
             Row{"broken", "NonceLength = \"8\"\n", good(), kGood, kNo},
         }) {
        SCOPED_TRACE(row.name);
        settings(row.policy);
        const Bytes body = buildResponse(row.response);
        const Options options{.responders = {url}, .exchange = sending(body)};
        Verdict verdict = check(options);
        EXPECT_EQ(verdict.answer, row.own) << verdict.why();
        verdict = check(options, Trust::system());
        EXPECT_EQ(verdict.answer, row.system) << verdict.why();
    }
    settings("", "accept_sha1 = true\n");
    EXPECT_EQ(check({.exchange = answering(weak)}).answer, kNo);
    EXPECT_EQ(check({.exchange = answering(weak)}, Trust::system()).answer, kGood);
    settings("", "required_policies = [\"1.2.3\"]\n");
    EXPECT_EQ(check({.exchange = answering(good())}).answer, kGood);
    EXPECT_EQ(check({.exchange = answering(good())}, Trust::system()).answer, kNo);
    settings(thumbprintSetting("AuthorizedOCSPs", foreign));
    Options options{.policy = true, .exchange = answering(fromForeign)};
    EXPECT_EQ(check(options).authority, Authority::kPolicy);
    options.policy = false;
    EXPECT_EQ(check(options, Trust::system()).answer, Answer::kUnproven);
    settings(thumbprintSetting("NocheckOCSPs", unchecked.signer));
    const Trust withoutCrl = Trust().addRoots(pki.root.certificate).addCrls(makeCrl(pki.root, {}));
    options = {.policy = true, .exchange = answering(unchecked)};
    EXPECT_EQ(check(options, withoutCrl).answer, Answer::kGood);
    options.policy = false;
    EXPECT_EQ(check(options, withoutCrl).answer, Answer::kUnproven);
}

TEST_F(CheckerIsolation, KeepsRulesForAddressesAndTheEnvironmentOut) {
    install();
    HttpServer server(serving(good()));
    const std::string proxy = "http://127.0.0.1:" + std::to_string(closedPort());
    setenv("http_proxy", proxy.c_str(), 1);
    setenv("HTTP_PROXY", proxy.c_str(), 1);
    for (const std::string& policy : {"DeniedOCSPs = [\"" + server.url() + "\"]\n", std::string("AllowedOCSPs = []\n"),
                                      "DefaultProxy = \"" + proxy + "\"\n"}) {
        SCOPED_TRACE(policy);
        settings(policy + "[config.Basalt.cache_settings]\nOcspValiditySeconds = 60\n");
        expectProven(check({.responders = {server.url()}}), Answer::kGood);
        EXPECT_EQ(check({.responders = {server.url()}}, Trust::system()).answer, Answer::kUnproven);
    }
    unsetenv("http_proxy");
    unsetenv("HTTP_PROXY");
    EXPECT_FALSE(std::filesystem::exists(folder().file("cache")));
    settings("[config.Basalt.cache_settings]\nOcspValiditySeconds = 60\n");
    expectProven(check({.responders = {server.url()}, .nonce = Nonce::kOff, .useCache = true}, Trust::system()),
                 Answer::kGood);
    EXPECT_FALSE(std::filesystem::exists(folder().file("cache"))) << "responses are asked for, never kept";
}

// ---- Several objects ------------------------------------------------------------------------------------------------

// A second PKI: a root that answers for itself.
struct Other {
    Identity root = rootCa("other root");
    Identity leaf;
    Exchange exchange;
    Other() {
        CertificateSpec spec;
        leaf = issue(root, spec);
        ResponseSpec response(root);
        response.entries.emplace_back(certIdOf(leaf, root));
        exchange = answering(response);
    }
};

TEST_F(CheckerIsolation, SeparatesObjectsOnAnyNumberOfThreads) {
    const Other other;
    Trust trust = own();
    const Checker first(trust, {.responders = {url}, .exchange = answering(good())});
    trust = Trust().addRoots(other.root.certificate);  // a change after the construction does not count
    const Checker second(trust, {.responders = {url}, .exchange = other.exchange});
    const Checker mixed(own(), {.responders = {url}, .exchange = other.exchange});
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 20; ++round) {
                expectProven(first.check(pki.good.certificate, pki.ca.certificate), Answer::kGood);
                expectProven(second.check(other.leaf.certificate, other.root.certificate), Answer::kGood);
                EXPECT_EQ(mixed.check(other.leaf.certificate, other.root.certificate).answer, Answer::kUnproven);
                EXPECT_EQ(second.check(pki.good.certificate, pki.ca.certificate).answer, Answer::kUnproven);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

// An exchange is the caller's code, which may make checks of its own: the rules around it must not reach it.
TEST_F(CheckerIsolation, SeparatesAnExchangeFromItsCheck) {
    install();
    const Other other;
    settings("RequireNonce = true\n");
    std::vector<Verdict> inner;
    const Options options{
        .responders = {url}, .exchange = [&](const std::string&, const Bytes& request, auto) {
            const Checker strict(Trust::system(), {.responders = {url}, .exchange = sending(buildResponse(good()))});
            inner.push_back(strict.check(pki.good.certificate, pki.ca.certificate));
            const Checker loose(own(), {.responders = {url}, .exchange = answering(good())});
            inner.push_back(loose.check(pki.good.certificate, pki.ca.certificate));
            const Checker system(Trust::system(), {.responders = {url}, .exchange = answering(good())});
            inner.push_back(system.check(pki.good.certificate, pki.ca.certificate));
            return *other.exchange("", request, {});
        }};
    const auto outer = [&](const Trust& trust) {
        inner.clear();
        return Checker(trust, options).check(other.leaf.certificate, other.root.certificate);
    };
    for (const Trust& trust :
         {Trust().addRoots(other.root.certificate), Trust::system().addRoots(other.root.certificate)}) {
        expectProven(outer(trust), Answer::kGood);
        ASSERT_EQ(inner.size(), 3U);
        expectUnproven(inner[0], Step::kNonce, status::kNonceMismatch);  // the policy of the machine holds
        expectProven(inner[1], Answer::kGood);
        expectProven(inner[2], Answer::kGood);
    }
    EXPECT_EQ(crypto_check_time_left(), 0xFFFFFFFF) << "no check remains";
}

}  // namespace
}  // namespace testkit
