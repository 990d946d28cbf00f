#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>
#include <utility>

#include "tests/platform/certificate_fixture.h"
#include "tests/support/pki.h"
#include "tests/support/process.h"
#include "tests/support/temp_dir.h"

namespace {

using testkit::Bytes;
using testkit::ContextPtr;

// Handles of providers are numbers, so no smart pointer fits.
class ProviderPtr {
public:
    explicit ProviderPtr(HCRYPTPROV provider = 0) : provider_(provider) {}
    ProviderPtr(ProviderPtr&& other) noexcept : provider_(std::exchange(other.provider_, 0)) {}
    ~ProviderPtr() { reset(); }
    HCRYPTPROV get() const { return provider_; }
    void reset(HCRYPTPROV provider = 0) {
        if (provider_ != 0) {
            CryptReleaseContext(provider_, 0);
        }
        provider_ = provider;
    }

private:
    HCRYPTPROV provider_;
};

ProviderPtr acquire(DWORD type = PROV_GOST_2001) {
    HCRYPTPROV provider = 0;
    EXPECT_TRUE(CryptAcquireContextA(&provider, nullptr, nullptr, type, CRYPT_VERIFYCONTEXT)) << type;
    return ProviderPtr(provider);
}

TEST(Provider, IsAcquiredWithoutKeysOnly) {
    for (DWORD const type : {1U, 24U, 75U, 80U, 81U}) {
        acquire(type);
    }
    HCRYPTPROV provider = 0;
    EXPECT_FALSE(CryptAcquireContextA(&provider, nullptr, nullptr, 75, 0));
    EXPECT_EQ(GetLastError(), NTE_BAD_FLAGS);
    EXPECT_FALSE(CryptAcquireContextA(&provider, nullptr, nullptr, 9999, CRYPT_VERIFYCONTEXT));
    EXPECT_EQ(GetLastError(), NTE_BAD_PROV_TYPE);
    EXPECT_FALSE(CryptContextAddRef(0, nullptr, 0));
    EXPECT_FALSE(CryptReleaseContext(0, 0));
    EXPECT_EQ(GetLastError(), NTE_BAD_UID);
}

TEST(Provider, MakesRandomOctetsAlsoThroughASecondReference) {
    ProviderPtr provider = acquire();
    ASSERT_TRUE(CryptContextAddRef(provider.get(), nullptr, 0));
    ProviderPtr const second(provider.get());
    provider.reset();
    std::set<Bytes> seen;
    for (int i = 0; i < 20; ++i) {
        Bytes random(16);
        ASSERT_TRUE(CryptGenRandom(second.get(), 16, random.data()));
        EXPECT_TRUE(seen.insert(random).second);
    }
    EXPECT_TRUE(CryptGenRandom(second.get(), 0, nullptr));
    EXPECT_FALSE(CryptGenRandom(0, 16, nullptr));
}

TEST(Provider, TellsItsVersionSoThatTheServiceSetsTheLastErrorOfAnExchange) {
    ProviderPtr const provider = acquire(80);
    DWORD version = 0;
    DWORD size = sizeof version;
    ASSERT_TRUE(CryptGetProvParam(provider.get(), PP_VERSION, reinterpret_cast<BYTE*>(&version), &size, 0));
    EXPECT_GT(version, 0x500U);
    BYTE record[20];
    size = sizeof record;
    EXPECT_TRUE(CryptGetProvParam(provider.get(), 138, record, &size, 0));
    EXPECT_EQ(size, 20U);
    EXPECT_FALSE(CryptGetProvParam(provider.get(), 7777, record, &size, 0));
    EXPECT_EQ(GetLastError(), NTE_BAD_TYPE);
}

// The way a signer chooses: the first listed hash that makes a signature with the key.
std::string chosenFor(const char* keyOid) {
    DWORD const listed = CertOIDToAlgId(keyOid);
    DWORD const key = listed == CALG_RSA_KEYX ? CALG_RSA_SIGN : listed;
    ProviderPtr const provider = acquire();
    PROV_ENUMALGS entry{};
    DWORD size = sizeof entry;
    DWORD flag = CRYPT_FIRST;
    while (CryptGetProvParam(provider.get(), PP_ENUMALGS, reinterpret_cast<BYTE*>(&entry), &size, flag) != FALSE) {
        EXPECT_EQ(std::strlen(entry.szName) + 1, entry.dwNameLen);
        flag = 0;
        if (CryptFindOIDInfo(CRYPT_OID_INFO_ALGID_KEY, &entry.aiAlgid, CRYPT_HASH_ALG_OID_GROUP_ID) == nullptr) {
            continue;
        }
        ALG_ID pair[2] = {entry.aiAlgid, key};
        PCCRYPT_OID_INFO const found = CryptFindOIDInfo(CRYPT_OID_INFO_SIGN_KEY, pair, CRYPT_SIGN_ALG_OID_GROUP_ID);
        if (found != nullptr) {
            return found->pszOID;
        }
    }
    EXPECT_EQ(GetLastError(), ERROR_NO_MORE_ITEMS);
    return {};
}

TEST(Provider, ListsHashesSoThatASignerFindsAStrongOneForEachKey) {
    EXPECT_EQ(chosenFor("1.2.840.113549.1.1.1"), "1.2.840.113549.1.1.11");
    EXPECT_EQ(chosenFor("1.2.840.10045.2.1"), "1.2.840.10045.4.3.2");
    EXPECT_EQ(chosenFor("1.3.101.112"), "1.3.101.112");
    EXPECT_EQ(chosenFor("1.2.3.4"), "");
    std::string const gost = chosenFor("1.2.643.7.1.1.1.1");
    EXPECT_TRUE(gost.empty() || gost == "1.2.643.7.1.1.3.2") << gost;  // empty without the engine
}

TEST(Provider, KnowsAlgorithmsByIdentifierNameAndNumber) {
    EXPECT_EQ(CertOIDToAlgId("1.3.14.3.2.26"), CALG_SHA1);
    EXPECT_EQ(CertOIDToAlgId("1.2.840.113549.1.1.11"), CALG_SHA_256);  // of a signature: its hash
    EXPECT_EQ(CertOIDToAlgId("1.2.643.7.1.1.2.2"), CALG_GR3411_2012_256);
    EXPECT_EQ(CertOIDToAlgId("1.2.840.113549.1.1.2"), CALG_MD2);
    EXPECT_EQ(CertOIDToAlgId("1.2.840.113549"), 0U);
    EXPECT_EQ(CertOIDToAlgId(nullptr), 0U);
    char oid[] = "2.16.840.1.101.3.4.2.1";
    PCCRYPT_OID_INFO const info = CryptFindOIDInfo(CRYPT_OID_INFO_OID_KEY, oid, 0);
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->Algid, CALG_SHA_256);
    EXPECT_EQ(info->dwGroupId, CRYPT_HASH_ALG_OID_GROUP_ID);
    EXPECT_EQ(CryptFindOIDInfo(CRYPT_OID_INFO_NAME_KEY, const_cast<wchar_t*>(info->pwszName), 0), info);
    EXPECT_EQ(CryptFindOIDInfo(CRYPT_OID_INFO_OID_KEY, oid, CRYPT_SIGN_ALG_OID_GROUP_ID), nullptr);
    EXPECT_EQ(GetLastError(), CRYPT_E_NOT_FOUND);
    ALG_ID key = CALG_RSA_KEYX;
    EXPECT_EQ(CryptFindOIDInfo(CRYPT_OID_INFO_ALGID_KEY, &key, CRYPT_HASH_ALG_OID_GROUP_ID), nullptr);
    EXPECT_NE(CryptFindOIDInfo(CRYPT_OID_INFO_ALGID_KEY, &key, CRYPT_PUBKEY_ALG_OID_GROUP_ID), nullptr);
}

class PrivateKey : public testing::Test {
protected:
    void setKey(const std::string& uri) {
        std::wstring container(uri.begin(), uri.end());
        CRYPT_KEY_PROV_INFO info{};
        info.pwszContainerName = container.data();
        ASSERT_TRUE(CertSetCertificateContextProperty(certificate_.get(), CERT_KEY_PROV_INFO_PROP_ID, 0, &info));
    }
    // 0 with the provider, or the last error.
    DWORD acquireKey(ProviderPtr& provider) {
        HCRYPTPROV handle = 0;
        DWORD keySpec = 0;
        BOOL callerFrees = FALSE;
        if (CryptAcquireCertificatePrivateKey(certificate_.get(), 2, nullptr, &handle, &keySpec, &callerFrees) ==
            FALSE) {
            return GetLastError();
        }
        EXPECT_EQ(keySpec, AT_SIGNATURE);
        provider.reset(handle);
        return 0;
    }
    // 0, or the last error of using the key.
    static DWORD sign(const ProviderPtr& provider) {
        char oid[] = "1.2.840.10045.4.3.2";
        CRYPT_ALGORITHM_IDENTIFIER algorithm{oid, {}};
        BYTE signature[128];
        DWORD size = sizeof signature;
        BOOL const made = CryptSignCertificate(provider.get(), AT_SIGNATURE, X509_ASN_ENCODING, signature, 0,
                                               &algorithm, nullptr, signature, &size);
        return made != FALSE ? 0 : GetLastError();
    }

    testkit::TempDir folder_;
    testkit::Identity const& identity_ = testkit::Pki::shared().good;
    ContextPtr certificate_ = testkit::context(identity_.certificate);
};

TEST_F(PrivateKey, OpensWithItsPinAndNotWithoutIt) {
    std::string const plain = folder_.write("plain.pem", identity_.key.pem());
    std::string const locked = folder_.file("locked.pem");
    ASSERT_EQ(
        testkit::run({"openssl", "pkcs8", "-topk8", "-in", plain, "-out", locked, "-passout", "pass:1234"}).exitStatus,
        0);
    setKey("file://" + locked);
    ProviderPtr provider;
    ASSERT_EQ(acquireKey(provider), 0U);
    EXPECT_EQ(sign(provider), NTE_BAD_KEYSET);
    ASSERT_TRUE(CryptSetProvParam(provider.get(), PP_SIGNATURE_PIN, reinterpret_cast<const BYTE*>("wrong"), 0));
    EXPECT_EQ(sign(provider), NTE_BAD_KEYSET);
    ASSERT_TRUE(CryptSetProvParam(provider.get(), PP_SIGNATURE_PIN, reinterpret_cast<const BYTE*>("1234"), 0));
    EXPECT_EQ(sign(provider), 0U);
    EXPECT_FALSE(CryptSetProvParam(provider.get(), 99, nullptr, 0));
}

TEST_F(PrivateKey, IsReadFromDerToo) {
    std::string const pem = folder_.write("plain.pem", identity_.key.pem());
    std::string const der = folder_.file("key.der");
    ASSERT_EQ(
        testkit::run({"openssl", "pkcs8", "-topk8", "-nocrypt", "-in", pem, "-outform", "DER", "-out", der}).exitStatus,
        0);
    setKey(der);
    ProviderPtr provider;
    ASSERT_EQ(acquireKey(provider), 0U);
    EXPECT_EQ(sign(provider), 0U);
}

TEST_F(PrivateKey, FailsWithTheReason) {
    ProviderPtr provider;
    EXPECT_EQ(acquireKey(provider), CRYPT_E_NO_KEY_PROPERTY);
    setKey("pkcs11:token=x");
    EXPECT_EQ(acquireKey(provider), NTE_NOT_SUPPORTED);
    setKey("relative.pem");
    EXPECT_EQ(acquireKey(provider), NTE_NOT_SUPPORTED);
    setKey("file://" + folder_.file("missing.pem"));
    EXPECT_EQ(acquireKey(provider), NTE_BAD_KEYSET);
    setKey(folder_.write("rubbish.pem", "rubbish"));
    ASSERT_EQ(acquireKey(provider), 0U);
    EXPECT_EQ(sign(provider), NTE_BAD_KEYSET);
    setKey(folder_.write("other.pem", testkit::Pki::shared().revoked.key.pem()));
    ASSERT_EQ(acquireKey(provider), 0U);
    EXPECT_EQ(sign(provider), NTE_BAD_PUBLIC_KEY);
    ProviderPtr const keyless = acquire();
    EXPECT_EQ(sign(keyless), NTE_NO_KEY);
}

}  // namespace
