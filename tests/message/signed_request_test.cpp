// Requests that are signed, by this library and read by OpenSSL, and their verification.
#include <gmock/gmock.h>

#include <string>

#include "handles/cert_context.h"
#include "handles/crypto_handles.h"
#include "handles/exception.h"
#include "message/extensions.h"
#include "platform/crypto/crypto_service.h"
#include "tests/message/message_fixture.h"
#include "tests/support/temp_dir.h"

namespace {

using namespace Orvane;
using namespace Orvane::PKI::OCSP;
using namespace testkit;

class SignedRequest : public testing::Test {
protected:
    // A provider for the private key of `identity`, found through the URI that its context carries.
    ATL::CCryptProv providerFor(const Identity& identity) {
        const ATL2::CCertContext context = ATL2::CCertContext::adopt(CertCreateCertificateContext(
            X509_ASN_ENCODING, identity.certificate.data(), static_cast<DWORD>(identity.certificate.size())));
        EXPECT_TRUE(crypto_set_key_uri(context.get(), folder_.write("key.pem", identity.key.pem()).c_str()));
        HCRYPTPROV provider = 0;
        BOOL callerFrees = FALSE;
        EXPECT_TRUE(CryptAcquireCertificatePrivateKey(context.get(), 2, nullptr, &provider, &keySpec_, &callerFrees));
        return ATL::CCryptProv(provider);
    }

    static Identity signerWith(KeyKind kind) {
        CertificateSpec spec;
        spec.commonName = "requestor";
        spec.key = Key::make(kind);
        return issue(Pki::shared().ca, spec);
    }

    CRequestMessage signedBy(const Identity& signer, const char* algorithm, const CBlobList* certs) {
        const Pki& pki = Pki::shared();
        CRequestMessage message;
        message.put_requestList(requestListFor(identifierOf(pki.good, pki.ca)));
        const CBlob name = blob(signer.subject());
        message.put_requestorName(&name);
        message.sign(providerFor(signer).get(), keySpec_, ASN1::CAlgorithmIdentifierEx(algorithm), certs);
        return message;
    }

    TempDir folder_;
    DWORD keySpec_ = 0;
};

struct Scheme {
    KeyKind key;
    const char* algorithm;
};
constexpr Scheme kSchemes[] = {{KeyKind::kRsa2048, "1.2.840.113549.1.1.11"},
                               {KeyKind::kEcP256, "1.2.840.10045.4.3.2"},
                               {KeyKind::kEcP384, "1.2.840.10045.4.3.3"},
                               {KeyKind::kEd25519, "1.3.101.112"}};

TEST_F(SignedRequest, VerifiesOnlyWithTheSignersKeyHereAndInOpenssl) {
    for (const Scheme& scheme : kSchemes) {
        const Identity signer = signerWith(scheme.key);
        const CBlobList certs{blob(signer.certificate), blob(Pki::shared().ca.certificate)};
        const CRequestMessage made = signedBy(signer, scheme.algorithm, &certs);
        const OcspRequestPtr elsewhere = parseRequest(made.encode());
        ASSERT_NE(elsewhere, nullptr) << scheme.algorithm;
        if (scheme.key != KeyKind::kEd25519) {  // OpenSSL 3.0 refuses the scheme in requests
            EXPECT_EQ(OCSP_request_verify(elsewhere.get(), nullptr, nullptr, OCSP_NOVERIFY), 1) << scheme.algorithm;
        }
        CRequestMessage read;
        read.decode(made.encode());
        for (const CRequestMessage* message : {&made, static_cast<const CRequestMessage*>(&read)}) {
            ASSERT_NE(message->get_signatureAlgorithm(), nullptr) << scheme.algorithm;
            EXPECT_STREQ(message->get_signatureAlgorithm()->get_algorithm(), scheme.algorithm);
            EXPECT_THAT(message->get_signatureCerts(), testing::Pointee(certs));
            EXPECT_EQ(bytes(*message->get_requestorName()), signer.subject());
            EXPECT_TRUE(message->verify(blob(signer.certificate))) << scheme.algorithm;
            EXPECT_FALSE(message->verify(blob(signerWith(scheme.key).certificate))) << scheme.algorithm;
            EXPECT_FALSE(message->verify(blob(Pki::shared().good.certificate))) << scheme.algorithm;
        }
    }
}

TEST_F(SignedRequest, LeavesEmptyCertificatesOutAndLosesItsSignatureWhenItsContentChanges) {
    const CBlobList none;
    CRequestMessage read;
    for (const CBlobList* certs : {&none, static_cast<const CBlobList*>(nullptr)}) {
        CRequestMessage made = signedBy(signerWith(KeyKind::kEcP256), kSchemes[1].algorithm, certs);
        read.decode(made.encode());
        EXPECT_EQ(made.get_signatureCerts(), nullptr);
        EXPECT_EQ(read.get_signatureCerts(), nullptr);
        EXPECT_THROW(static_cast<void>(read.verify(blob({0x30, 0x00}))), ATL::CAtlException);
        made.put_requestExtensions(nullptr);
        EXPECT_EQ(made.get_signatureAlgorithm(), nullptr);
        read.decode(made.encode());
        EXPECT_EQ(read.get_signatureAlgorithm(), nullptr);
    }
}

// The search for the signer's certificate reads the name of a signed request without checking that there is one.
TEST_F(SignedRequest, AlwaysShowsARequestorsName) {
    const Identity signer = signerWith(KeyKind::kEcP256);
    const Pki& pki = Pki::shared();
    CRequestMessage message;
    message.put_requestList(requestListFor(identifierOf(pki.good, pki.ca)));
    EXPECT_EQ(message.get_requestorName(), nullptr);
    message.sign(providerFor(signer).get(), keySpec_, ASN1::CAlgorithmIdentifierEx("1.2.840.10045.4.3.2"), nullptr);
    CRequestMessage read;
    read.decode(message.encode());
    ASSERT_NE(read.get_requestorName(), nullptr);
    EXPECT_EQ(read.get_requestorName()->cbData(), 0U);
    EXPECT_EQ(bytes(read.encode()), bytes(message.encode()));
}

TEST_F(SignedRequest, FailsForAKeyThatCannotSign) {
    const Identity signer = signerWith(KeyKind::kEcP256);
    EXPECT_THROW(signedBy(signer, "1.2.840.113549.1.1.11", nullptr), ATL::CAtlException);  // an RSA scheme
    CRequestMessage message;
    EXPECT_THROW(message.sign(0, 2, ASN1::CAlgorithmIdentifierEx("1.2.840.10045.4.3.2"), nullptr), ATL::CAtlException);
}

}  // namespace
