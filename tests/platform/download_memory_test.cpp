// Downloads that the cache directory cannot take: each is made once in a process, for as long as it would count in the
// directory.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "platform/crypto/network/directory_cache.h"
#include "tests/platform/environment_fixture.h"
#include "tests/platform/exchange_fixture.h"
#include "tests/platform/trust_fixture.h"
#include "tests/support/http_server.h"

namespace testkit {
namespace {

namespace fs = std::filesystem;
namespace service = tallow::platform;

constexpr DWORD kChecked = CERT_CHAIN_REVOCATION_CHECK_CHAIN;
constexpr std::size_t kAll = 20;

// Certificates that name the addresses of their CA's CRL and certificate, on a machine without HOME.
class DownloadMemory : public ::testing::Test {
protected:
    void use(const std::string& crypto) const {
        const std::string text = "[crypto]\nsystem_roots = false\nuser_stores = \"/absent\"\nmachine_stores = \"" +
                                 world_.file("") + "\"\n" + crypto;
        ASSERT_EQ(support_settings_open(folder_.write("settings.toml", text).c_str()), 0);
    }
    std::string cacheAt(const std::string& path) const { return "url_cache = \"" + path + "\"\n"; }
    // Other addresses from now on.
    void begin(const std::string& path) {
        ends_.clear();
        for (std::size_t i = 0; i < kAll; ++i) {
            ends_.push_back(issue(pki_.ca, {.commonName = std::to_string(i),
                                            .caIssuersUrls = {server_.url("/" + path + ".cer")},
                                            .crlUrls = {server_.url("/" + path + ".crl")}}));
        }
    }
    // How many downloads it takes to prove that no certificate is revoked.
    std::size_t downloads(ChainRequest request = {.end = {}, .flags = kChecked}) {
        const std::size_t before = server_.requests().size();
        request.crls = {makeCrl(pki_.root, {.nextUpdateSeconds = 14L * 86400})};
        for (const Identity& end : ends_) {
            request.end = end;
            EXPECT_EQ(errorOf(chainOf(request)), 0U);
        }
        return server_.requests().size() - before;
    }

    const Environment environment_{{"HOME", ""}, {"XDG_CACHE_HOME", ""}};
    const Pki& pki_ = Pki::shared();
    const TrustWorld world_{{pki_.root}};
    const TempDir folder_;
    Bytes crl_ = makeCrl(pki_.ca, {});
    std::vector<Identity> ends_;
    HttpServer server_{[this](const HttpRequest& request) {
        return HttpReply{.body = request.target.ends_with(".crl") ? crl_ : pki_.ca.certificate};
    }};
};

TEST_F(DownloadMemory, TakesThePlaceOfADirectoryThatCannotBeUsed) {
    const std::string open = folder_.file("open");
    fs::create_directory(open);
    ::chmod(open.c_str(), 0777);
    struct Row {
        const char* name;
        std::string crypto;
        std::size_t expected;
        std::size_t again = 0;
    };
    int number = 0;
    for (const Row& row : {
             Row{"no HOME", "", 2},
             Row{"below a file", cacheAt(folder_.write("file", "") + "/cache"), 2},
             Row{"on a file system without files", cacheAt("/proc/tallow"), 2},
             Row{"others may write it", cacheAt(open), 2},
             Row{"can be used", cacheAt(folder_.file("cache")), 2},
             Row{"switched off", cacheAt(""), 2 * kAll, 2 * kAll},
             Row{"a CRL is never used again", "crl_cache_max_age = 0\n", kAll + 1, kAll},
         }) {
        SCOPED_TRACE(row.name);
        use(row.crypto);
        begin(std::to_string(number++));
        EXPECT_EQ(downloads(), row.expected);
        EXPECT_EQ(downloads(), row.again);
    }
}

TEST_F(DownloadMemory, CountsByTheRulesForTheDirectory) {
    use("");
    begin("a");
    EXPECT_EQ(downloads(), 2U);
    EXPECT_EQ(downloads({.end = {}, .flags = CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL | kChecked}), 0U) << "offline";
    crl_ = makeCrl(pki_.ca, {.nextUpdateSeconds = 48L * 3600});
    EXPECT_EQ(downloads({.end = {}, .flags = kChecked, .atSeconds = 25L * 3600}), 1U) << "the CRL has expired";
    FILETIME resync = fileTime(0);
    EXPECT_EQ(downloads({.end = {}, .flags = kChecked, .resync = &resync}), 1U) << "the CRL was kept before";
    {
        const Check check(CRYPTO_CHECK_NO_CACHE);
        EXPECT_EQ(downloads(), kAll + 1) << "a check keeps issuers itself";
    }
    use(cacheAt(""));
    EXPECT_EQ(downloads(), 2 * kAll) << "switched off";
    const std::string cache = folder_.file("cache");
    use(cacheAt(cache));
    begin("b");
    EXPECT_EQ(downloads(), 2U);
    fs::remove_all(cache);
    EXPECT_EQ(downloads(), 2U) << "what the directory took is not remembered";
}

TEST_F(DownloadMemory, GivesWayToALaterFile) {
    const std::string path = folder_.file("shared");
    service::DownloadMemory memory(9, 1000);
    const service::DirectoryCache cache(path, &memory);
    const auto keep = [](const service::DirectoryCache& in, const std::string& text) {
        in.keep("u", bytesOf(text), 9);
    };
    const auto found = [&] { return cache.find("u", 60, nullptr).value_or(Bytes()); };
    keep(cache, "first");
    ::chmod(path.c_str(), 0777);
    EXPECT_EQ(found(), Bytes()) << "others may write the directory";
    keep(cache, "second");
    EXPECT_EQ(found(), bytesOf("second"));
    ::chmod(path.c_str(), 0700);
    EXPECT_EQ(found(), bytesOf("second")) << "the file is older";
    EXPECT_FALSE(cache.find("u", 60, nullptr, 5)) << "too large";
    keep(service::DirectoryCache(path), "third");
    EXPECT_EQ(found(), bytesOf("third"));
    keep(cache, "fourth");
    fs::remove_all(path);
    EXPECT_EQ(found(), Bytes());
}

}  // namespace
}  // namespace testkit
