// Chains: their sources, the faults reported, and the limits on their cost.
#include <gtest/gtest.h>

#include <algorithm>

#include "platform/crypto/chains/path_search.h"
#include "tests/platform/trust_fixture.h"
#include "tests/support/http_server.h"
#include "tests/support/process.h"
#include "tests/support/tlv.h"

namespace testkit {
namespace {

constexpr DWORD kOffline = CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL;

class Chain : public ::testing::Test {
protected:
    const Pki& pki = Pki::shared();
    TrustWorld world{{pki.root}};
};

TEST_F(Chain, ReportsEachFaultAtItsElement) {
    struct Row {
        const char* name;
        ChainRequest request;
        std::vector<DWORD> errors;  // one per element
        DWORD chainError = 0;       // in addition to those
    };
    const Identity mayNotSign = caUnder(pki.root, {.keyUsage = "cRLSign"});
    const Identity shortPath = caUnder(pki.root, {.pathLength = 0});
    const Identity below = issueCa(shortPath, "below");
    const Identity stranger = issue(pki.ca, {.criticalExtensions = {{"1.2.3.4", {5, 0}}}});
    const Identity late = issue(pki.ca, {.notBeforeSeconds = 3600});
    constexpr DWORD kOutOfTime = CERT_TRUST_IS_NOT_TIME_VALID;
    constexpr DWORD kMayNotSign = CERT_TRUST_IS_NOT_VALID_FOR_USAGE | CERT_TRUST_INVALID_BASIC_CONSTRAINTS;

    const Identity rsaCa = caUnder(pki.root, {.key = Key::make(KeyKind::kRsa2048)});
    Identity twoAlgorithms = leafUnder(rsaCa);  // the parameters of the outer one are not NULL
    Bytes& der = twoAlgorithms.certificate;
    const Bytes withNull{0x0B, 0x05, 0x00};
    std::find_end(der.begin(), der.end(), withNull.begin(), withNull.end())[1] = 0x04;

    const Row rows[] = {
        {"two algorithms", {twoAlgorithms, {rsaCa}}, {CERT_TRUST_IS_NOT_SIGNATURE_VALID, 0, 0}},
        {"good", {pki.good, {pki.ca}}, {0, 0, 0}},
        {"trusted root alone", {pki.root}, {0}},
        {"other root alone", {pki.sameNameCa}, {CERT_TRUST_IS_UNTRUSTED_ROOT}},
        {"issuer missing", {pki.good}, {0}, CERT_TRUST_IS_PARTIAL_CHAIN},
        {"other root", {leafUnder(pki.sameNameCa), {pki.sameNameCa}}, {0, CERT_TRUST_IS_UNTRUSTED_ROOT}},
        {"issuer by name alone", {leafUnder(pki.sameNameCa), {pki.ca}}, {CERT_TRUST_IS_NOT_SIGNATURE_VALID, 0, 0}},
        {"not yet valid", {late, {pki.ca}}, {kOutOfTime, 0, 0}},
        {"valid at the time asked", {late, {pki.ca}, {}, kOffline, 7200}, {0, 0, 0}},
        {"all expired", {pki.good, {pki.ca}, {}, kOffline, 3L * 365 * 24 * 3600}, {kOutOfTime, kOutOfTime, kOutOfTime}},
        {"critical extension", {stranger, {pki.ca}}, {CERT_TRUST_HAS_NOT_SUPPORTED_CRITICAL_EXT, 0, 0}},
        {"issuer that may not sign certificates", {leafUnder(mayNotSign), {mayNotSign}}, {0, kMayNotSign, 0}},
        {"path too long", {leafUnder(below), {below, shortPath}}, {0, 0, CERT_TRUST_INVALID_BASIC_CONSTRAINTS, 0}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const ChainPtr chain = chainOf(row.request);
        ASSERT_EQ(errorsOf(chain), row.errors);
        EXPECT_EQ(errorOf(chain), allOf(row.errors, row.chainError));
        EXPECT_EQ(chain->TrustStatus.dwErrorStatus, errorOf(chain));
        const DWORD lastInfo = simple(chain).rgpElement[row.errors.size() - 1]->TrustStatus.dwInfoStatus;
        EXPECT_EQ((lastInfo & CERT_TRUST_IS_SELF_SIGNED) != 0, row.chainError == 0);
    }
}

TEST_F(Chain, TrustsRootsOfTheStoreTheRunOrTheEngine) {
    const Identity own = rootCa("own root");
    const Identity leaf = leafUnder(own);
    EXPECT_EQ(errorOf(chainOf({leaf, {own}})), CERT_TRUST_IS_UNTRUSTED_ROOT);

    const StorePtr ownRoots = storeOf({own});
    CERT_CHAIN_ENGINE_CONFIG config{};
    config.cbSize = sizeof config;
    config.hExclusiveRoot = ownRoots.get();
    HCERTCHAINENGINE engine = nullptr;
    ASSERT_TRUE(CertCreateCertificateChainEngine(&config, &engine));
    EXPECT_EQ(errorOf(chainOf({.end = leaf, .engine = engine})), 0U);
    EXPECT_EQ(errorOf(chainOf({.end = pki.good, .extra = {pki.ca, pki.root}, .engine = engine})),
              CERT_TRUST_IS_UNTRUSTED_ROOT);
    CertFreeCertificateChainEngine(engine);

    ASSERT_TRUE(crypto_add_trusted_root(context(own.certificate).get()));
    EXPECT_EQ(errorOf(chainOf({leaf})), 0U);
    crypto_forget_trusted_roots();
    EXPECT_EQ(errorOf(chainOf({leaf})), CERT_TRUST_IS_PARTIAL_CHAIN);
    world.add("ROOT/own.pem", own);
    EXPECT_EQ(errorOf(chainOf({leaf})), 0U);
    // A root that is not self-signed does not end the chain.
    ASSERT_TRUE(crypto_add_trusted_root(context(pki.sibling.certificate).get()));
    EXPECT_EQ(simple(chainOf({leafUnder(pki.sibling)})).cElement, 3U);
}

// The certificates of a bundle are made on demand. Its roots must count exactly like those of a file in ROOT, which are
// made at once, also where a certificate is both a root and an intermediate, or has namesakes.
TEST_F(Chain, TrustsABundleLikeAFileOfRoots) {
    const Identity other = rootCa("other");
    const Identity crossed = caWithKey(other, "root", pki.root.key);
    const auto self = [](const char* name, const Key& key, long from, long to) {
        return selfSigned(
            {.commonName = name, .key = key, .notBeforeSeconds = from, .notAfterSeconds = to, .ca = true});
    };
    const Identity caAsRoot = self("ca", pki.ca.key, -60, 3600);
    const Identity expired = self("root", pki.root.key, -7200, -60);
    const Identity spelled = selfSigned(
        {.key = pki.root.key,
         .subject = tlv::sequence({tlv::set({tlv::sequence({tlv::oid("2.5.4.3"), tlv::printableString("ROOT")})})}),
         .ca = true});
    const Identity fake{
        tlv::sequence({tlv::sequence({tlv::context(0, tlv::integer(2)), tlv::integer(1), tlv::sequence({}),
                                      tlv::sequence({}), tlv::sequence({}), pki.root.subject()})}),
        pki.root.key};
    const Bytes serial{0x2A};
    const Identity leaf = issue(pki.ca, {.serial = serial});
    const auto crlOf = [&](long seconds, std::vector<Bytes> serials = {}) {
        return makeCrl(pki.ca, {.revokedSerials = std::move(serials), .lastUpdateSeconds = seconds});
    };
    constexpr DWORD kPartial = CERT_TRUST_IS_PARTIAL_CHAIN;
    constexpr DWORD kUnknown = CERT_TRUST_REVOCATION_STATUS_UNKNOWN | CERT_TRUST_IS_OFFLINE_REVOCATION;
    const std::string revoking = toPem(crlOf(-60, {serial}), "X509 CRL");
    struct Row {
        const char* name;
        DWORD error, errorWithCrls;
        std::vector<Identity> roots, bundled;
        std::string more = {};
        std::vector<Identity> carried = {};
    };
    const Row rows[] = {
        {"root in the bundle", 0, 0, {}, {other, pki.root, pki.sibling}},
        {"root in both", 0, 0, {pki.root}, {pki.root}},
        {"root beside a malformed namesake", 0, 0, {}, {fake, pki.root}},
        {"only a malformed namesake", kPartial, kPartial | kUnknown, {}, {fake}},
        {"only a namesake with another key", kPartial, kPartial | kUnknown, {}, {pki.sameNameCa}},
        {"expired root before a valid one", 0, 0, {}, {expired, pki.root}},
        {"expired root in the bundle", 0, 0, {pki.root}, {expired}},
        {"expired root in the store", 0, 0, {expired}, {pki.root}},
        {"intermediate that is also a root", 0, 0, {pki.root}, {caAsRoot}},
        {"root in another spelling", 0, 0, {}, {spelled}},
        {"crossed root, its root in the bundle", 0, kUnknown, {pki.sibling}, {crossed, other}},
        {"root and crossed root", 0, 0, {other}, {crossed, pki.root}, {}, {crossed}},
        {"CRL in the bundle", 0, CERT_TRUST_IS_REVOKED, {pki.root}, {other}, revoking},
        {"CRL in the bundle, cut", 0, kUnknown, {pki.root}, {other}, revoking.substr(0, revoking.size() / 2)},
    };
    const auto pemOf = [](const std::vector<Identity>& identities) {
        std::string pem;
        for (const Identity& identity : identities) {
            pem += identity.certificatePem();
        }
        return pem;
    };
    for (const Row& row : rows) {
        for (const DWORD flags : {kOffline, kOffline | CERT_CHAIN_REVOCATION_CHECK_CHAIN}) {
            std::vector<std::vector<Bytes>> elements;
            std::vector<std::vector<DWORD>> errors;
            for (const char* const file : {"bundle.pem", "ROOT/1.pem"}) {
                const TempDir folder;
                const SettingsFile settings("[crypto]\nmachine_stores = \"" + folder.path().string() +
                                            "\"\nuser_stores = \"\"\nurl_cache = \"\"\nsystem_bundle = \"" +
                                            folder.file("bundle.pem") + "\"\n");
                folder.write(file, pemOf(row.bundled) + row.more);
                if (!row.roots.empty()) {
                    folder.write("ROOT/0.pem", pemOf(row.roots));
                }
                std::vector<Identity> carried = row.carried;
                carried.push_back(pki.ca);
                const ChainPtr chain = chainOf({leaf, carried, {crlOf(-7200), makeCrl(pki.root, {})}, flags});
                errors.push_back(errorsOf(chain));
                errors.back().push_back(errorOf(chain));
                elements.emplace_back();
                for (DWORD i = 0; i < simple(chain).cElement; ++i) {
                    elements.back().push_back(encoded(simple(chain).rgpElement[i]->pCertContext));
                }
            }
            EXPECT_EQ(errors[0], errors[1]) << row.name;
            EXPECT_EQ(elements[0], elements[1]) << row.name;
            EXPECT_EQ(errors[0].back(), flags == kOffline ? row.error : row.errorWithCrls) << row.name;
        }
    }
}

// A server with one file at each path; counts the requests.
class Files {
public:
    std::string add(const std::string& path, Bytes body) {
        files_.emplace_back(path, std::move(body));
        return server_.url(path);
    }
    std::size_t requests() const { return server_.requests().size(); }
    void replace(Bytes body) { files_.back().second = std::move(body); }

private:
    std::vector<std::pair<std::string, Bytes>> files_;
    HttpServer server_{[this](const HttpRequest& request) {
        const auto found =
            std::find_if(files_.begin(), files_.end(), [&](const auto& file) { return file.first == request.target; });
        return found == files_.end() ? HttpReply{.status = 404} : HttpReply{.body = found->second};
    }};
};

Bytes certificatesOnly(const std::vector<Identity>& certificates) {
    const TempDir dir;
    std::string pem;
    for (const Identity& identity : certificates) {
        pem += identity.certificatePem();
    }
    run({"openssl", "crl2pkcs7", "-nocrl", "-certfile", dir.write("in.pem", pem), "-outform", "DER", "-out",
         dir.file("out.p7c")});
    return readFile(dir.file("out.p7c"));
}

TEST_F(Chain, FindsIssuersInStoresAndAtTheirAddresses) {
    Files files;
    const auto leafNaming = [&](const std::string& url) { return issue(pki.ca, {.caIssuersUrls = {url}}); };
    const Identity single = leafNaming(files.add("/ca.cer", pki.ca.certificate));
    const Identity message = leafNaming(files.add("/ca.p7c", certificatesOnly({pki.sibling, pki.ca})));
    const Identity rubbish = leafNaming(files.add("/rubbish", bytesOf("no certificate")));

    EXPECT_EQ(errorOf(chainOf({single})), CERT_TRUST_IS_PARTIAL_CHAIN);
    EXPECT_EQ(files.requests(), 0U);  // these requests may only use the cache
    EXPECT_EQ(errorOf(chainOf({.end = single, .flags = 0})), 0U);
    EXPECT_EQ(errorOf(chainOf({.end = message, .flags = 0})), 0U);
    EXPECT_EQ(files.requests(), 2U);
    EXPECT_EQ(errorOf(chainOf({.end = single, .flags = 0})), 0U);
    EXPECT_EQ(errorOf(chainOf({single})), 0U);
    EXPECT_EQ(files.requests(), 2U);  // cached
    EXPECT_EQ(errorOf(chainOf({.end = rubbish, .flags = 0})), CERT_TRUST_IS_PARTIAL_CHAIN);
    constexpr DWORD kOfRequestor = CERT_CHAIN_REVOCATION_CHECK_CHAIN_EXCLUDE_ROOT;
    chainOf({.end = rubbish, .flags = kOfRequestor});
    EXPECT_EQ(files.requests(), 3U) << "the check of a requestor asks no address";

    world.add("CA/ca.pem", pki.ca);
    EXPECT_EQ(errorOf(chainOf({.end = rubbish, .flags = 0})), 0U);
    EXPECT_EQ(files.requests(), 3U);  // no download when a store has the issuer
}

TEST_F(Chain, TriesEachAddressUntilOneHasTheIssuer) {
    Files files;
    std::vector<Identity> crowd(40, pki.sibling);
    crowd.push_back(pki.ca);
    const std::vector<std::string> urls = {
        files.add("/sibling", pki.sibling.certificate), files.add("/namesake", pki.sameNameCa.certificate),
        files.add("/crowd", certificatesOnly(crowd)), files.add("/never", pki.ca.certificate)};
    EXPECT_EQ(errorOf(chainOf({.end = issue(pki.ca, {.caIssuersUrls = urls}), .flags = 0})), 0U);
    EXPECT_EQ(files.requests(), 3U);

    std::string withPassword = files.add("/ca.cer", pki.ca.certificate);
    withPassword.insert(withPassword.find("127"), "me:secret@");
    EXPECT_EQ(errorOf(chainOf({.end = issue(pki.ca, {.caIssuersUrls = {withPassword}}), .flags = 0})),
              CERT_TRUST_IS_PARTIAL_CHAIN);
    // The certificate above bears the issuer's name and did not make the signature.
    const std::string above = files.add("/above", pki.root.certificate);
    chainOf(
        {.end = pki.good, .extra = {issue(pki.sibling, {.commonName = "ca", .caIssuersUrls = {above}})}, .flags = 0});
    EXPECT_EQ(files.requests(), 3U);
}

TEST_F(Chain, KeepsADownloadOnlyWhenAChainOverItIsValid) {
    const TrustWorld empty({});
    const auto trust = [](const Identity& root) {
        crypto_forget_trusted_roots();
        crypto_add_trusted_root(context(root.certificate).get());
    };
    trust(pki.root);
    Files files;
    const Identity forged = caWithKey({pki.root.certificate, Key::make()}, "ca", pki.ca.key);
    const Identity leaf = issue(pki.ca, {.caIssuersUrls = {files.add("/ca", forged.certificate)}});
    EXPECT_EQ(errorOf(chainOf({.end = leaf, .flags = 0})), CERT_TRUST_IS_NOT_SIGNATURE_VALID) << "forged";
    files.replace(pki.ca.certificate);
    EXPECT_EQ(errorOf(chainOf({leaf})), CERT_TRUST_IS_PARTIAL_CHAIN);
    EXPECT_EQ(errorOf(chainOf({.end = leaf, .flags = 0})), 0U);
    EXPECT_EQ(files.requests(), 2U);
    EXPECT_EQ(errorOf(chainOf({leaf})), 0U);
    // The cached certificate no longer leads to a trusted root.
    const Identity next = rootCa("next");
    trust(next);
    files.replace(caWithKey(next, "ca", pki.ca.key).certificate);
    EXPECT_EQ(errorOf(chainOf({.end = leaf, .flags = 0})), 0U);
    EXPECT_EQ(files.requests(), 3U);
}

TEST_F(Chain, LimitsNumberAndTimeOfDownloads) {
    // An endless ladder: each certificate leads to another one.
    std::vector<Identity> ladder;
    int requests = 0;
    HttpServer endless([&](const HttpRequest&) {
        HttpReply reply;
        reply.body = ladder[static_cast<std::size_t>(++requests)].certificate;
        return reply;
    });
    std::vector<Key> keys(32);
    std::generate(keys.begin(), keys.end(), [] { return Key::make(); });
    for (std::size_t i = 0; i + 1 < keys.size(); ++i) {
        const std::string name = std::to_string(i);
        ladder.push_back(
            issue(selfSigned({.commonName = std::to_string(i + 1), .key = keys[i + 1]}),
                  {.commonName = name, .key = keys[i], .ca = true, .caIssuersUrls = {endless.url("/" + name)}}));
    }
    EXPECT_EQ(errorOf(chainOf({.end = ladder[0], .flags = 0})), CERT_TRUST_IS_PARTIAL_CHAIN);
    EXPECT_EQ(endless.requests().size(), 8U);

    HttpServer slow([](const HttpRequest&) { return HttpReply{.delayMs = 1500}; });
    const Identity leaf = issue(pki.ca, {.caIssuersUrls = {slow.url("/1"), slow.url("/2"), slow.url("/3")}});
    EXPECT_EQ(errorOf(chainOf({.end = leaf, .flags = 0, .timeoutMs = 300})), CERT_TRUST_IS_PARTIAL_CHAIN);
    EXPECT_LT(slow.requests().size(), 3U);
}

TEST_F(Chain, LimitsSignatureChecks) {
    namespace service = tallow::platform;
    const Identity leaf = leafUnder(pki.ca);
    const auto refOf = [](const Identity& identity) { return service::Certificate::create(identity.certificate); };
    service::ChainSources sources;
    sources.roots = {refOf(pki.root)};
    // By their names, each could have issued each.
    for (int i = 0; i < 300; ++i) {
        sources.others.push_back(
            refOf(issue(pki.sameNameCa, {.commonName = "ca", .ca = true, .keyIdentifiers = false})));
    }
    service::SignatureLedger ledger;
    service::findPath(refOf(leaf), sources, fileTime(0), {}, ledger);
    EXPECT_LE(ledger.checksMade(), service::SignatureLedger::kMaxChecks);

    for (const service::CertificateRef& other : sources.others) {
        EXPECT_FALSE(ledger.verifies(*refOf(leaf), *other));
    }
    EXPECT_EQ(ledger.checksMade(), service::SignatureLedger::kMaxChecks);
    EXPECT_FALSE(ledger.verifies(*refOf(leaf), *refOf(pki.ca)));  // correct, but no longer checked
}

}  // namespace
}  // namespace testkit
