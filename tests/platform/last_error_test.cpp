// Whatever call of the services fails, the last error says why: a caller that finds 0 there could take the failure for
// success.
#include <gtest/gtest.h>

#include "tests/platform/provider_fixture.h"
#include "tests/platform/trust_fixture.h"

namespace testkit {
namespace {

void ignore(const CRYPTO_STORE_ITEM* /*item*/, void* /*context*/) {}

TEST(LastError, IsSetByEveryCallThatFails) {
    const TrustWorld world({});
    const ContextPtr good = context(Pki::shared().good.certificate);
    const StorePtr store = storeOf({Pki::shared().good});
    static PCCERT_CONTEXT certificate;
    static HCERTSTORE memory;
    static BYTE byte;
    static DWORD size;
    static HCRYPTPROV provider;
    certificate = good.get();
    memory = store.get();
    ASSERT_TRUE(CryptAcquireContextA(&provider, nullptr, nullptr, PROV_RSA_AES, CRYPT_VERIFYCONTEXT));
    const ProviderPtr owner(provider);
    struct Row {
        const char* name;
        bool (*succeeds)();
    };
    const Row rows[] = {
        {"create", [] { return CertCreateCertificateContext(1, &byte, 1) != nullptr; }},
        {"property", [] { return CertGetCertificateContextProperty(certificate, 2, nullptr, &size) != FALSE; }},
        {"set", [] { return CertSetCertificateContextProperty(nullptr, 2, 0, nullptr) != FALSE; }},
        {"properties", [] { return CertEnumCertificateContextProperties(certificate, 0xFFFF) != 0; }},
        {"extension", [] { return CertFindExtension("1.2", 0, nullptr) != nullptr; }},
        {"open", [] { return CertOpenStore(CERT_STORE_PROV_SYSTEM_A, 0, 0, 0x14000, "none") != nullptr; }},
        {"collect", [] { return CertAddStoreToCollection(memory, memory, 0, 0) != FALSE; }},
        {"duplicate", [] { return CertDuplicateStore(nullptr) != nullptr; }},
        {"walk", [] { return CertEnumCertificatesInStore(nullptr, nullptr) != nullptr; }},
        {"find", [] { return CertFindCertificateInStore(memory, 1, 0, 1, nullptr, nullptr) != nullptr; }},
        {"add", [] { return CertAddCertificateContextToStore(memory, certificate, 1, nullptr) != FALSE; }},
        {"add CRL", [] { return CertAddEncodedCRLToStore(memory, 1, &byte, 1, 4, nullptr) != FALSE; }},
        {"list", [] { return crypto_list_store("..", 0, ignore, nullptr) != FALSE; }},
        {"read", [] { return crypto_read_store_content(nullptr, 1, nullptr, ignore, nullptr) != FALSE; }},
        {"engine", [] { return CertCreateCertificateChainEngine(nullptr, nullptr) != FALSE; }},
        {"chain",
         [] {
             return CertGetCertificateChain(nullptr, nullptr, nullptr, nullptr, nullptr, 0, nullptr, nullptr) != FALSE;
         }},
        {"policy", [] { return CertVerifyCertificateChainPolicy(nullptr, nullptr, nullptr, nullptr) != FALSE; }},
        {"revocation",
         [] {
             void* contexts[] = {const_cast<CERT_CONTEXT*>(certificate)};
             CERT_REVOCATION_STATUS status{};
             status.cbSize = sizeof status;
             return CertVerifyRevocation(1, CERT_CONTEXT_REVOCATION_TYPE, 1, contexts, 4, nullptr, &status) != FALSE;
         }},
        {"trust", [] { return crypto_add_trusted_root(nullptr) != FALSE; }},
        {"number", [] { return CertOIDToAlgId("1.2.3") != 0; }},
        {"algorithm", [] { return CryptFindOIDInfo(1, const_cast<char*>("1.2.3"), 0) != nullptr; }},
        {"provider", [] { return CryptAcquireContextA(nullptr, nullptr, nullptr, 0, 0) != FALSE; }},
        {"reference", [] { return CryptContextAddRef(0, nullptr, 0) != FALSE; }},
        {"release", [] { return CryptReleaseContext(0, 0) != FALSE; }},
        {"random", [] { return CryptGenRandom(provider, 1, nullptr) != FALSE; }},
        {"parameter", [] { return CryptGetProvParam(provider, 999, &byte, &size, 0) != FALSE; }},
        {"PIN", [] { return CryptSetProvParam(provider, PP_SIGNATURE_PIN, &byte, 0) != FALSE; }},
        {"key", [] { return CryptDestroyKey(1) != FALSE; }},
        {"hash", [] { return CryptDestroyHash(1) != FALSE; }},
        {"acquire",
         [] {
             return CryptAcquireCertificatePrivateKey(certificate, 0, nullptr, &provider, nullptr, nullptr) != FALSE;
         }},
        {"key URI", [] { return crypto_set_key_uri(certificate, "") != FALSE; }},
        {"digest", [] { return CryptHashCertificate(0, 1, 0, &byte, 1, &byte, &size) != FALSE; }},
        {"sign",
         [] { return CryptSignCertificate(provider, 2, 1, &byte, 1, nullptr, nullptr, &byte, &size) != FALSE; }},
        {"verify", [] { return CryptVerifyCertificateSignatureEx(0, 1, 9, &byte, 9, &byte, 0, nullptr) != FALSE; }},
        {"text", [] { return CryptBinaryToStringW(&byte, 1, 99, nullptr, &size) != FALSE; }},
        {"binary", [] { return CryptStringToBinaryA("?", 1, 1, nullptr, &size, nullptr, nullptr) != FALSE; }},
        {"retrieve",
         [] {
             return CryptRetrieveObjectByUrlW(nullptr, nullptr, 0, 0, nullptr, nullptr, nullptr, nullptr, nullptr) !=
                    FALSE;
         }},
        {"send", [] { return SendPKIRequest(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr) == 200; }},
        {"date", [] { return FileTimeToSystemTime(nullptr, nullptr) != FALSE; }},
        {"time", [] { return SystemTimeToFileTime(nullptr, nullptr) != FALSE; }},
        {"widen", [] { return MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, "\xFF", 1, nullptr, 0) != 0; }},
        {"narrow", [] { return WideCharToMultiByte(1, 0, L"", 1, nullptr, 0, nullptr, nullptr) != 0; }},
    };
    for (const Row& row : rows) {
        SetLastError(0);
        EXPECT_FALSE(row.succeeds()) << row.name;
        EXPECT_NE(GetLastError(), 0U) << row.name;
    }
}

}  // namespace
}  // namespace testkit
