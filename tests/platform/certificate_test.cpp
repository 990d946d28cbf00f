#include <gtest/gtest.h>
#include <openssl/sha.h>

#include <cstring>
#include <string>
#include <vector>

#include "platform/crypto/certificates/certificate.h"
#include "tests/platform/certificate_fixture.h"
#include "tests/support/pki.h"
#include "tests/support/tlv.h"

namespace testkit {
namespace {

TEST(Certificate, ExposesItsFields) {
    const CertificateSpec spec{
        .serial = fromHex("00a1b2c3"), .keyUsage = "critical,digitalSignature", .ocspUrls = {"http://127.0.0.1/ocsp"}};
    const Identity identity = issue(Pki::shared().ca, spec);
    const ContextPtr context = testkit::context(identity.certificate);
    ASSERT_NE(context, nullptr);
    EXPECT_EQ(encoded(context.get()), identity.certificate);
    const CERT_INFO& info = *context->pCertInfo;
    EXPECT_EQ(info.dwVersion, 2U);
    EXPECT_EQ(bytesOf(info.SerialNumber), fromHex("c3b2a100"));
    EXPECT_EQ(bytesOf(info.Subject), identity.subject());
    EXPECT_EQ(bytesOf(info.Issuer), Pki::shared().ca.subject());
    EXPECT_STREQ(info.SignatureAlgorithm.pszObjId, "1.2.840.10045.4.3.2");
    EXPECT_STREQ(info.SubjectPublicKeyInfo.Algorithm.pszObjId, "1.2.840.10045.2.1");
    EXPECT_EQ(bytesOf(info.SubjectPublicKeyInfo.Algorithm.Parameters), tlv::oid("1.2.840.10045.3.1.7"));
    const CRYPT_BIT_BLOB& key = info.SubjectPublicKeyInfo.PublicKey;
    EXPECT_EQ(Bytes(key.pbData, key.pbData + key.cbData), identity.key.publicKeyBits());
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    const auto seconds = [](const FILETIME& time) {
        return static_cast<double>(std::uint64_t{time.dwHighDateTime} << 32U | time.dwLowDateTime) / 1e7;
    };
    EXPECT_NEAR(seconds(info.NotAfter) - seconds(now), static_cast<double>(spec.notAfterSeconds), 5);

    const PCERT_EXTENSION usage = CertFindExtension("2.5.29.15", info.cExtension, info.rgExtension);
    ASSERT_NE(usage, nullptr);
    EXPECT_TRUE(usage->fCritical);
    EXPECT_EQ(bytesOf(usage->Value), fromHex("03020780"));
    const PCERT_EXTENSION access = CertFindExtension("1.3.6.1.5.5.7.1.1", info.cExtension, info.rgExtension);
    ASSERT_NE(access, nullptr);
    EXPECT_FALSE(access->fCritical);
    EXPECT_EQ(property(context.get(), CERT_AUTHORITY_INFO_ACCESS_PROP_ID), bytesOf(access->Value));
    EXPECT_EQ(CertFindExtension("2.5.29", info.cExtension, info.rgExtension), nullptr);
    EXPECT_EQ(GetLastError(), CRYPT_E_NOT_FOUND);
}

TEST(Certificate, ComputesHashesOnDemandAndThenListsThem) {
    const Bytes& der = Pki::shared().good.certificate;
    const ContextPtr context = testkit::context(der);
    EXPECT_EQ(CertEnumCertificateContextProperties(context.get(), 0), 0U);
    Bytes sha1(20);
    SHA1(der.data(), der.size(), sha1.data());
    EXPECT_EQ(property(context.get(), CERT_SHA1_HASH_PROP_ID), sha1);
    EXPECT_EQ(property(context.get(), CERT_KEY_IDENTIFIER_PROP_ID).size(), 20U);
    EXPECT_EQ(CertEnumCertificateContextProperties(context.get(), 0), CERT_SHA1_HASH_PROP_ID);
    EXPECT_EQ(CertEnumCertificateContextProperties(context.get(), CERT_SHA1_HASH_PROP_ID), CERT_KEY_IDENTIFIER_PROP_ID);
    EXPECT_EQ(CertEnumCertificateContextProperties(context.get(), CERT_KEY_IDENTIFIER_PROP_ID), 0U);
    EXPECT_EQ(property(context.get(), CERT_SHA256_HASH_PROP_ID).size(), 32U);
    EXPECT_TRUE(property(context.get(), 81).empty());
    EXPECT_EQ(GetLastError(), CRYPT_E_NOT_FOUND);
}

TEST(Certificate, SharesPropertiesBetweenReferences) {
    const ContextPtr context = testkit::context(Pki::shared().good.certificate);
    const ContextPtr duplicate(CertDuplicateCertificateContext(context.get()));
    EXPECT_EQ(duplicate.get(), context.get());
    const Bytes value = fromHex("0102");
    const CRYPT_DATA_BLOB blob = blobOf(value);
    ASSERT_TRUE(CertSetCertificateContextProperty(context.get(), 81, 0, &blob));
    EXPECT_EQ(property(duplicate.get(), 81), value);
    DWORD size = 1;
    BYTE small = 0;
    EXPECT_FALSE(CertGetCertificateContextProperty(context.get(), 81, &small, &size));
    EXPECT_EQ(GetLastError(), ERROR_MORE_DATA);
    EXPECT_EQ(size, 2U);
    ASSERT_TRUE(CertSetCertificateContextProperty(duplicate.get(), 81, 0, nullptr));
    EXPECT_TRUE(property(context.get(), 81).empty());
}

TEST(Certificate, ReturnsKeyInformationAsOneBlockThatPointsIntoItself) {
    const ContextPtr context = testkit::context(Pki::shared().good.certificate);
    const std::wstring name = L"file:///keys/" + std::wstring(300, L'k');
    std::wstring container = name;
    std::wstring provider = L"name";
    BYTE parameterBytes[] = {1, 2, 3};
    CRYPT_KEY_PROV_PARAM parameter{7, parameterBytes, sizeof parameterBytes, 0};
    CRYPT_KEY_PROV_INFO info{container.data(), provider.data(), 24, 0, 1, &parameter, AT_SIGNATURE};
    ASSERT_TRUE(CertSetCertificateContextProperty(context.get(), CERT_KEY_PROV_INFO_PROP_ID, 0, &info));
    container = L"gone";
    parameterBytes[0] = 9;
    // Copied to another context from the unchanged block, and read again there.
    const ContextPtr other = testkit::context(Pki::shared().good.certificate);
    Bytes block = property(context.get(), CERT_KEY_PROV_INFO_PROP_ID);
    ASSERT_TRUE(CertSetCertificateContextProperty(other.get(), CERT_KEY_PROV_INFO_PROP_ID, 0, block.data()));
    block = property(other.get(), CERT_KEY_PROV_INFO_PROP_ID);
    std::memcpy(&info, block.data(), sizeof info);
    EXPECT_EQ(info.pwszContainerName, name);
    EXPECT_EQ(std::wstring(info.pwszProvName), L"name");
    ASSERT_EQ(info.cProvParam, 1U);
    EXPECT_EQ(Bytes(info.rgProvParam->pbData, info.rgProvParam->pbData + info.rgProvParam->cbData), fromHex("010203"));
    const auto inside = [&](const void* pointer) {
        return pointer >= block.data() && pointer < block.data() + block.size();
    };
    EXPECT_TRUE(inside(info.pwszContainerName) && inside(info.pwszProvName) && inside(info.rgProvParam) &&
                inside(info.rgProvParam->pbData));
}

TEST(Certificate, RejectsMalformedInput) {
    const Bytes& good = Pki::shared().good.certificate;
    Bytes twoAlgorithms = good;
    const Bytes algorithm = tlv::oid("1.2.840.10045.4.3.2");
    const auto at = std::search(twoAlgorithms.begin(), twoAlgorithms.end(), algorithm.begin(), algorithm.end());
    at[static_cast<std::ptrdiff_t>(algorithm.size()) - 1] = 3;
    for (std::ptrdiff_t size = 1; good.begin() + size != good.end(); ++size) {
        EXPECT_EQ(testkit::context(Bytes(good.begin(), good.begin() + size)), nullptr) << size;
    }
    const auto withVersion = [&](const Bytes& number) {
        return signedAgain(good, Pki::shared().ca, [&](const Bytes& tbs) {
            const Bytes v3 = fromHex("A003020102");
            const auto before = std::search(tbs.begin(), tbs.end(), v3.begin(), v3.end());
            return tlv::raw(0x30, concat({tlv::context(0, number), Bytes(before + 5, tbs.end())}));
        });
    };
    EXPECT_NE(testkit::context(withVersion(tlv::integer(2))), nullptr);
    for (const Bytes& row :
         {Bytes(), fromHex("3000"), fromHex("30800000"), twoAlgorithms, concat({good, fromHex("00")}),
          tlv::sequence({tlv::sequence({}), tlv::sequence({}), tlv::bitString({})}), withVersion(tlv::integer(3)),
          withVersion(tlv::integer({0, 2})), withVersion(tlv::integer(Bytes())), withVersion(tlv::octetString({2}))}) {
        SetLastError(0);
        EXPECT_EQ(testkit::context(row), nullptr) << toHex(row).substr(0, 40);
        EXPECT_EQ(GetLastError(), row.data() == nullptr ? E_INVALIDARG : CRYPT_E_ASN1_ERROR);
    }
    EXPECT_EQ(CertCreateCertificateContext(0, good.data(), static_cast<DWORD>(good.size())), nullptr);
    EXPECT_EQ(GetLastError(), E_INVALIDARG);
}

TEST(Certificate, IsNeverValidWithUnreadableTimes) {
    const auto withTimes = [](const char* to) {
        Bytes bytes = Pki::shared().good.certificate;
        const Bytes header = fromHex("170D");
        const auto at = std::search(bytes.begin(), bytes.end(), header.begin(), header.end());
        std::ranges::copy(std::string_view(to), at + 2);
        return bytes;
    };
    for (const Bytes& row : {withTimes("991301000000Z"), withTimes("990101000000+"), withTimes("99 101000000Z"),
                             withTimes("990230000000Z"), withTimes("990101006000Z")}) {
        const ContextPtr context = testkit::context(row);
        ASSERT_NE(context, nullptr);
        const FILETIME& last = context->pCertInfo->NotAfter;
        EXPECT_EQ(std::uint64_t{last.dwHighDateTime} << 32U | last.dwLowDateTime, 0U);
        EXPECT_EQ(context->pCertInfo->NotBefore.dwHighDateTime, static_cast<DWORD>(INT32_MAX));
        EXPECT_EQ(tallow::platform::Certificate::of(context.get())->x509(), nullptr) << "in no chain";
    }
}

}  // namespace
}  // namespace testkit
