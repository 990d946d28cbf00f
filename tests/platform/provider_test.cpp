#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <vector>

#include "tests/platform/provider_fixture.h"

namespace testkit {
namespace {

ProviderPtr acquire(DWORD type = PROV_GOST_2001) {
    HCRYPTPROV provider = 0;
    EXPECT_TRUE(CryptAcquireContextA(&provider, nullptr, nullptr, type, CRYPT_VERIFYCONTEXT)) << type;
    return ProviderPtr(provider);
}

TEST(Provider, MakesRandomOctetsThroughASecondReference) {
    ProviderPtr provider = acquire();
    ASSERT_TRUE(CryptContextAddRef(provider.get(), nullptr, 0));
    const ProviderPtr second(provider.get());
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

// The library reads the last error of an exchange only from a provider with such a version.
TEST(Provider, ReportsItsVersion) {
    const ProviderPtr provider = acquire(80);
    DWORD version = 0;
    DWORD size = sizeof version;
    ASSERT_TRUE(CryptGetProvParam(provider.get(), PP_VERSION, reinterpret_cast<BYTE*>(&version), &size, 0));
    EXPECT_GT(version, 0x500U);
    EXPECT_TRUE(CryptGetProvParam(provider.get(), 138, nullptr, &size, 0));
    EXPECT_EQ(size, 20U);
}

TEST(Provider, ListsHashesInOrderOfPreference) {
    const ProviderPtr provider = acquire();
    PROV_ENUMALGS entry{};
    DWORD size = sizeof entry;
    const auto next = [&](DWORD flag) {
        return CryptGetProvParam(provider.get(), PP_ENUMALGS, reinterpret_cast<BYTE*>(&entry), &size, flag) != FALSE;
    };
    ASSERT_TRUE(next(CRYPT_FIRST));
    ASSERT_TRUE(next(0));
    size = 31;
    EXPECT_FALSE(next(0));  // and keeps the position
    EXPECT_EQ(GetLastError(), ERROR_MORE_DATA);
    EXPECT_EQ(size, 32U);
    ASSERT_TRUE(next(0));
    EXPECT_EQ(entry.aiAlgid, CALG_SHA_512);
    for (DWORD flag = CRYPT_FIRST; next(flag); flag = 0) {
        EXPECT_EQ(std::strlen(entry.szName) + 1, entry.dwNameLen);
    }
    EXPECT_EQ(GetLastError(), ERROR_NO_MORE_ITEMS);
}

TEST(Provider, FindsAlgorithmsByIdentifierNameAndNumber) {
    EXPECT_EQ(CertOIDToAlgId("1.2.840.113549.1.1.11"), CALG_SHA_256);  // of a signature: its hash
    EXPECT_EQ(CertOIDToAlgId("1.2.840.113549.1.1.2"), CALG_MD2);
    EXPECT_EQ(CertOIDToAlgId("1.2.840.113549"), 0U);
    EXPECT_EQ(CertOIDToAlgId(nullptr), 0U);
    char oid[] = "2.16.840.1.101.3.4.2.1";
    const PCCRYPT_OID_INFO info = CryptFindOIDInfo(CRYPT_OID_INFO_OID_KEY, oid, 0);
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

}  // namespace
}  // namespace testkit
