// Every failing call of the services sets the last error: with 0, a caller could mistake the failure for success. The
// calls that are not here have a test of their own that expects a certain error.
#include <gtest/gtest.h>

#include <functional>

#include "tests/platform/provider_fixture.h"
#include "tests/platform/trust_fixture.h"

namespace testkit {
namespace {

void ignore(const CRYPTO_STORE_ITEM* /*item*/, void* /*context*/) {}

TEST(LastError, IsSetByEveryFailingCall) {
    const TrustWorld world({});
    const ContextPtr good = context(Pki::shared().good.certificate);
    const StorePtr store = storeOf({Pki::shared().good});
    PCCERT_CONTEXT certificate = good.get();
    HCERTSTORE memory = store.get();
    BYTE byte = 0;
    DWORD size = 0;
    HCRYPTPROV provider = 0;
    ASSERT_TRUE(CryptAcquireContextA(&provider, nullptr, nullptr, PROV_RSA_AES, CRYPT_VERIFYCONTEXT));
    const ProviderPtr owner(provider);
    struct Row {
        const char* name;
        std::function<bool()> succeeds;
    };
    const Row rows[] = {
        {"set", [&] { return CertSetCertificateContextProperty(nullptr, 2, 0, nullptr); }},
        {"properties", [&] { return CertEnumCertificateContextProperties(certificate, 0xFFFF); }},
        {"duplicate", [&] { return CertDuplicateStore(nullptr); }},
        {"walk", [&] { return CertEnumCertificatesInStore(nullptr, nullptr); }},
        {"add", [&] { return CertAddCertificateContextToStore(memory, certificate, 1, nullptr); }},
        {"list", [&] { return crypto_list_store("..", 0, ignore, nullptr); }},
        {"read", [&] { return crypto_read_store_content(nullptr, 1, nullptr, ignore, nullptr); }},
        {"read named", [&] { return crypto_read_named_content(nullptr, 1, nullptr, ignore, nullptr); }},
        {"engine", [&] { return CertCreateCertificateChainEngine(nullptr, nullptr); }},
        {"chain",
         [&] { return CertGetCertificateChain(nullptr, nullptr, nullptr, nullptr, nullptr, 0, nullptr, nullptr); }},
        {"policy", [&] { return CertVerifyCertificateChainPolicy(nullptr, nullptr, nullptr, nullptr); }},
        {"trust", [&] { return crypto_add_trusted_root(nullptr); }},
        {"number", [&] { return CertOIDToAlgId("1.2.3"); }},
        {"provider", [&] { return CryptAcquireContextA(nullptr, nullptr, nullptr, 0, 0); }},
        {"flags", [&] { return CryptAcquireContextA(&provider, nullptr, nullptr, PROV_RSA_AES, 0); }},
        {"type", [&] { return CryptAcquireContextA(&provider, nullptr, nullptr, 9999, CRYPT_VERIFYCONTEXT); }},
        {"reference", [&] { return CryptContextAddRef(0, nullptr, 0); }},
        {"release", [&] { return CryptReleaseContext(0, 0); }},
        {"random", [&] { return CryptGenRandom(provider, 1, nullptr); }},
        {"parameter", [&] { return CryptGetProvParam(provider, 999, &byte, &size, 0); }},
        {"key", [&] { return CryptDestroyKey(1); }},
        {"hash", [&] { return CryptDestroyHash(1); }},
        {"sign", [&] { return CryptSignCertificate(provider, 2, 1, &byte, 1, nullptr, nullptr, &byte, &size); }},
        {"retrieve",
         [&] {
             return CryptRetrieveObjectByUrlW(nullptr, nullptr, 0, 0, nullptr, nullptr, nullptr, nullptr, nullptr);
         }},
        {"send", [&] { return SendPKIRequest(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr) == 200; }},
        {"date", [&] { return FileTimeToSystemTime(nullptr, nullptr); }},
        {"time", [&] { return SystemTimeToFileTime(nullptr, nullptr); }},
        {"narrow", [&] { return WideCharToMultiByte(1, 0, L"", 1, nullptr, 0, nullptr, nullptr); }},
    };
    for (const Row& row : rows) {
        SetLastError(0);
        EXPECT_FALSE(row.succeeds()) << row.name;
        EXPECT_NE(GetLastError(), 0U) << row.name;
    }
}

}  // namespace
}  // namespace testkit
