// Retrieval through the cache, and the cache on disk.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <tuple>

#include "platform/crypto/crypto_service.h"
#include "platform/crypto/network/directory_cache.h"
#include "tests/platform/environment_fixture.h"
#include "tests/platform/exchange_fixture.h"
#include "tests/support/http_server.h"
#include "tests/support/settings_file.h"
#include "tests/support/temp_dir.h"
#include "tests/support/tlv.h"

namespace testkit {
namespace {

class RetrieveObjectByUrl : public testing::Test {
protected:
    // The URL of the request "request" for `address`.
    static std::wstring urlFor(const std::string& address) {
        return wide(address + "/cmVxdWVzdA%3D%3D?Content-type: application/ocsp-request");
    }

    struct Result {
        bool ok = false;
        Bytes body;
        DWORD httpStatus = 0;
    };
    // Uses the cache, the network or both, as the flags say.
    static Result retrieve(const std::string& address, DWORD flags, FILETIME* resync = nullptr, DWORD timeout = 5000) {
        return retrieveUrl(urlFor(address), flags, resync, timeout);
    }
    static Result retrieveUrl(const std::wstring& url, DWORD flags, FILETIME* resync = nullptr, DWORD timeout = 5000) {
        CRYPT_RETRIEVE_AUX_INFO info{};
        info.cbSize = sizeof info;
        info.pftCacheResync = resync;
        void* object = nullptr;
        Result result;
        result.ok = CryptRetrieveObjectByUrlW(url.c_str(), CONTEXT_OID_OCSP_RESP, CRYPT_HTTP_POST_RETRIEVAL | flags,
                                              timeout, &object, nullptr, nullptr, nullptr, &info);
        const std::unique_ptr<void, decltype(&std::free)> owner(object, std::free);
        result.httpStatus = info.dwHttpStatusCode;
        if (result.ok) {
            const auto* blobs = static_cast<CRYPT_BLOB_ARRAY*>(object);
            EXPECT_EQ(blobs->cBlob, 1u);
            result.body.assign(blobs->rgBlob[0].pbData, blobs->rgBlob[0].pbData + blobs->rgBlob[0].cbData);
        }
        return result;
    }

    TempDir folder_;
    SettingsFile settings_{"[crypto]\nurl_cache = \"" + folder_.file("cache") +
                           "\"\n[config.Basalt.cache_settings]\nOcspValiditySeconds = 60\n"};
    const Bytes kept_ = {0x30, 0x0C, 0x0A, 0x01, 0x00, 0xA0, 0x07, 0x30, 0x05, 0x06, 0x01, 0x2A, 0x04, 0x00};
    Bytes answer_ = kept_;
    HttpServer server_{[this](const HttpRequest&) { return HttpReply{.body = answer_}; }};
};

TEST_F(RetrieveObjectByUrl, UsesTheCacheAsTheFlagsSay) {
    EXPECT_FALSE(retrieve(server_.url(), CRYPT_CACHE_ONLY_RETRIEVAL).ok) << "nothing is kept yet";
    EXPECT_EQ(server_.requests().size(), 0u) << "cache only never goes to the network";
    EXPECT_TRUE(retrieve(server_.url("/ocsp"), 0).ok);
    ASSERT_EQ(server_.requests().size(), 1u);
    EXPECT_EQ(server_.requests()[0].target, "/ocsp");
    EXPECT_EQ(server_.requests()[0].body, bytesOf("request")) << "the body that the URL carries";
    EXPECT_EQ(server_.requests()[0].header("content-type"), "application/ocsp-request");
    EXPECT_EQ(retrieve(server_.url("/ocsp"), 0).body, kept_);
    EXPECT_EQ(retrieve(server_.url("/ocsp"), CRYPT_CACHE_ONLY_RETRIEVAL | CRYPT_WIRE_ONLY_RETRIEVAL).body, kept_);
    EXPECT_EQ(server_.requests().size(), 1u) << "answered from the cache";
    EXPECT_TRUE(retrieve(server_.url("/ocsp"), CRYPT_WIRE_ONLY_RETRIEVAL).ok);
    EXPECT_EQ(server_.requests().size(), 2u) << "wire only does not look";
    EXPECT_FALSE(retrieve(server_.url("/other"), CRYPT_CACHE_ONLY_RETRIEVAL).ok) << "another address";
    FILETIME future{0, 0x7FFFFFFF};
    EXPECT_FALSE(retrieve(server_.url("/ocsp"), CRYPT_CACHE_ONLY_RETRIEVAL, &future).ok) << "older than resync time";
}

TEST_F(RetrieveObjectByUrl, UsesAResponseForTheSecondThatTheSettingAllows) {
    settings_.write("[crypto]\nurl_cache = \"" + folder_.file("cache") +
                    "\"\n[config.Basalt.cache_settings]\nOcspValiditySeconds = 1\n");
    bool isUsed = false;
    for (int i = 0; i < 20 && !isUsed; ++i) {  // the second may end between the calls
        retrieve(server_.url(), 0);
        isUsed = retrieve(server_.url(), CRYPT_CACHE_ONLY_RETRIEVAL).ok;
    }
    EXPECT_TRUE(isUsed);
}

TEST_F(RetrieveObjectByUrl, CachesByAddressAndRequest) {
    const Check check;
    EXPECT_TRUE(retrieve(server_.url("/a"), 0).ok);
    EXPECT_FALSE(check.fAnsweredFromCache);
    EXPECT_TRUE(retrieve(server_.url("/a"), 0).ok);
    EXPECT_TRUE(check.fAnsweredFromCache);
    const std::wstring otherRequest = wide(server_.url("/a") + "/b3RoZXI%3D?Content-type: application/ocsp-request");
    EXPECT_FALSE(retrieveUrl(otherRequest, CRYPT_CACHE_ONLY_RETRIEVAL).ok);
    EXPECT_TRUE(crypto_forget_response(otherRequest.c_str())) << "nothing was kept";
    EXPECT_TRUE(retrieve(server_.url("/a"), CRYPT_CACHE_ONLY_RETRIEVAL).ok);
    EXPECT_TRUE(crypto_forget_response(urlFor(server_.url("/a")).c_str()));
    EXPECT_FALSE(retrieve(server_.url("/a"), CRYPT_CACHE_ONLY_RETRIEVAL).ok);
}

TEST_F(RetrieveObjectByUrl, CachesOnlySuccessfulResponses) {
    for (const Bytes& answer : {Bytes{0x30, 0x03, 0x0A, 0x01, 0x03}, bytesOf("<html>")}) {
        answer_ = answer;
        EXPECT_EQ(retrieve(server_.url(), 0).body, answer);
        EXPECT_FALSE(retrieve(server_.url(), CRYPT_CACHE_ONLY_RETRIEVAL).ok);
    }
}

TEST_F(RetrieveObjectByUrl, IgnoresEntriesThatAreTruncatedOrThatOthersMayWrite) {
    namespace fs = std::filesystem;
    ASSERT_TRUE(retrieve(server_.url(), 0).ok);
    const fs::path cache = folder_.path() / "cache";
    const fs::path entry = fs::directory_iterator(cache)->path();
    const auto isUsed = [&] { return retrieve(server_.url(), CRYPT_CACHE_ONLY_RETRIEVAL).ok; };
    ASSERT_TRUE(isUsed());
    EXPECT_EQ(fs::status(cache).permissions(), fs::perms::owner_all);

    using Row = std::tuple<fs::path, mode_t, bool>;
    for (const auto& [path, mode, ofAnother] :
         {Row(entry, 0602, false), Row(cache, 0720, false), Row(cache, 0700, true)}) {
        if (const Changed changed(path, mode, ofAnother); changed.isDone()) {
            EXPECT_FALSE(isUsed());
            EXPECT_TRUE(path == entry || retrieve(server_.url("/other"), 0).ok) << "from the wire";
        }
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(cache), {}), 1) << "and not kept";
    fs::rename(entry, cache / "elsewhere");
    fs::create_symlink(cache / "elsewhere", entry);
    EXPECT_FALSE(isUsed());
    fs::remove(entry);
    ASSERT_EQ(::mkfifo(entry.c_str(), 0600), 0);
    EXPECT_FALSE(isUsed());
    EXPECT_TRUE(retrieve(server_.url(), 0).ok);
    EXPECT_TRUE(isUsed()) << "written over";
    for (const std::uintmax_t cut : {fs::file_size(entry) - 1, std::uintmax_t{33}, std::uintmax_t{0}}) {
        fs::resize_file(entry, cut);
        EXPECT_FALSE(isUsed()) << cut;
    }
}

TEST_F(RetrieveObjectByUrl, LimitsTheNumberOfEntries) {
    namespace fs = std::filesystem;
    const std::string strange = folder_.write("cache/notes.txt", "keep me");
    fs::permissions(folder_.path() / "cache", fs::perms::owner_all);
    const tallow::platform::DirectoryCache cache(folder_.file("cache"));
    for (int i = 0; i < 1023; ++i) {
        std::string name = std::to_string(i);
        name.insert(0, 64 - name.size(), '0');
        folder_.write("cache/" + name, "");
        fs::last_write_time(folder_.file("cache/" + name), fs::file_time_type::clock::now() - std::chrono::hours(1));
    }
    cache.keep("http://a/", kept_, 60);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder_.path() / "cache"), {}), 1025);
    cache.keep("http://b/", kept_, 60);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder_.path() / "cache"), {}), 769);
    EXPECT_TRUE(fs::exists(strange));
    EXPECT_EQ(cache.find("http://a/", 60, nullptr), kept_);
    EXPECT_EQ(cache.find("http://b/", 60, nullptr), kept_);
}

TEST_F(RetrieveObjectByUrl, ReplacesEntriesAtomically) {
    const tallow::platform::DirectoryCache cache(folder_.file("cache"));
    const Bytes small(100, 1);
    const Bytes large(200000, 2);
    cache.keep("http://a/", small, 60);
    const pid_t writer = ::fork();
    ASSERT_GE(writer, 0);
    if (writer == 0) {
        for (int i = 0; i < 100; ++i) {
            cache.keep("http://a/", i % 2 == 0 ? large : small, 60);
        }
        ::_exit(0);
    }
    int status = 1;
    while (::waitpid(writer, &status, WNOHANG) == 0) {
        const auto found = cache.find("http://a/", 60, nullptr);
        EXPECT_TRUE(found && (*found == small || *found == large));
    }
    EXPECT_EQ(status, 0);
}

TEST_F(RetrieveObjectByUrl, ReportsTheHttpStatusAndKeepsTheTimeLimit) {
    HttpServer failing([](const HttpRequest&) { return HttpReply{.status = 503}; });
    EXPECT_EQ(retrieve(failing.url(), 0).httpStatus, 503u);
    EXPECT_EQ(GetLastError(), ERROR_INTERNET_CANNOT_CONNECT);
    HttpServer slow([](const HttpRequest&) { return HttpReply{.delayMs = 3000}; });
    const Result late = retrieve(slow.url(), 0, nullptr, 200);
    EXPECT_FALSE(late.ok);
    EXPECT_EQ(late.httpStatus, 0u);
    EXPECT_EQ(GetLastError(), ERROR_INTERNET_TIMEOUT);
    for (const wchar_t* url :
         {L"", L"http://127.0.0.1", L"no slash?header", L"http://127.0.0.1/%4?h", L"http://h/%zz?h"}) {
        EXPECT_FALSE(retrieveUrl(url, 0).ok);
        EXPECT_EQ(GetLastError(), ERROR_INTERNET_INVALID_URL);
    }
}

}  // namespace
}  // namespace testkit
