// Contexts, stores and settings shared between threads. The assertions are few: what this test is for shows under the
// sanitizers.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <thread>

#include "tests/platform/trust_fixture.h"

namespace testkit {
namespace {

template <typename Work>
void onThreads(int count, Work work) {
    std::vector<std::jthread> threads;
    for (int i = 0; i < count; ++i) {
        threads.emplace_back([&work, i] { work(i); });
    }
}

TEST(Threads, ShareContextsAndStores) {
    const Pki& pki = Pki::shared();
    const TrustWorld world({pki.root});
    world.add("CA/ca.pem", pki.ca);
    const ContextPtr shared = context(pki.good.certificate);
    const StorePtr store = storeOf({pki.sibling}, {makeCrl(pki.root, {}), makeCrl(pki.ca, {})});
    const StorePtr collection(CertOpenStore(CERT_STORE_PROV_COLLECTION, 0, 0, 0, nullptr));
    ASSERT_TRUE(CertAddStoreToCollection(collection.get(), store.get(), 0, 0));
    std::atomic<int> trusted{0};
    onThreads(4, [&](int thread) {
        for (int round = 0; round < 25; ++round) {
            const ContextPtr own(CertDuplicateCertificateContext(shared.get()));
            CRYPT_DATA_BLOB value{4, reinterpret_cast<BYTE*>(&thread)};
            CertSetCertificateContextProperty(own.get(), 0x8000, 0, &value);
            DWORD size = 0;
            CertGetCertificateContextProperty(own.get(), CERT_SHA1_HASH_PROP_ID, nullptr, &size);
            CertAddCertificateContextToStore(store.get(), own.get(), CERT_STORE_ADD_ALWAYS, nullptr);
            const ChainPtr chain = chainFor(shared.get(), collection.get(),
                                            CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL | CERT_CHAIN_REVOCATION_CHECK_CHAIN);
            ASSERT_NE(chain, nullptr);
            trusted += errorOf(chain) == 0 ? 1 : 0;
            int met = 0;
            for (PCCERT_CONTEXT at = nullptr; (at = CertEnumCertificatesInStore(collection.get(), at)) != nullptr;) {
                ++met;
            }
            ASSERT_GT(met, 0);
        }
    });
    EXPECT_EQ(trusted, 100);
}

TEST(Threads, OpenSystemStoresWhileFilesAndSettingsChange) {
    const Pki& pki = Pki::shared();
    const TempDir folder;
    const std::string files[] = {folder.write("a.toml", machineSettings(folder)),
                                 folder.write("b.toml", machineSettings(folder, "accept_sha1 = true\n"))};
    folder.write("machine/ROOT/root.pem", pki.root.certificatePem());
    folder.write("machine/CA/ca.pem", pki.ca.certificatePem());
    ASSERT_EQ(support_settings_open(files[0].c_str()), 0);
    std::atomic<int> trusted{0};
    onThreads(4, [&](int thread) {
        for (int round = 0; round < 25; ++round) {
            if (thread == 0) {
                support_settings_open(files[round % 2].c_str());
                folder.write("machine/CA/other.pem", pki.sibling.certificatePem() + std::string(round, '\n'));
            } else {
                trusted += errorOf(chainOf({pki.good})) == 0 ? 1 : 0;
            }
        }
    });
    EXPECT_EQ(trusted, 75);
    support_settings_open(folder.write("empty.toml", "").c_str());
}

TEST(Threads, MayBeInsideWhenTheProcessExits) {
    const Pki& pki = Pki::shared();
    const TrustWorld world({pki.root});
    world.add("CA/ca.pem", pki.ca);
    for (int wait = 1; wait <= 20; ++wait) {
        const pid_t child = ::fork();
        if (child == 0) {
            const Identity& subject = *new Identity(pki.good);  // static objects are destroyed
            for (int i = 0; i < 4; ++i) {
                std::thread([&subject] {
                    for (;;) {
                        errorOf(chainOf({subject}));
                    }
                }).detach();
            }
            ::usleep(static_cast<useconds_t>(1000 * wait));
            std::exit(0);
        }
        int status = -1;
        ::waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
}

TEST(Threads, ReadOneTextOfChangingSettings) {
    const TempDir folder;
    const std::string texts[] = {"short", std::string(3000, 'x')};
    const std::string files[] = {folder.write("a.toml", "text = \"" + texts[0] + "\"\n"),
                                 folder.write("b.toml", "text = \"" + texts[1] + "\"\n")};
    ASSERT_EQ(support_settings_open(files[0].c_str()), 0);
    onThreads(4, [&](int thread) {
        for (int round = 0; round < 300; ++round) {
            if (thread == 0) {
                support_settings_open(files[round % 2].c_str());
                continue;
            }
            std::size_t size = 0;
            ASSERT_EQ(support_registry_get_string("\\text", &size, nullptr), 0);
            std::string text(size, '#');
            const int result = support_registry_get_string("\\text", &size, text.data());
            text.resize(size);
            EXPECT_TRUE(result == 0 ? text == texts[0] || text == texts[1]
                                    : result == static_cast<int>(ERROR_MORE_DATA))
                << result << text;
        }
    });
    support_settings_open(folder.write("empty.toml", "").c_str());
}

}  // namespace
}  // namespace testkit
