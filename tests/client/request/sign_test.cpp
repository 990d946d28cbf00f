// Signing: the content of a signed request, the state of the object, and that other programs read and verify it.
#include <openssl/ocsp.h>

#include <functional>
#include <tuple>

#include "message/request_message.h"
#include "tests/client/support/client_test.h"
#include "tests/support/openssl_ptr.h"
#include "tests/support/process.h"

namespace {

using namespace testkit;
using testing::HasSubstr;

using RequestPtr = std::unique_ptr<OCSP_REQUEST, FreeWith<OCSP_REQUEST_free>>;
// Holds certificates that others own.
struct FreeStack {
    void operator()(STACK_OF(X509) * stack) const { sk_X509_free(stack); }
};
using StackPtr = std::unique_ptr<STACK_OF(X509), FreeStack>;
using StorePtr = std::unique_ptr<X509_STORE, FreeWith<X509_STORE_free>>;

class Sign : public ClientTest {
protected:
    Sign() { folder_.write("user/CA/ca.pem", pki_.ca.certificatePem()); }

    Identity requestor(KeyKind kind = KeyKind::kEcP256) const {
        CertificateSpec spec = named("requestor");
        spec.key = Key::make(kind);
        return issue(pki_.ca, spec);
    }

    static std::vector<Bytes> certificatesIn(const Bytes& der) {
        ocsp::CRequestMessage message;
        message.decode(toBlob(der));
        std::vector<Bytes> all;
        if (const auto* certs = message.get_signatureCerts(); certs != nullptr) {
            for (const auto& cert : *certs) {
                all.push_back(toBytes(cert));
            }
        }
        return all;
    }

    // Whether OpenSSL accepts signature and chain, with the signer given in case the message does not contain it.
    bool verifiesElsewhere(const Bytes& der, const Bytes& signer) const {
        const auto parsed = [](const Bytes& cert) {
            const unsigned char* position = cert.data();
            return X509Ptr(d2i_X509(nullptr, &position, static_cast<long>(cert.size())));
        };
        const unsigned char* position = der.data();
        const RequestPtr request(d2i_OCSP_REQUEST(nullptr, &position, static_cast<long>(der.size())));
        const StorePtr store(X509_STORE_new());  // the root is trusted, the CA is there to lead to it
        const X509Ptr known[] = {parsed(pki_.root.certificate), parsed(pki_.ca.certificate), parsed(signer)};
        X509_STORE_add_cert(store.get(), known[0].get());
        X509_STORE_add_cert(store.get(), known[1].get());
        const StackPtr signers(sk_X509_new_null());
        sk_X509_push(signers.get(), known[2].get());
        return request && OCSP_request_verify(request.get(), signers.get(), store.get(), 0) == 1;
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
        message.decode(toBlob(der));
        EXPECT_EQ(toBytes(*message.get_requestorName()), row.signer.subject()) << "also without certificates";
        if (&row.signer != &alone) {
            EXPECT_TRUE(verifiesElsewhere(der, row.signer.certificate));
        }
    }
}

TEST_F(Sign, OtherProgramsReadAndVerifySignedRequests) {
    struct Row {
        KeyKind kind;
        const char* oid;
        const char* name;  // as openssl prints the algorithm
    };
    for (const Row& row : {Row{KeyKind::kRsa2048, "1.2.840.113549.1.1.11", "sha256WithRSAEncryption"},
                           Row{KeyKind::kEcP256, "1.2.840.10045.4.3.2", "ecdsa-with-SHA256"},
                           Row{KeyKind::kEcP384, "1.2.840.10045.4.3.2", "ecdsa-with-SHA256"},
                           Row{KeyKind::kEd25519, "1.3.101.112", "ED25519"}}) {
        SCOPED_TRACE(row.oid);
        CRequest request;
        ask(request, pki_.good, pki_.ca);
        const Identity signer = requestor(row.kind);
        request.Sign(withKey(signer).get(), CRequest::CertsChainNoRoot, nullptr);
        EXPECT_STREQ(request.get_SignatureAlgorithmOID(), row.oid);
        EXPECT_EQ(request.get_SignatureAlgorithm(), CertOIDToAlgId(row.oid));
        EXPECT_THAT(request.Verify(nullptr, nullptr, true), IsStatus(0));
        Bytes der = exported(request);
        EXPECT_TRUE(verifiesElsewhere(der, signer.certificate));

        const std::string file = folder_.write("request.der", der);
        const std::string serial = toHex(pki_.good.serial());
        // openssl as a responder: it answers a request from a file, with an empty index.
        const ProcessResult openssl =
            run({"openssl", "ocsp", "-reqin", file, "-req_text", "-index", folder_.write("index", ""), "-CA",
                 folder_.write("ca.pem", pki_.ca.certificatePem()), "-rsigner",
                 folder_.write("signer.pem", pki_.delegate.certificatePem()), "-rkey",
                 folder_.write("signer.key", pki_.delegate.key.pem()), "-respout", folder_.file("response.der")});
        EXPECT_EQ(openssl.exitStatus, 0) << openssl.err;
        EXPECT_THAT(openssl.out, AllOf(HasSubstr("Requestor Name: DirName:CN = requestor"), HasSubstr(row.name),
                                       HasSubstr("Subject: CN=requestor"), HasSubstr("Subject: CN=ca")));
        CResponse response;
        import(response, readFile(folder_.file("response.der")), &request);
        EXPECT_EQ(response.get_SRStatus(0), ocsp::CCertStatus::kUnknown);
        const ProcessResult gnutls = run({"ocsptool", "--request-info", "--load-request", file});
        EXPECT_EQ(gnutls.exitStatus, 0) << gnutls.err;
        EXPECT_THAT(gnutls.out, AllOf(HasSubstr("Serial Number: " + serial), HasSubstr("Nonce: ")));

        der[der.size() / 8] ^= 1;  // within what is signed
        EXPECT_FALSE(verifiesElsewhere(der, signer.certificate));
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
    EXPECT_TRUE(verifiesElsewhere(exported(request), identity.certificate));
}

TEST_F(Sign, PolicyDecidesWhetherSignedOrUnsignedRequestsGoOut) {
    for (const auto& [policy, forSigned, forUnsigned] :
         {std::tuple{"DisableSignedRequests = true", status::kSignedRefused, status::kNoResponder},
          std::tuple{"DisableUnsignedRequests = true", status::kNoResponder, status::kUnsignedRefused}}) {
        settings(policy);
        for (const bool sign : {true, false}) {
            CRequest request;
            ask(request, pki_.good, pki_.ca);
            if (sign) {
                request.Sign(withKey(requestor()).get(), CRequest::CertsNone, nullptr);
            }
            EXPECT_THAT(thrownStatus([&] { request.Send(false); }), IsStatus(sign ? forSigned : forUnsigned)) << policy;
        }
    }
}

}  // namespace
