// Signing: the content of a signed request, the state of the object, and that another program reads it.
#include <functional>
#include <utility>

#include "message/request_message.h"
#include "tests/client/support/client_test.h"
#include "tests/support/process.h"

namespace {

using namespace testkit;
using testing::HasSubstr;

class Sign : public ClientTest {
protected:
    Sign() { folder_.write("user/CA/ca.pem", pki_.ca.certificatePem()); }

    Identity requestor(KeyKind kind = KeyKind::kEcP256) const {
        return issue(pki_.ca, {.commonName = "requestor", .key = Key::make(kind)});
    }

    static std::vector<Bytes> certificatesIn(const Bytes& der) {
        ocsp::CRequestMessage message;
        message.decode(blob(der));
        std::vector<Bytes> all;
        if (const auto* certs = message.get_signatureCerts(); certs != nullptr) {
            for (const auto& cert : *certs) {
                all.push_back(bytes(cert));
            }
        }
        return all;
    }
};

TEST_F(Sign, IncludesTheCertificatesAskedFor) {
    const Identity ofCa = requestor();
    const Identity ofRoot = issue(pki_.root, named("ofRoot"));
    const Identity alone = selfSigned(named("alone"));
    const Bytes& three = ofCa.certificate;
    const Bytes& two = ofRoot.certificate;
    const Bytes& ca = pki_.ca.certificate;
    const Bytes& root = pki_.root.certificate;
    struct Row {
        const char* what;
        const Identity& signer;
        unsigned int include;
        const char* policy;
        std::vector<Bytes> expected;
    };
    const Row rows[] = {
        {"none", ofCa, 0, "", {}},
        {"signer", ofCa, 1, "", {three}},
        {"three without root", ofCa, 2, "", {three, ca}},
        {"three with root", ofCa, 3, "", {three, ca, root}},
        {"two with root", ofRoot, 3, "", {two, root}},
        {"self-signed with root", alone, 3, "", {alone.certificate}},
        {"an unknown value", ofCa, 7, "", {three}},
        {"policy that is not set", ofCa, 255, "", {}},
        {"policy: chain", ofCa, 255, "CertsToInclude = 2", {three, ca}},
        {"policy, and an explicit value", ofCa, 1, "CertsToInclude = 3", {three}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        settings(row.policy);
        CRequest request;
        ask(request, pki_.good, pki_.ca);
        request.Sign(withKey(row.signer).get(), static_cast<CRequest::enumCertToInclude>(row.include), nullptr);
        const Bytes der = exported(request);
        EXPECT_EQ(certificatesIn(der), row.expected);
        EXPECT_EQ(contentOf(request.get_Certificates()), row.expected);
        ocsp::CRequestMessage message;
        message.decode(blob(der));
        EXPECT_EQ(bytes(*message.get_requestorName()), row.signer.subject()) << "also without certificates";
        EXPECT_THAT(request.Verify(contextOf(row.signer).get(), nullptr, true), IsStatus(0));
    }
}

TEST_F(Sign, ChoosesTheAlgorithmOfTheKeyAndOtherProgramsReadTheResult) {
    for (const auto& [kind, oid] : {std::pair{KeyKind::kRsa2048, "1.2.840.113549.1.1.11"},
                                    {KeyKind::kEcP384, "1.2.840.10045.4.3.2"},
                                    {KeyKind::kEd25519, "1.3.101.112"}}) {
        SCOPED_TRACE(oid);
        CRequest request;
        ask(request, pki_.good, pki_.ca);
        request.Sign(withKey(requestor(kind)).get(), CRequest::CertsChainNoRoot, nullptr);
        EXPECT_STREQ(request.get_SignatureAlgorithmOID(), oid);
        EXPECT_EQ(request.get_SignatureAlgorithm(), CertOIDToAlgId(oid));
        EXPECT_THAT(request.Verify(nullptr, nullptr, true), IsStatus(0));
        const std::string file = folder_.write("request.der", exported(request));
        const ProcessResult gnutls = run({"ocsptool", "--request-info", "--load-request", file});
        EXPECT_EQ(gnutls.exitStatus, 0) << gnutls.err;
        EXPECT_THAT(gnutls.out, AllOf(HasSubstr("Serial Number: " + toHex(pki_.good.serial())), HasSubstr("Nonce: ")));
    }
}

TEST_F(Sign, FreezesTheRequest) {
    const ATL2::CCertContext signer = withKey(requestor());
    CRequest request;
    ask(request, pki_.good, pki_.ca);
    EXPECT_THAT(thrownStatus([&] { request.get_RequestorCertificate(nullptr, 0); }), IsStatus(status::kRequestSigned));
    EXPECT_THAT(thrownStatus([&] { request.get_SignatureAlgorithm(); }), IsStatus(status::kRequestSigned));
    request.Sign(signer.get(), CRequest::CertsSigner, nullptr);
    const Bytes der = exported(request);
    ocsp::CExtHistoricalRequest historical;
    const std::function<void()> frozen[] = {
        [&] { request.Sign(signer.get(), CRequest::CertsSigner, nullptr); },
        [&] { request.AddSingleRequest(); },
        [&] { request.put_UseNonce(false); },
        [&] { request.put_UseAcceptableResponses(true); },
        [&] { request.put_AdditionalExtensions(nullptr); },
        [&] { request.put_SRCertID(ocsp::CCertID(), 0); },
        [&] { ask(request, pki_.good, pki_.ca); },
        [&] { request.put_SRHistoricalRequest(&historical, 0); },
        [&] { request.put_SRServiceLocator(nullptr, 0); },
        [&] { request.put_SRServiceLocatorFromCertAIA(signer.get(), 0); },
        [&] { request.put_SRCRLLocatorFromCertCDP(signer.get(), 0); },
    };
    for (const auto& change : frozen) {
        EXPECT_THAT(thrownStatus(change), IsStatus(status::kRequestSigned)) << &change - frozen;
    }
    request.put_OCSPAddress(L"http://o/");
    request.put_ProxyUserName(L"name");
    EXPECT_EQ(exported(request), der);

    CRequest copy(request);
    EXPECT_EQ(exported(copy), der);
    EXPECT_THAT(thrownStatus([&] { copy.put_UseNonce(false); }), IsStatus(status::kRequestSigned));
    // Importing an unsigned message does not clear the signed flag; assigning an unsigned object does.
    CRequest unsignedRequest;
    ask(unsignedRequest, pki_.good, pki_.ca);
    import(copy, exported(unsignedRequest));
    EXPECT_STREQ(copy.get_SignatureAlgorithmOID(), "1.2.840.10045.4.3.2");
    EXPECT_THAT(copy.Verify(nullptr, nullptr, true), IsStatus(status::kBadSignature)) << "the flag is no signature";
    copy = unsignedRequest;
    EXPECT_STREQ(copy.get_SignatureAlgorithmOID(), "");
    copy.put_UseNonce(false);
}

TEST_F(Sign, LeavesABuiltRequestUnsigned) {
    const ATL2::CCertContext signer = withKey(requestor());
    CRequest request;
    ask(request, pki_.good, pki_.ca);
    const Bytes built = exported(request);
    request.Sign(signer.get(), CRequest::CertsSigner, nullptr);
    EXPECT_EQ(exported(request), built);
    EXPECT_STREQ(request.get_SignatureAlgorithmOID(), "");
    request.put_UseAcceptableResponses(true);  // a change opens it again
    request.Sign(signer.get(), CRequest::CertsSigner, nullptr);
    EXPECT_STRNE(request.get_SignatureAlgorithmOID(), "");
}

TEST_F(Sign, AFailureLeavesTheRequestToBeSignedAgain) {
    const Identity identity = requestor();
    const std::string plain = folder_.write("plain.key", identity.key.pem());
    const std::string locked = folder_.file("locked.key");
    ASSERT_EQ(run({"openssl", "pkey", "-in", plain, "-aes256", "-passout", "pass:secret", "-out", locked}).exitStatus,
              0);
    const ATL2::CCertContext signer = withKey(identity, locked);
    CRequest request;
    EXPECT_THAT(thrownStatus([&] { request.Sign(signer.get(), CRequest::CertsSigner, L"secret"); }),
                IsStatus(status::kCryptNotFound))
        << "nothing is asked yet";
    ask(request, pki_.good, pki_.ca);
    const auto signing = [&](const ATL2::CCertContext& cert, const wchar_t* password) {
        return thrownStatus([&] { request.Sign(cert.get(), CRequest::CertsSigner, password); });
    };
    EXPECT_THAT(signing(contextOf(identity), nullptr), IsStatus(status::kNoKeyProperty));
    EXPECT_THAT(signing(signer, nullptr), IsStatus(status::kPinMissing));
    EXPECT_THAT(signing(signer, L"wrong"), IsStatus(status::kWrongPin));
    EXPECT_STREQ(request.get_SignatureAlgorithmOID(), "");
    EXPECT_THAT(contentOf(request.get_Certificates()), testing::ElementsAre(identity.certificate))
        << "what was added before the failure stays";
    EXPECT_THAT(signing(signer, L"secret"), IsStatus(0));
    EXPECT_THAT(request.Verify(nullptr, nullptr, true), IsStatus(0));
}

}  // namespace
