#include "message/cert_id.h"

#include <gtest/gtest.h>

#include "handles/exception.h"
#include "tests/message/message_fixture.h"

namespace {

using namespace Orvane;
using namespace Orvane::PKI::OCSP;
using namespace testkit;

TEST(CertId, HoldsTheHashesThatOpensslComputes) {
    const Pki& pki = Pki::shared();
    const auto compare = [&](const Identity& issuer, const char* hash) {
        const CCertID id = identifierOf(pki.good, issuer, hash);
        const CertIdSpec expected = certIdOf(pki.good, issuer, hash);
        EXPECT_EQ(bytes(id.get_issuerNameHash()), expected.issuerNameHash) << hash;
        EXPECT_EQ(bytes(id.get_issuerKeyHash()), expected.issuerKeyHash) << hash;
        EXPECT_STREQ(id.get_hashAlgorithm().get_algorithm(), hash);
    };
    const Identity sameKey = selfSigned({.commonName = "another name", .key = pki.ca.key});
    const Identity large = selfSigned({.commonName = std::string(2000, 'a'), .key = pki.ca.key});
    for (const char* hash : {kSha1Oid, kSha256Oid, kSha384Oid, kSha512Oid}) {
        // More issuers than a thread keeps hashes of, each asked about again while some of them are kept.
        for (const Identity& issuer : {pki.ca, pki.sameNameCa, sameKey, large, pki.sibling, pki.root, pki.good}) {
            compare(issuer, hash);
            compare(pki.ca, hash);
            compare(issuer, hash);
        }
    }
}

TEST(CertId, KeepsTheSerialNumberByteForByte) {
    const Pki& pki = Pki::shared();
    for (const Bytes& serial : {Bytes{0x01}, Bytes{0x00, 0x80}, Bytes{0x80}, Bytes{0xFF, 0x7F}, Bytes(20, 0x5A)}) {
        CertificateSpec spec;
        spec.serial = serial;
        const CCertID id = identifierOf(issue(pki.ca, spec), pki.ca);
        EXPECT_EQ(bytes(id.get_serialNumber()), serial) << toHex(serial);
    }
}

TEST(CertId, RejectsInvalidCertificatesAndUnknownHashes) {
    const Pki& pki = Pki::shared();
    const CBlob good = blob(pki.good.certificate);
    const CBlob rubbish = blob({0x30, 0x03, 0x02, 0x01, 0x05});
    const ASN1::CAlgorithmIdentifierEx sha1(kSha1Oid);
    EXPECT_THROW(CCertID(sha1, rubbish, good), ATL::CAtlException);
    EXPECT_THROW(CCertID(sha1, good, rubbish), ATL::CAtlException);
    EXPECT_THROW(CCertID(sha1, good, CBlob()), ATL::CAtlException);
    EXPECT_THROW(CCertID(ASN1::CAlgorithmIdentifierEx("1.2.3.4"), good, good), ATL::CAtlException);
}

TEST(CertId, ComparesHashesAndSerialNumberButNotTheAlgorithm) {
    const Pki& pki = Pki::shared();
    const CCertID id = identifierOf(pki.good, pki.ca);
    CCertID other = id;
    other.put_hashAlgorithm(ASN1::CAlgorithmIdentifier(kSha1Oid));
    EXPECT_TRUE(namesSameCertificate(id, other));
    EXPECT_FALSE(namesSameCertificate(id, identifierOf(pki.revoked, pki.ca)));
    // Same name, another key: only the key hash differs.
    EXPECT_FALSE(namesSameCertificate(id, identifierOf(pki.good, pki.sameNameCa)));
    other.put_issuerNameHash(CBlob());
    EXPECT_FALSE(namesSameCertificate(id, other));
    // Neither a beginning nor a continuation is the same number or hash.
    const auto with = [&](const Bytes& serial, const Bytes& keyHash) {
        CCertID made = id;
        made.put_serialNumber(ASN1::CBigInteger(serial.data(), serial.size()));
        made.put_issuerKeyHash(blob(keyHash));
        return made;
    };
    const Bytes hash(20, 7);
    EXPECT_FALSE(namesSameCertificate(with({10}, hash), with({0x03, 0xE9}, hash)));
    EXPECT_FALSE(namesSameCertificate(with({10}, hash), with({10, 1}, hash)));
    EXPECT_FALSE(namesSameCertificate(with({10}, hash), with({10}, Bytes(19, 7))));
    EXPECT_FALSE(namesSameCertificate(with({10}, hash), with({10}, Bytes(32, 7))));
    EXPECT_TRUE(namesSameCertificate(with({10}, hash), with({0, 10}, hash)));  // the same number, padded
}

}  // namespace
