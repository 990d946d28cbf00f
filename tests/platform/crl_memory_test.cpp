// Parsed CRLs that are remembered by address: what ends that, and that nothing else can take the place of one.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "platform/crypto/chains/crl_memory.h"
#include "platform/crypto/network/directory_cache.h"
#include "tests/platform/trust_fixture.h"
#include "tests/support/http_server.h"
#include "tests/support/tlv.h"

namespace testkit {
namespace {

namespace fs = std::filesystem;
namespace service = tallow::platform;

constexpr DWORD kGood = 0;
constexpr DWORD kRevoked = CERT_TRUST_IS_REVOKED;
constexpr DWORD kUnknown = CERT_TRUST_REVOCATION_STATUS_UNKNOWN | CERT_TRUST_IS_OFFLINE_REVOCATION;

class CrlMemory : public ::testing::Test {
protected:
    CrlMemory() { remember(); }

    // The error of a certificate whose CRLs are in the cache at `url`, below an issuer of the name "ca".
    DWORD errorOf(const Identity& issuer, std::optional<long> atSeconds = std::nullopt, FILETIME* resync = nullptr) {
        const Identity leaf = issue(issuer, {.serial = serial, .crlUrls = {url}});
        return errorAt(chainOf({.end = leaf,
                                .extra = {issuer},
                                .crls = {rootCrl},
                                .flags = CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL | CERT_CHAIN_REVOCATION_CHECK_CHAIN,
                                .atSeconds = atSeconds,
                                .resync = resync}),
                       0);
    }
    // Keeps the CRL that does not list the certificate, until its file can be recognised.
    void remember() {
        cache.keep(url, notListing, 60);
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        ASSERT_EQ(errorOf(pki.ca), kGood);
        ASSERT_GT(service::crlMemory().recall(url).stamp.file.size, 0);
    }
    fs::path file() const { return fs::directory_iterator(folder)->path(); }
    // Writes over the octets at the end of the file, in place.
    void overwrite(const Bytes& crl) const {
        std::fstream stream(file(), std::ios::in | std::ios::out | std::ios::binary);
        stream.seekp(-static_cast<std::streamoff>(crl.size()), std::ios::end);
        stream.write(reinterpret_cast<const char*>(crl.data()), static_cast<std::streamsize>(crl.size()));
    }
    // A CRL of the same size as `notListing`: signatures differ in length by chance.
    Bytes listingOfSameSize(CrlSpec spec) const {
        spec.revokedSerials = {serial};
        Bytes crl;
        for (int i = 0; i < 200 && crl.size() != notListing.size(); ++i) {
            crl = makeCrl(pki.ca, spec);
        }
        EXPECT_EQ(crl.size(), notListing.size());
        return crl;
    }

    const Pki& pki = Pki::shared();
    TrustWorld world{{pki.root}};
    const fs::path folder = world.file("../cache");
    const service::DirectoryCache cache{folder};
    const std::string url = "http://127.0.0.1:" + std::to_string(closedPort()) + "/ca.crl";
    const Bytes serial = {0x2A};
    const Bytes rootCrl = makeCrl(pki.root, {});
    const Bytes notListing = makeCrl(pki.ca, {.revokedSerials = {{0x2B}}, .lastUpdateSeconds = -600});
};

TEST_F(CrlMemory, EndsWhenTheFileInTheCacheChanges) {
    const Bytes sameSize = listingOfSameSize({.lastUpdateSeconds = -600});
    const Bytes older = makeCrl(pki.ca, {.revokedSerials = {serial}, .lastUpdateSeconds = -7200});
    const Identity newCa = caWithKey(pki.root, "ca", Key::make());
    struct Row {
        const char* name;
        std::function<void()> change;
        DWORD expected;
    };
    for (const Row& row : {
             Row{"nothing", [] {}, kGood},
             Row{"written over in place, same size", [&] { overwrite(sameSize); }, kRevoked},
             Row{"replaced, same size", [&] { cache.keep(url, sameSize, 60); }, kRevoked},
             Row{"replaced by an older one", [&] { cache.keep(url, older, 60); }, kRevoked},
             Row{"signed by another CA of the name", [&] { cache.keep(url, makeCrl(newCa, {}), 60); }, kUnknown},
             Row{"truncated", [&] { fs::resize_file(file(), fs::file_size(file()) - 1); }, kUnknown},
             Row{"others may write it", [&] { fs::permissions(file(), fs::perms(0602)); }, kUnknown},
             Row{"removed", [&] { fs::remove(file()); }, kUnknown},
         }) {
        SCOPED_TRACE(row.name);
        remember();
        const service::CrlRef before = service::crlMemory().recall(url).crl;
        row.change();
        EXPECT_EQ(errorOf(pki.ca), row.expected);
        EXPECT_EQ(errorOf(pki.ca), row.expected);
        EXPECT_TRUE(row.expected != kGood || service::crlMemory().recall(url).crl == before) << "not parsed again";
    }
}

TEST_F(CrlMemory, AppliesToNoOtherSignerOrTime) {
    EXPECT_EQ(errorOf(caWithKey(pki.root, "ca", Key::make())), kUnknown);
    EXPECT_EQ(errorOf(pki.ca, 25L * 3600) & kUnknown, kUnknown);
    EXPECT_EQ(errorOf(pki.ca, -1200) & kUnknown, kUnknown);
    FILETIME later = fileTime(1);
    EXPECT_EQ(errorOf(pki.ca, std::nullopt, &later), kUnknown);
    EXPECT_EQ(errorOf(pki.ca), kGood);
}

TEST_F(CrlMemory, IsSharedBetweenThreads) {
    const Bytes listing = makeCrl(pki.ca, {.revokedSerials = {serial}, .lastUpdateSeconds = -300});
    std::atomic<bool> stop{false};
    std::vector<std::jthread> readers;
    for (int i = 0; i < 3; ++i) {
        readers.emplace_back([&] {
            while (!stop) {
                const DWORD error = errorOf(pki.ca);
                EXPECT_TRUE(error == kGood || error == kRevoked) << error;
            }
        });
    }
    for (int round = 0; round < 40; ++round) {
        const bool isListed = round % 2 == 0;
        cache.keep(url, isListed ? listing : notListing, 60);
        EXPECT_EQ(errorOf(pki.ca), isListed ? kRevoked : kGood);
    }
    stop = true;
}

TEST_F(CrlMemory, ForgetsWhatWasNotUsedForTheLongestTime) {
    const service::CrlRef crl = service::Crl::parse(notListing);
    const service::CrlRef large = service::Crl::parse(
        makeCrl(pki.ca, {.extensions = {{"1.2.3.4", tlv::octetString(Bytes(4 * notListing.size()))}}}));
    const service::CrlRef defective = service::Crl::parse(makeCrl(pki.ca, {.nextUpdateSeconds = std::nullopt}));
    const std::size_t size = crl->maximumMemory();
    for (const auto& [maxCount, maxOctets] : {std::pair<std::size_t, std::size_t>{2, 100 * size}, {9, 2 * size}}) {
        service::CrlMemory memory(maxCount, maxOctets);
        const auto has = [&](const char* address) { return memory.recall(address).crl != nullptr; };
        memory.remember("a", {crl, {}});
        memory.remember("b", {crl, {}});
        EXPECT_TRUE(has("a"));
        memory.remember("c", {crl, {}});
        EXPECT_TRUE(has("a") && has("c") && !has("b"));
        memory.remember("a", {crl, {}});
        memory.remember("b", {defective, {}});
        EXPECT_TRUE(has("a") && has("c") && !has("b")) << "no place is taken by one replaced or refused";
        memory.remember("a", {large, {}});
        EXPECT_EQ(has("a"), large->maximumMemory() <= maxOctets);
        EXPECT_TRUE(has("c"));
    }
}

}  // namespace
}  // namespace testkit
