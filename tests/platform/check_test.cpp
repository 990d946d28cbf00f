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

constexpr DWORD kChecked = CERT_CHAIN_REVOCATION_CHECK_CHAIN;
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
        const BOOL got = CryptRetrieveObjectByUrlW(url.c_str(), CONTEXT_OID_OCSP_RESP,
                                                   CRYPT_HTTP_POST_RETRIEVAL | flags, 5000, &object, nullptr, nullptr,
                                                   nullptr, nullptr);
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

}  // namespace
}  // namespace testkit
