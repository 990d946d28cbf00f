// Every failing call of the services sets the last error: with 0, a caller could mistake the failure for success.
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
        {"create", [&] { return CertCreateCertificateContext(1, &byte, 1); }},
        {"property", [&] { return CertGetCertificateContextProperty(certificate, 2, nullptr, &size); }},
        {"set", [&] { return CertSetCertificateContextProperty(nullptr, 2, 0, nullptr); }},
        {"properties", [&] { return CertEnumCertificateContextProperties(certificate, 0xFFFF); }},
        {"extension", [&] { return CertFindExtension("1.2", 0, nullptr); }},
        {"open", [&] { return CertOpenStore(CERT_STORE_PROV_SYSTEM_A, 0, 0, 0x14000, "none"); }},
        {"collect", [&] { return CertAddStoreToCollection(memory, memory, 0, 0); }},
        {"duplicate", [&] { return CertDuplicateStore(nullptr); }},
        {"walk", [&] { return CertEnumCertificatesInStore(nullptr, nullptr); }},
        {"find", [&] { return CertFindCertificateInStore(memory, 1, 0, 1, nullptr, nullptr); }},
        {"add", [&] { return CertAddCertificateContextToStore(memory, certificate, 1, nullptr); }},
        {"add CRL", [&] { return CertAddEncodedCRLToStore(memory, 1, &byte, 1, 4, nullptr); }},
        {"list", [&] { return crypto_list_store("..", 0, ignore, nullptr); }},
        {"read", [&] { return crypto_read_store_content(nullptr, 1, nullptr, ignore, nullptr); }},
        {"engine", [&] { return CertCreateCertificateChainEngine(nullptr, nullptr); }},
        {"chain",
         [&] { return CertGetCertificateChain(nullptr, nullptr, nullptr, nullptr, nullptr, 0, nullptr, nullptr); }},
        {"policy", [&] { return CertVerifyCertificateChainPolicy(nullptr, nullptr, nullptr, nullptr); }},
        {"revocation",
         [&] {
             void* contexts[] = {const_cast<CERT_CONTEXT*>(certificate)};
             CERT_REVOCATION_STATUS status{};
             status.cbSize = sizeof status;
             return CertVerifyRevocation(1, CERT_CONTEXT_REVOCATION_TYPE, 1, contexts, 4, nullptr, &status);
         }},
        {"trust", [&] { return crypto_add_trusted_root(nullptr); }},
        {"number", [&] { return CertOIDToAlgId("1.2.3"); }},
        {"algorithm", [&] { return CryptFindOIDInfo(1, const_cast<char*>("1.2.3"), 0); }},
        {"provider", [&] { return CryptAcquireContextA(nullptr, nullptr, nullptr, 0, 0); }},
        {"reference", [&] { return CryptContextAddRef(0, nullptr, 0); }},
        {"release", [&] { return CryptReleaseContext(0, 0); }},
        {"random", [&] { return CryptGenRandom(provider, 1, nullptr); }},
        {"parameter", [&] { return CryptGetProvParam(provider, 999, &byte, &size, 0); }},
        {"PIN", [&] { return CryptSetProvParam(provider, PP_SIGNATURE_PIN, &byte, 0); }},
        {"key", [&] { return CryptDestroyKey(1); }},
        {"hash", [&] { return CryptDestroyHash(1); }},
        {"acquire",
         [&] { return CryptAcquireCertificatePrivateKey(certificate, 0, nullptr, &provider, nullptr, nullptr); }},
        {"key URI", [&] { return crypto_set_key_uri(certificate, ""); }},
        {"digest", [&] { return CryptHashCertificate(0, 1, 0, &byte, 1, &byte, &size); }},
        {"sign", [&] { return CryptSignCertificate(provider, 2, 1, &byte, 1, nullptr, nullptr, &byte, &size); }},
        {"verify", [&] { return CryptVerifyCertificateSignatureEx(0, 1, 9, &byte, 9, &byte, 0, nullptr); }},
        {"text", [&] { return CryptBinaryToStringW(&byte, 1, 99, nullptr, &size); }},
        {"binary", [&] { return CryptStringToBinaryA("?", 1, 1, nullptr, &size, nullptr, nullptr); }},
        {"retrieve",
         [&] {
             return CryptRetrieveObjectByUrlW(nullptr, nullptr, 0, 0, nullptr, nullptr, nullptr, nullptr, nullptr);
         }},
        {"send", [&] { return SendPKIRequest(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr) == 200; }},
        {"date", [&] { return FileTimeToSystemTime(nullptr, nullptr); }},
        {"time", [&] { return SystemTimeToFileTime(nullptr, nullptr); }},
        {"widen", [&] { return MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, "\xFF", 1, nullptr, 0); }},
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
