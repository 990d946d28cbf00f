// The verdicts when any one allocation fails, and in a child that was forked while other threads were inside the
// services. Each case runs in its own process, so that the caches of this one stay cold.
#include <gtest/gtest.h>
#include <openssl/crypto.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <thread>

#include "tests/platform/trust_fixture.h"
#include "tests/support/failing_allocation.h"

namespace {

void* allocateForOpenSsl(size_t size, const char* /*file*/, int /*line*/) {
    return testkit::isAllocationGranted() ? std::malloc(size) : nullptr;
}
void* reallocateForOpenSsl(void* block, size_t size, const char* /*file*/, int /*line*/) {
    return testkit::isAllocationGranted() ? std::realloc(block, size) : nullptr;
}
void freeForOpenSsl(void* block, const char* /*file*/, int /*line*/) {
    std::free(block);
}

// Before OpenSSL allocates for the first time, which it does when the service is loaded.
[[gnu::constructor(101)]] void takeAllocations() {
    CRYPTO_set_mem_functions(allocateForOpenSsl, reallocateForOpenSsl, freeForOpenSsl);
}

}  // namespace

namespace testkit {
namespace {

// Runs `body` in a child; its result, or 128 and the signal that ended it.
template <typename Body>
int inChild(Body body) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(20);
        ::_exit(body());
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// The first test: OpenSSL has not been used yet, so each child sets it up anew.
TEST(ServiceCall, FailsWithAnErrorWhenMemoryRunsOut) {
    enum { kDone, kNeverFailed, kWrong };
    const auto sweep = [](long place) {
        return inChild([&] {
            const BYTE text = 'a';
            BYTE hash[20];
            DWORD size = sizeof hash;
            allocationsLeft = place;
            static_cast<void>(CryptHashCertificate(0, 0, 0, &text, 1, hash, &size));
            const bool hasFailed = allocationsLeft < 0;
            allocationsLeft = -1;
            size = sizeof hash;
            const bool isDone = CryptHashCertificate(0, 0, 0, &text, 1, hash, &size) != FALSE;
            return !hasFailed ? kNeverFailed : isDone || GetLastError() != 0 ? kDone : kWrong;
        });
    };
    constexpr long kStep = 8;  // some 5,000 places, and 40 in a row that matter
    int result = kDone;
    for (long place = 0; result != kNeverFailed; place += kStep) {
        result = sweep(place);
        ASSERT_LT(result, kWrong) << "allocation " << place;
    }
}

TEST(SettingsFile, CanBeReadAgainWhenMemoryWasExhausted) {
    enum { kDone, kNeverFailed, kWrong };
    const TempDir dir;
    const std::string path = dir.write("settings.toml", "[crypto]\nmax_redirects = 2\n");
    int result = kDone;
    for (long place = 0; result != kNeverFailed; ++place) {
        result = inChild([&] {
            allocationsLeft = place;
            static_cast<void>(support_settings_open(path.c_str()));
            const bool hasFailed = allocationsLeft < 0;
            allocationsLeft = -1;
            return support_settings_open(path.c_str()) != 0 ? kWrong : hasFailed ? kDone : kNeverFailed;
        });
        ASSERT_LT(result, kWrong) << "allocation " << place;
    }
}

class FailingProcess : public testing::Test {
protected:
    FailingProcess() {
        world_.add("CA/ca.pem", pki_.ca);
        world_.put("CA/ca.crl", makeCrl(pki_.ca, {{pki_.revoked.serial()}}));
        world_.put("CA/earlier.crl", makeCrl(pki_.ca, {.lastUpdateSeconds = -7200}));
        world_.put("CA/root.crl", makeCrl(pki_.root, {}));
    }
    // The error status of the whole chain, or 1 when there is no chain.
    DWORD judge(const ContextPtr& end) const {
        const ChainPtr chain = chainFor(
            end.get(), nullptr, CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL | CERT_CHAIN_REVOCATION_CHECK_CHAIN_EXCLUDE_ROOT);
        EXPECT_TRUE(chain != nullptr || GetLastError() != 0);
        return chain == nullptr ? 1 : errorOf(chain);
    }
    DWORD judgeFresh(const Identity& identity) const {
        const ContextPtr end = context(identity.certificate);
        return end == nullptr ? 1 : judge(end);
    }
    bool isRightNow() const {
        return judgeFresh(pki_.good) == 0 && (judgeFresh(pki_.revoked) & CERT_TRUST_IS_REVOKED) != 0;
    }

    const Pki& pki_ = Pki::shared();
    TrustWorld world_{{pki_.root}};
};

TEST_F(FailingProcess, RecoversFromAnyFailedAllocation) {
    constexpr long kNumPlaces = 500;  // evenly among all: some 8,000
    enum { kRight, kWrongGood, kWrongAfterwards };
    auto* const numAllocations = static_cast<std::atomic<long>*>(
        ::mmap(nullptr, sizeof(std::atomic<long>), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    const auto sweep = [&](long place) {
        return inChild([&] {
            allocationsLeft = place;
            const DWORD revoked = judgeFresh(pki_.revoked);
            static_cast<void>(judgeFresh(pki_.good));
            *numAllocations = place - allocationsLeft;
            allocationsLeft = -1;
            return revoked == 0 ? kWrongGood : isRightNow() ? kRight : kWrongAfterwards;
        });
    };
    ASSERT_EQ(sweep(1L << 40), kRight);
    const long total = *numAllocations;
    ASSERT_GT(total, kNumPlaces);
    for (long i = 0; i < kNumPlaces; ++i) {
        ASSERT_EQ(sweep(i * total / kNumPlaces), kRight) << "allocation " << i * total / kNumPlaces << " of " << total;
    }
}

TEST_F(FailingProcess, WorksInAForkedChild) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer's allocator leaves its locks held in a child";
#endif
    // Made beforehand: the test's own calls of OpenSSL hold no gate.
    std::vector<Bytes> ends;
    for (int i = 0; i < 300; ++i) {
        ends.push_back(issue(pki_.ca, {.commonName = std::to_string(i)}).certificate);
    }
    const std::string crl = world_.file("CA/root.crl");
    std::atomic<bool> stop{false};
    std::vector<std::jthread> threads;
    for (std::size_t thread = 0; thread < 3; ++thread) {
        threads.emplace_back([&, thread] {
            for (std::size_t round = thread; !stop; round += 3) {
                EXPECT_EQ(judge(context(ends[round % ends.size()])), 0U);
                // A changed file is read again; a changed directory would make the revocation status unknown.
                ::chmod(crl.c_str(), round % 2 == 0 ? 0600 : 0644);
            }
        });
    }
    for (int i = 0; i < 40; ++i) {
        EXPECT_EQ(inChild([&] { return isRightNow() ? 0 : 1; }), 0) << i;
    }
    stop = true;
}

}  // namespace
}  // namespace testkit
