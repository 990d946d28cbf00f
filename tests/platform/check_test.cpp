// What a check restricts, and what it adds: stores, cache, roots, time and duration (crypto_begin_check).
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <thread>

#include "platform/crypto/network/fetch.h"
#include "tests/platform/exchange_fixture.h"
#include "tests/platform/trust_fixture.h"
#include "tests/support/http_server.h"

namespace testkit {
namespace {

constexpr DWORD kOffline = CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL;
constexpr DWORD kChecked = CERT_CHAIN_REVOCATION_CHECK_CHAIN;
constexpr DWORD kUnknown = CERT_TRUST_REVOCATION_STATUS_UNKNOWN | CERT_TRUST_IS_OFFLINE_REVOCATION;
constexpr DWORD kRevoked = CERT_TRUST_IS_REVOKED;
constexpr DWORD kUntrusted = CERT_TRUST_IS_UNTRUSTED_ROOT;

class CheckRules : public ::testing::Test {
protected:
    // The error of the chain of `end` whose issuers are given, so that only trust in the root can be missing.
    static DWORD errorUnder(const Identity& root, const Identity& end) {
        return errorOf(chainOf({.end = end, .extra = {root}}));
    }
    static bool opensRootStore(DWORD flags) {
        SetLastError(0);
        const StorePtr store(CertOpenStore(CERT_STORE_PROV_SYSTEM_A, 0, 0, flags, "ROOT"));
        EXPECT_TRUE(store != nullptr || GetLastError() == ERROR_FILE_NOT_FOUND);
        return store != nullptr && ContextPtr(CertEnumCertificatesInStore(store.get(), nullptr)) != nullptr;
    }
    static int numListed() {
        int count = 0;
        const auto note = [](const CRYPTO_STORE_ITEM*, void* counter) { ++*static_cast<int*>(counter); };
        EXPECT_TRUE(crypto_list_store("ROOT", CERT_SYSTEM_STORE_LOCAL_MACHINE, note, &count));
        return count;
    }

    const Pki& pki = Pki::shared();
    TrustWorld world{{pki.root}};
};

TEST_F(CheckRules, WithoutStoresTrustsOnlyRootsOfTheCheckOrTheEngine) {
    const Identity added = rootCa("added to the process");
    const Identity inBundle = rootCa("in the bundle");
    const Identity own = rootCa("own");
    const TempDir dir;
    dir.write("stores/ROOT/root.pem", pki.root.certificatePem());
    const std::string stores = "_stores = \"" + dir.file("stores") + "\"\n";
    const std::string bundle = dir.write("bundle.pem", inBundle.certificatePem());
    support_settings_open(dir.write("settings.toml", "[crypto]\nmachine" + stores + "user" + stores +
                                                         "system_bundle = \"" + bundle + "\"\n")
                              .c_str());
    ASSERT_TRUE(crypto_add_trusted_root(context(added.certificate).get()));
    const StorePtr ownRoots = storeOf({own, pki.sibling});
    const StorePtr otherRoots = storeOf({added});
    struct Row {
        const char* name;
        DWORD outer;
        DWORD inner;
        HCERTSTORE outerRoots;
        HCERTSTORE innerRoots;
        bool hasStores;
        bool trustsAdded;
        bool trustsOwn;
    };
    constexpr DWORD kNoStores = CRYPTO_CHECK_NO_STORES;
    const Row rows[] = {
        {"no rules", 0, 0, nullptr, nullptr, true, true, false},
        {"more roots", 0, 0, ownRoots.get(), nullptr, true, true, true},
        {"no stores", 0, kNoStores, nullptr, nullptr, false, false, false},
        {"own roots only", kNoStores, kNoStores, nullptr, ownRoots.get(), false, false, true},
        {"inherited", kNoStores, 0, ownRoots.get(), nullptr, false, false, true},
        {"inner roots replace outer ones", kNoStores, 0, ownRoots.get(), otherRoots.get(), false, true, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const Check outer(row.outer, Check::Own{.roots = row.outerRoots});
        const Check inner(row.inner, Check::Own{.roots = row.innerRoots});
        EXPECT_EQ(errorUnder(pki.root, leafUnder(pki.root)), row.hasStores ? 0 : kUntrusted);
        EXPECT_EQ(errorUnder(inBundle, leafUnder(inBundle)), row.hasStores ? 0 : kUntrusted);
        EXPECT_EQ(errorUnder(added, leafUnder(added)), row.trustsAdded ? 0 : kUntrusted);
        EXPECT_EQ(errorUnder(own, leafUnder(own)), row.trustsOwn ? 0 : kUntrusted);
        EXPECT_NE(errorOf(chainOf({.end = leafUnder(pki.sibling)})) == 0, !row.hasStores || !row.trustsOwn)
            << "a certificate that is not self-issued is only a candidate";
        EXPECT_EQ(opensRootStore(CERT_SYSTEM_STORE_CURRENT_USER), row.hasStores);
        EXPECT_EQ(opensRootStore(CERT_SYSTEM_STORE_LOCAL_MACHINE | CERT_STORE_OPEN_EXISTING_FLAG), row.hasStores);
        EXPECT_EQ(numListed() != 0, row.hasStores);
    }
    EXPECT_TRUE(opensRootStore(CERT_SYSTEM_STORE_CURRENT_USER)) << "the rules end with the check";

    CERT_CHAIN_ENGINE_CONFIG config{};
    config.cbSize = sizeof config;
    config.hExclusiveRoot = otherRoots.get();
    HCERTCHAINENGINE engine = nullptr;
    ASSERT_TRUE(CertCreateCertificateChainEngine(&config, &engine));
    {
        const Check check(kNoStores, Check::Own{.roots = ownRoots.get()});
        EXPECT_EQ(errorOf(chainOf({.end = leafUnder(added), .engine = engine})), 0U);
        EXPECT_EQ(errorOf(chainOf({.end = leafUnder(own), .extra = {own}, .engine = engine})), kUntrusted);
    }
    CertFreeCertificateChainEngine(engine);
}

TEST_F(CheckRules, DownloadsAnIssuerOnlyOnceWithoutACache) {
    Bytes body = bytesOf("rubbish");
    HttpServer server([&](const HttpRequest&) { return HttpReply{.body = body}; });
    const Identity end = issue(pki.ca, {.caIssuersUrls = {server.url("/ca")}});
    const auto error = [&] { return errorOf(chainOf({.end = end, .flags = 0})); };
    for (const std::size_t before : {0U, 2U}) {
        const Check check(CRYPTO_CHECK_NO_CACHE);
        body = bytesOf("rubbish");
        EXPECT_EQ(error(), CERT_TRUST_IS_PARTIAL_CHAIN);
        body = pki.ca.certificate;
        EXPECT_EQ(error(), 0U) << "what is no certificate is not kept";
        body.clear();
        const Check inner;
        EXPECT_EQ(error(), 0U);
        EXPECT_EQ(server.requests().size(), before + 2) << "the check before kept nothing";
        const Check forbidding(CRYPTO_CHECK_NO_DOWNLOADS | CRYPTO_CHECK_NO_CACHE);
        EXPECT_EQ(error(), CERT_TRUST_IS_PARTIAL_CHAIN);
    }
    const Check outside(CRYPTO_CHECK_NO_CACHE);
    EXPECT_EQ(error(), CERT_TRUST_IS_PARTIAL_CHAIN);
}

TEST_F(CheckRules, WithoutCacheNeitherReadsNorWritesIt) {
    const TrustWorld caching({pki.root}, "[config.Basalt.cache_settings]\nOcspValiditySeconds = 60\n");
    const Bytes response = fromHex("300C0A0100A007300506012A0400");
    const Bytes crl = makeCrl(pki.ca, {});
    HttpServer server(
        [&](const HttpRequest& request) { return HttpReply{.body = request.target == "/crl" ? crl : response}; });
    CertificateSpec spec;
    spec.crlUrls = {server.url("/crl")};
    const Identity end = issue(pki.ca, spec);
    const Bytes rootCrl = makeCrl(pki.root, {});
    const std::wstring url = wide(server.url("/ocsp") + "/cmVxdWVzdA%3D%3D?Accept: a");
    const auto retrieves = [&](DWORD flags) {
        void* object = nullptr;
        const BOOL got =
            CryptRetrieveObjectByUrlW(url.c_str(), CONTEXT_OID_OCSP_RESP, CRYPT_HTTP_POST_RETRIEVAL | flags, 5000,
                                      &object, nullptr, nullptr, nullptr, nullptr);
        std::free(object);
        return got != FALSE;
    };
    const auto useBoth = [&] {
        EXPECT_EQ(errorAt(chainOf({.end = end, .extra = {pki.ca}, .crls = {rootCrl}, .flags = kChecked}), 0), 0U);
        EXPECT_TRUE(retrieves(0));
    };
    const auto listing = [&] {
        std::map<std::string, std::filesystem::file_time_type> files;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(caching.file(".."))) {
            files[entry.path()] = entry.last_write_time();
        }
        return files;
    };
    for (const bool isFilled : {false, true}) {
        if (isFilled) {
            useBoth();
        }
        const auto before = listing();
        const std::size_t requests = server.requests().size();
        const Check outer(CRYPTO_CHECK_NO_CACHE);
        const Check inner;
        useBoth();
        EXPECT_EQ(server.requests().size(), requests + 2);
        EXPECT_FALSE(retrieves(CRYPT_CACHE_ONLY_RETRIEVAL));
        EXPECT_TRUE(crypto_forget_response(url.c_str()));
        EXPECT_EQ(listing(), before);
    }
    const std::size_t requests = server.requests().size();
    useBoth();
    EXPECT_EQ(server.requests().size(), requests) << "what was kept before is used again";
}

TEST_F(CheckRules, InnerChecksKeepTheRestrictionsAndTheDeadline) {
    HttpServer server([](const HttpRequest&) { return HttpReply{.body = {1}}; });
    HttpServer silent([](const HttpRequest&) { return HttpReply{.delayMs = 1000}; });
    const auto downloads = [](const HttpServer& from) {
        tallow::platform::FetchAllowance allowance(1, 60000);
        return tallow::platform::fetchObject(from.url("/"), 1000, allowance).has_value();
    };
    {
        const Check outer(CRYPTO_CHECK_NO_DOWNLOADS);
        const Check inner;
        EXPECT_FALSE(downloads(server));
    }
    EXPECT_TRUE(downloads(server));
    Check outer(0, Check::Own{.timeoutMs = 300});
    {
        const Check inner(0, Check::Own{.timeoutMs = 60000});
        EXPECT_LE(crypto_check_time_left(), 300U);
        EXPECT_FALSE(downloads(silent));
        while (crypto_check_time_left() > 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        EXPECT_FALSE(downloads(server));
    }
    EXPECT_EQ(outer.cSkippedDownloads, 1U);
    EXPECT_EQ(server.requests().size(), 1U);
    CRYPTO_CHECK unknown = outer;
    unknown.dwFlags = 0x80000000U;
    EXPECT_FALSE(crypto_begin_check(&unknown)) << "it may be a restriction of a later version";
    EXPECT_EQ(GetLastError(), E_INVALIDARG);
}

// ---- A time of its own ----------------------------------------------------------------------------------------------

// The time of the check, before which the certificates below became valid and after which the end certificate expired.
constexpr long kThen = -1800;
constexpr long kBefore = -2400;
constexpr long kAfter = -1200;

class CheckTime : public CheckRules {
protected:
    static Identity expiredUnder(const Identity& issuer, const std::vector<std::string>& crlUrls = {}) {
        CertificateSpec spec;
        spec.notAfterSeconds = -600;
        spec.crlUrls = crlUrls;
        return issue(issuer, spec);
    }
    DWORD errorWith(const Identity& end, std::vector<Bytes> crls, DWORD flags = kOffline,
                    std::optional<long> atSeconds = std::nullopt) const {
        crls.push_back(rootCrl);
        return errorOf(chainOf({end, {pki.ca}, std::move(crls), kChecked | flags, atSeconds}));
    }

    const Identity end = expiredUnder(pki.ca);
    const Bytes rootCrl = makeCrl(pki.root, {});
    const Bytes ofThen = makeCrl(pki.ca, {.lastUpdateSeconds = kBefore, .nextUpdateSeconds = kAfter});
};

TEST_F(CheckTime, DecidesWhichCrlsAndEntriesCount) {
    const auto listed = [&](long issued, long revoked, CrlSpec spec = {}) {
        spec.lastUpdateSeconds = issued;
        spec.nextUpdateSeconds = issued + 1200;
        spec.revokedAtSeconds = revoked;
        spec.revokedSerials = {end.serial()};
        return spec;
    };
    const Bytes revokedBefore = makeCrl(pki.ca, listed(kAfter, kBefore));
    const Bytes revokedAfter = makeCrl(pki.ca, listed(kAfter, kAfter));
    const CrlSpec defective = listed(kAfter, kBefore, {.criticalExtensions = {{"1.2.3.4", fromHex("0500")}}});
    const CrlSpec lifted = listed(kAfter, kBefore, {.reason = 8, .criticalExtensions = {{"2.5.29.27", {2, 1, 1}}}});
    const auto malformedDate = [](const Bytes& tbs) {
        // The third UTCTime, after thisUpdate and nextUpdate. Serial numbers and keys contain any octets, also a Z.
        Bytes changed = tbs;
        int number = 0;
        for (std::size_t i = 0; i + 14 < changed.size(); ++i) {
            if (changed[i] == 0x17 && changed[i + 1] == 13 && changed[i + 14] == 'Z' && ++number == 3) {
                changed[i + 14] = 'z';
            }
        }
        EXPECT_GE(number, 3);
        return changed;
    };
    struct Row {
        const char* name;
        std::vector<Bytes> crls;
        DWORD expected;
    };
    const Row rows[] = {
        {"of that time", {ofThen}, 0},
        {"none", {}, kUnknown},
        {"expired by then", {makeCrl(pki.ca, {.nextUpdateSeconds = kBefore})}, kUnknown},
        {"a later one proves nothing good", {makeCrl(pki.ca, {.lastUpdateSeconds = kAfter})}, kUnknown},
        {"a later one that does not list it", {ofThen, makeCrl(pki.ca, {.lastUpdateSeconds = kAfter})}, 0},
        {"revoked later", {ofThen, revokedAfter}, 0},
        {"revoked later, without one of that time", {revokedAfter}, kUnknown},
        {"revoked before, published later", {ofThen, revokedBefore}, kRevoked},
        {"the same, without one of that time", {revokedBefore}, kRevoked},
        {"revoked before, listed then", {makeCrl(pki.ca, listed(kBefore, kBefore))}, kRevoked},
        {"listed then with a date to come", {makeCrl(pki.ca, listed(kBefore, kAfter))}, 0},
        {"with a malformed date",
         {signedAgain(makeCrl(pki.ca, listed(kBefore, kAfter)), pki.ca, malformedDate)},
         kRevoked},
        {"a hold that was lifted later",
         {makeCrl(pki.ca, listed(kBefore, kBefore, {.reason = 6})), makeCrl(pki.ca, lifted)},
         kRevoked},
        {"a later one of a namesake", {ofThen, makeCrl(pki.sameNameCa, listed(kAfter, kBefore))}, 0},
        {"a later one with a defect", {ofThen, makeCrl(pki.ca, defective)}, kUnknown},
        {"one with a defect that does not list it then",
         {ofThen, makeCrl(pki.ca, {.lastUpdateSeconds = kAfter, .nextUpdateSeconds = std::nullopt})},
         0},
    };
    const Check check(0, Check::Own{.time = fileTime(kThen)});
    for (const Row& row : rows) {
        EXPECT_EQ(errorWith(end, row.crls), row.expected) << row.name;
    }
}

TEST_F(CheckTime, HoldsForEveryCallThatPassesNone) {
    const auto requestorError = [&] {
        const ChainPtr chain = chainOf({end, {pki.ca}, {ofThen, rootCrl}, kOffline | kChecked});
        CERT_CHAIN_POLICY_PARA parameters{sizeof parameters, OCSP_REQUESTOR_POLICY_FLAG, nullptr};
        CERT_CHAIN_POLICY_STATUS status{sizeof status, 0, 0, 0, nullptr};
        EXPECT_TRUE(
            CertVerifyCertificateChainPolicy(CERT_CHAIN_POLICY_OCSP_REQUESTOR, chain.get(), &parameters, &status));
        return status.dwError;
    };
    const auto isNotRevoked = [&] {
        const ContextPtr checked = context(end.certificate);
        const ContextPtr issuer = context(pki.ca.certificate);
        const StorePtr store = storeOf({pki.ca}, {ofThen});
        CERT_REVOCATION_PARA parameters{};
        parameters.cbSize = sizeof parameters;
        parameters.pIssuerCert = issuer.get();
        parameters.hCrlStore = store.get();
        CERT_REVOCATION_STATUS status{};
        status.cbSize = sizeof status;
        void* contexts[] = {const_cast<CERT_CONTEXT*>(checked.get())};
        return CertVerifyRevocation(X509_ASN_ENCODING, CERT_CONTEXT_REVOCATION_TYPE, 1, contexts, 0, &parameters,
                                    &status) != FALSE;
    };
    EXPECT_EQ(errorWith(end, {ofThen}), kUnknown | CERT_TRUST_IS_NOT_TIME_VALID);
    EXPECT_EQ(requestorError(), CERT_E_EXPIRED);
    EXPECT_FALSE(isNotRevoked());
    const Check outer(0, Check::Own{.time = fileTime(kThen)});
    {
        const Check inner;
        EXPECT_EQ(errorWith(end, {ofThen}), 0U);
        EXPECT_EQ(requestorError(), 0U);
        EXPECT_TRUE(isNotRevoked());
        EXPECT_EQ(errorWith(end, {ofThen}, kOffline, 0), kUnknown | CERT_TRUST_IS_NOT_TIME_VALID)
            << "the call's own time";
    }
    const Check now(0, Check::Own{.time = fileTime(0)});
    EXPECT_EQ(requestorError(), CERT_E_EXPIRED);
}

TEST_F(CheckTime, UsesDownloadedCrlsAndKeepsNone) {
    Bytes served = makeCrl(pki.ca, {.lastUpdateSeconds = -60});
    HttpServer server([&](const HttpRequest&) { return HttpReply{.body = served}; });
    const Identity current = expiredUnder(pki.ca, {server.url("/")});
    CertificateSpec spec;
    spec.crlUrls = {server.url("/")};
    const Identity valid = issue(pki.ca, spec);
    EXPECT_EQ(errorWith(valid, {}, 0), 0U);
    ASSERT_EQ(server.requests().size(), 1U);
    served = ofThen;
    {
        const Check check(0, Check::Own{.time = fileTime(kThen)});
        EXPECT_EQ(errorWith(current, {}, 0), 0U);
        served = makeCrl(pki.ca,
                         {.revokedSerials = {current.serial()}, .lastUpdateSeconds = -60, .revokedAtSeconds = kBefore});
        EXPECT_EQ(errorWith(current, {}, 0), kRevoked);
    }
    EXPECT_EQ(server.requests().size(), 3U);
    EXPECT_EQ(errorWith(valid, {}, 0), 0U);
    EXPECT_EQ(server.requests().size(), 3U) << "the current CRL is still in the cache";
}

}  // namespace
}  // namespace testkit
