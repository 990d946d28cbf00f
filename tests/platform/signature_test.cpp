#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/crypto/keys/public_key.h"
#include "tests/platform/provider_fixture.h"
#include "tests/support/openssl_ptr.h"
#include "tests/support/pki.h"
#include "tests/support/process.h"
#include "tests/support/settings_file.h"
#include "tests/support/tlv.h"
#include "tests/support/vectors.h"

namespace testkit {
namespace {

constexpr DWORD kGood = 0;

// 0, or the last error of the check.
DWORD check(DWORD subjectType, const void* subject, DWORD issuerType, const void* issuer) {
    SetLastError(0);
    const BOOL good = CryptVerifyCertificateSignatureEx(0, X509_ASN_ENCODING, subjectType, const_cast<void*>(subject),
                                                        issuerType, const_cast<void*>(issuer), 0, nullptr);
    EXPECT_EQ(good != FALSE, GetLastError() == 0);
    return GetLastError();
}

DWORD verify(const Bytes& subject, const Bytes& issuer) {
    const CRYPT_DATA_BLOB blob = blobOf(subject);
    const ContextPtr context = testkit::context(issuer);
    return check(CRYPT_VERIFY_CERT_SIGN_SUBJECT_BLOB, &blob, CRYPT_VERIFY_CERT_SIGN_ISSUER_CERT, context.get());
}

// The same for a self-signed certificate as the subject: did this key issue it?
DWORD verifyIssuer(const Bytes& certificate) {
    const ContextPtr context = testkit::context(certificate);
    return check(CRYPT_VERIFY_CERT_SIGN_SUBJECT_CERT, context.get(), CRYPT_VERIFY_CERT_SIGN_ISSUER_CERT, context.get());
}

// A self-signed certificate made by the openssl command; empty when it could not be made.
Bytes madeByCommand(const TempDir& folder, const std::string& options) {
    return run(words("openssl req -x509 -nodes -days 2 -subj /CN=signature -outform DER -keyout " +
                     folder.file("key.pem") + " -out " + folder.file("c.der") + " -newkey " + options))
                       .exitStatus == 0
               ? readFile(folder.file("c.der"))
               : Bytes();
}

std::string wordOf(DWORD error) {
    return error == kGood                ? "good"
           : error == NTE_BAD_ALGID      ? "bad algorithm"
           : error == NTE_BAD_PUBLIC_KEY ? "bad key"
                                         : std::to_string(error);
}

// The verdict on a certificate made with these options, and on who issued it where that is another one.
std::string verdictOnScheme(const std::string& options) {
    const TempDir folder;
    const Bytes der = madeByCommand(folder, options);
    EXPECT_FALSE(der.empty());
    const DWORD verdict = verify(der, der);
    const DWORD issued = verifyIssuer(der);
    for (const size_t octet : {size_t{20}, der.size() - 1}) {  // in the serial number, in the signature
        Bytes altered = der;
        altered.at(octet) ^= 1;
        EXPECT_EQ(verify(altered, der), verdict == kGood ? NTE_BAD_SIGNATURE : verdict) << options;
        EXPECT_EQ(verifyIssuer(altered), issued == kGood ? NTE_BAD_SIGNATURE : issued) << options;
    }
    return wordOf(verdict) + (issued != verdict ? ", issuer " + wordOf(issued) : "");
}

TEST(Signature, VerifiesEachSchemeMadeByOpenssl) {
    expectVectors("platform/signatures.txt", {{"scheme", verdictOnScheme}});
}

TEST(Signature, AcceptsSha1OnlyWithTheSetting) {
    const Key key = Key::make(KeyKind::kRsa2048);
    const Bytes weak = selfSigned({.key = key, .hash = "SHA1"}).certificate;
    const Bytes broken = selfSigned({.key = key, .hash = "MD5"}).certificate;
    EXPECT_EQ(verify(weak, weak), NTE_BAD_ALGID);
    const SettingsFile settings("[crypto]\naccept_sha1 = true\n");
    EXPECT_EQ(verify(weak, weak), kGood);
    EXPECT_EQ(verify(broken, broken), NTE_BAD_ALGID);
}

TEST(Signature, OfAnotherKeyIsBad) {
    const Pki& pki = Pki::shared();
    EXPECT_EQ(verify(pki.good.certificate, pki.ca.certificate), kGood);
    for (const Identity& issuer : {pki.sameNameCa, pki.root, selfSigned({.key = Key::make(KeyKind::kRsa2048)}),
                                   selfSigned({.key = Key::make(KeyKind::kEd25519)})}) {
        EXPECT_EQ(verify(pki.good.certificate, issuer.certificate), NTE_BAD_SIGNATURE);
    }
}

TEST(Signature, OfACertificateWithTwoAlgorithmsIsBad) {
    const Bytes& root = Pki::shared().root.certificate;
    ASSERT_EQ(root[1], 0x82);
    const Bytes algorithm = tlv::sequence({tlv::oid("1.2.840.10045.4.3.2")});
    const auto outer = std::find_end(root.begin(), root.end(), algorithm.begin(), algorithm.end());
    ASSERT_NE(outer, root.end());
    const auto withOuter = [&](const Bytes& identifier) {
        return tlv::raw(0x30, concat({Bytes(root.begin() + 4, outer), identifier,
                                      Bytes(outer + static_cast<std::ptrdiff_t>(algorithm.size()), root.end())}));
    };
    EXPECT_EQ(verifyIssuer(withOuter(algorithm)), kGood);
    EXPECT_EQ(verifyIssuer(withOuter(tlv::sequence({tlv::oid("1.2.840.10045.4.3.2"), tlv::null()}))),
              NTE_BAD_SIGNATURE);
    // The same in BER would give the certificate another thumbprint.
    Bytes ber = algorithm;
    ber.insert(ber.begin() + 1, 0x81);
    EXPECT_EQ(verifyIssuer(withOuter(ber)), E_INVALIDARG);
}

TEST(Signature, OfPssReadsNothingBesideTheHashes) {
    const Identity signer = selfSigned({.key = Key::make(KeyKind::kRsa2048)});
    const Bytes data = tlv::null();
    const Bytes octets = testkit::sign(data, signer.key.get(), "SHA256", true).octets;
    const auto withParameters = [&](const Bytes& ofHash, const Bytes& ofMaskHash, const Bytes& afterMaskHash) {
        const Bytes sha256 = tlv::oid("2.16.840.1.101.3.4.2.1");
        const Bytes mask =
            tlv::sequence({tlv::oid("1.2.840.113549.1.1.8"), tlv::sequence({sha256, ofMaskHash}), afterMaskHash});
        const Bytes parameters = tlv::sequence({tlv::context(0, tlv::sequence({sha256, ofHash})), tlv::context(1, mask),
                                                tlv::context(2, tlv::integer(32))});
        return verify(tlv::sequence({data, tlv::sequence({tlv::oid("1.2.840.113549.1.1.10"), parameters}),
                                     tlv::bitString(octets)}),
                      signer.certificate);
    };
    EXPECT_EQ(withParameters(tlv::null(), tlv::null(), {}), kGood);
    EXPECT_EQ(withParameters({}, {}, {}), kGood);
    EXPECT_EQ(withParameters(tlv::integer(1), tlv::null(), {}), NTE_BAD_ALGID);
    EXPECT_EQ(withParameters(tlv::null(), tlv::sequence({}), {}), NTE_BAD_ALGID);
    EXPECT_EQ(withParameters(tlv::null(), tlv::null(), tlv::null()), NTE_BAD_ALGID);
}

// Public keys that allow signatures without a private key, or that are malformed. Each row differs from a good key in
// the part that its name gives.
TEST(Signature, RejectsForgeableAndMalformedKeys) {
    struct Row {
        const char* name;
        const char* algorithm;
        Bytes parameters;
        Bytes bits;
        bool good = false;
    };
    constexpr const char* kRsa = "1.2.840.113549.1.1.1";
    constexpr const char* kEd25519 = "1.3.101.112";
    constexpr const char* kEd448 = "1.3.101.113";
    const Bytes modulus = fromHex("00" + std::string(511, 'C') + "1");
    Bytes evenModulus = modulus;
    evenModulus.back() = 2;
    const auto rsa = [](const Bytes& n, std::int64_t e) { return tlv::sequence({tlv::integer(n), tlv::integer(e)}); };
    Bytes point = Key::make().publicKeyBits();
    Bytes hybrid = point;
    hybrid[0] = static_cast<std::uint8_t>(6 + point.back() % 2);
    const Bytes curve = tlv::oid("1.2.840.10045.3.1.7");
    const auto filled = [](std::size_t size, std::uint8_t octet, std::uint8_t first, std::uint8_t last) {
        Bytes octets(size, octet);
        octets.front() = first;
        octets.back() = last;
        return octets;
    };
    Bytes minusOne448 = filled(57, 0xFF, 0xFE, 0);
    minusOne448[28] = 0xFE;
    Bytes nearMinusOne448 = minusOne448;
    nearMinusOne448[55] = 0;
    const Bytes orderEight = fromHex("c7176a703d4dd84fba3c0b760d10670f2a2053fa2c39ccc64ec7fd7792ac037a");
    // The powers of 2 modulo 2^n - 1 repeat after n; the orders given are multiples of that.
    constexpr const char* kDsa = "1.2.840.10040.4.1";
    const auto dsaOf = [](const std::string& p, const std::string& q, std::int64_t generator) {
        return tlv::sequence({tlv::integer(fromHex("7F" + p)), tlv::integer(fromHex(q + std::string(38, '0'))),
                              tlv::integer(generator)});
    };
    const auto dsa = [&](std::int64_t generator) { return dsaOf(std::string(318, 'F'), "04FF00", generator); };
    std::vector<Row> rows{
        {"DSA", kDsa, dsa(2), tlv::integer(4), true},
        {"DSA, key 1", kDsa, dsa(2), tlv::integer(1)},
        {"DSA, key outside of the subgroup", kDsa, dsa(2), tlv::integer(5)},
        {"DSA, generator 1", kDsa, dsa(1), tlv::integer(4)},
        {"DSA, parameters of another key", kDsa, {}, tlv::integer(4)},
        {"DSA, 4423 bits", kDsa, dsaOf(std::string(1104, 'F'), "114700", 2), tlv::integer(4)},
        {"RSA", kRsa, tlv::null(), rsa(modulus, 65537), true},
        {"RSA, 8192 bits", kRsa, tlv::null(), rsa(fromHex("00" + std::string(2047, 'C') + "1"), 65537), true},
        {"RSA, 8193 bits", kRsa, tlv::null(), rsa(fromHex("01" + std::string(2047, 'C') + "1"), 65537)},
        {"RSA, exponent 1", kRsa, tlv::null(), rsa(modulus, 1)},
        {"RSA, even exponent", kRsa, tlv::null(), rsa(modulus, 65536)},
        {"RSA, exponent 0", kRsa, tlv::null(), rsa(modulus, 0)},
        {"RSA, even modulus", kRsa, tlv::null(), rsa(evenModulus, 65537)},
        {"RSASSA-PSS", "1.2.840.113549.1.1.10", {}, rsa(modulus, 65537), true},
        {"RSASSA-PSS, exponent 1", "1.2.840.113549.1.1.10", {}, rsa(modulus, 1)},
        {"curve", "1.2.840.10045.2.1", curve, point, true},
        {"curve, point at infinity", "1.2.840.10045.2.1", curve, {0}},
        {"curve, hybrid point", "1.2.840.10045.2.1", curve, hybrid},
        {"Ed25519", kEd25519, {}, Key::make(KeyKind::kEd25519).publicKeyBits(), true},
        {"Ed25519, neutral point", kEd25519, {}, filled(32, 0, 1, 0x80)},
        {"Ed25519, -1", kEd25519, {}, filled(32, 0xFF, 0xEC, 0x7F)},
        {"Ed25519, order 8", kEd25519, {}, orderEight},
        {"Ed448, neutral point", kEd448, {}, filled(57, 0, 1, 0)},
        {"Ed448, -1", kEd448, {}, minusOne448},
        {"Ed448, like -1 but for one octet", kEd448, {}, nearMinusOne448, true},
    };
    for (Row& row : rows) {
        SCOPED_TRACE(row.name);
        CERT_PUBLIC_KEY_INFO info{};
        info.Algorithm = {const_cast<char*>(row.algorithm), blobOf(row.parameters)};
        info.PublicKey = {static_cast<DWORD>(row.bits.size()), row.bits.data(), 0};
        const Bytes algorithm = tlv::sequence({concat({tlv::oid(row.algorithm), row.parameters})});
        EXPECT_EQ(
            tallow::platform::loadPublicKey(info, tlv::sequence({algorithm, tlv::bitString(row.bits)})) != nullptr,
            row.good);
    }
}

TEST(Signature, UsesOnlyTheFirstThreePartsOfAStructure) {
    const Pki& pki = Pki::shared();
    const Bytes& good = pki.good.certificate;
    ASSERT_EQ(good[1], 0x82);
    const Bytes parts(good.begin() + 4, good.end());
    const Bytes more = tlv::raw(0x30, concat({parts, tlv::context(0, tlv::null())}));
    EXPECT_EQ(verify(more, pki.ca.certificate), kGood);
    const Bytes fourth = tlv::sequence({tlv::null(), tlv::null(), tlv::bitString({})});
    const Bytes noAlgorithm = tlv::sequence({tlv::null(), tlv::sequence({}), tlv::bitString({})});
    const Bytes unused =
        tlv::sequence({tlv::null(), tlv::sequence({tlv::oid("1.3.101.112")}), tlv::bitString({0x80}, 3)});
    const Bytes trailing = concat({good, {0}});
    for (const Bytes& row :
         {Bytes(), Bytes{0x30}, fourth, noAlgorithm, unused, trailing, Bytes(good.begin(), good.end() - 1)}) {
        EXPECT_EQ(verify(row, pki.ca.certificate), CRYPT_E_ASN1_ERROR) << toHex(row);
    }
    const Bytes unknown = tlv::sequence({tlv::null(), tlv::sequence({tlv::oid("1.2.3.4")}), tlv::bitString({1})});
    EXPECT_EQ(verify(unknown, pki.ca.certificate), NTE_BAD_ALGID);
}

TEST(Signature, AcceptsEveryFormOfSubjectAndIssuer) {
    const Pki& pki = Pki::shared();
    const ContextPtr subject = testkit::context(pki.good.certificate);
    const ContextPtr issuer = testkit::context(pki.ca.certificate);
    const CERT_PUBLIC_KEY_INFO* const key = &issuer->pCertInfo->SubjectPublicKeyInfo;
    constexpr DWORD kSubject = CRYPT_VERIFY_CERT_SIGN_SUBJECT_CERT;
    constexpr DWORD kKey = CRYPT_VERIFY_CERT_SIGN_ISSUER_PUBKEY;
    EXPECT_EQ(check(kSubject, subject.get(), kKey, key), kGood);
    EXPECT_EQ(check(kSubject, issuer.get(), kKey, key), NTE_BAD_SIGNATURE);
    EXPECT_EQ(check(9, subject.get(), kKey, key), E_INVALIDARG);
    EXPECT_EQ(check(kSubject, subject.get(), 4, issuer.get()), E_INVALIDARG);
    EXPECT_EQ(check(kSubject, nullptr, kKey, key), E_INVALIDARG);
}

// Whether the gost engine is installed.
bool hasGost() {
    DWORD size = 0;
    return CryptHashCertificate(0, CALG_GR3411_2012_256, 0, nullptr, 0, nullptr, &size) != FALSE;
}

TEST(Signature, ByTheChosenAlgorithmVerifies) {
    struct Row {
        std::string options;
        const char* chosen;
        const char* other;  // fits another kind of key
    };
    std::vector<Row> rows{
        {"rsa:2048", "1.2.840.113549.1.1.11", "1.2.840.10045.4.3.2"},
        {"ec -pkeyopt ec_paramgen_curve:P-256", "1.2.840.10045.4.3.2", "1.3.101.112"},
        {"ec -pkeyopt ec_paramgen_curve:P-384", "1.2.840.10045.4.3.2", "1.3.101.112"},
        {"ed25519", "1.3.101.112", "1.2.840.113549.1.1.11"},
    };
    if (hasGost()) {
        const std::string gost = " -engine gost -pkeyopt paramset:A -md_gost12_";
        rows.push_back({"gost2012_256" + gost + "256", "1.2.643.7.1.1.3.2", "1.2.643.7.1.1.3.3"});
        rows.push_back({"gost2012_512" + gost + "512", "1.2.643.7.1.1.3.3", "1.2.840.10045.4.3.2"});
    }
    for (const Row& row : rows) {
        SCOPED_TRACE(row.options);
        const TempDir folder;
        const ContextPtr certificate = testkit::context(madeByCommand(folder, row.options));
        ASSERT_NE(certificate, nullptr);
        ASSERT_TRUE(crypto_set_key_uri(certificate.get(), folder.file("key.pem").c_str()));
        ProviderPtr provider;
        ASSERT_EQ(acquireKey(certificate.get(), provider), 0U);
        std::string oid = chosenAlgorithm(provider, certificate.get());
        EXPECT_EQ(oid, row.chosen);
        const Bytes message = tlv::sequence({tlv::integer(5)});
        CRYPT_ALGORITHM_IDENTIFIER algorithm{oid.data(), {}};
        DWORD size = 0;
        const auto sign = [&](BYTE* buffer) {
            return CryptSignCertificate(provider.get(), AT_SIGNATURE, X509_ASN_ENCODING, message.data(),
                                        static_cast<DWORD>(message.size()), &algorithm, nullptr, buffer, &size);
        };
        ASSERT_TRUE(sign(nullptr));
        Bytes signature(size);
        ASSERT_TRUE(sign(signature.data()));
        signature.resize(size);
        OCSP_BASIC_SIGNED_RESPONSE_INFO made{};
        made.ToBeSigned = blobOf(message);
        made.SignatureInfo.SignatureAlgorithm = algorithm;
        made.SignatureInfo.Signature = {size, signature.data(), 0};
        const auto isGood = [&] {
            return check(CRYPT_VERIFY_CERT_SIGN_SUBJECT_OCSP_BASIC_SIGNED_RESPONSE, &made,
                         CRYPT_VERIFY_CERT_SIGN_ISSUER_CERT, certificate.get()) == kGood;
        };
        EXPECT_TRUE(isGood());
        signature.back() ^= 1;
        EXPECT_FALSE(isGood());
        signature.back() ^= 1;
        made.SignatureInfo.Signature.cUnusedBits = 1;
        EXPECT_FALSE(isGood());
        for (const char* refused : {row.other, "1.2.840.113549.1.1.4", "1.2.840.113549.1.1.5", "1.2.3"}) {
            std::string other = refused;
            algorithm.pszObjId = other.data();
            EXPECT_FALSE(sign(signature.data())) << refused;
            EXPECT_EQ(GetLastError(), NTE_BAD_ALGID) << refused;
        }
    }
}

TEST(Signature, HashesWithEveryAlgorithm) {
    const std::pair<ALG_ID, const char*> rows[] = {
        {0, "a9993e364706816aba3e25717850c26c9cd0d89d"},
        {CALG_SHA1, "a9993e364706816aba3e25717850c26c9cd0d89d"},
        {CALG_MD5, "900150983cd24fb0d6963f7d28e17f72"},
        {CALG_SHA_224, "23097d223405d8228642a477bda255b32aadbce4bda0b3f7e36c9da7"},
        {CALG_SHA_256, "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
        {CALG_GR3411_2012_256, "4e2919cf137ed41ec4fb6270c61826cc4fffb660341e0af3688cd0626d23b481"},
    };
    for (const auto& [algorithm, expected] : rows) {
        if (algorithm == CALG_GR3411_2012_256 && !hasGost()) {
            continue;
        }
        Bytes hash(64);
        DWORD size = 64;
        ASSERT_TRUE(CryptHashCertificate(0, algorithm, 0, bytesOf("abc").data(), 3, hash.data(), &size));
        hash.resize(size);
        EXPECT_EQ(toHex(hash), expected);
    }
    DWORD size = 0;
    EXPECT_TRUE(CryptHashCertificate(0, CALG_SHA_256, 0, nullptr, 0, nullptr, &size));
    EXPECT_EQ(size, 32U);
    BYTE small[20];
    size = sizeof small;
    EXPECT_FALSE(CryptHashCertificate(0, CALG_SHA_256, 0, nullptr, 0, small, &size));
    EXPECT_EQ(GetLastError(), ERROR_MORE_DATA);
    for (ALG_ID const unknown : {CALG_MD2, CALG_RSA_SIGN, 0x8005U}) {
        EXPECT_FALSE(CryptHashCertificate(0, unknown, 0, nullptr, 0, nullptr, &size));
        EXPECT_EQ(GetLastError(), NTE_BAD_ALGID);
    }
}

}  // namespace
}  // namespace testkit
