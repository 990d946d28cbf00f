// Requests made elsewhere: importing them, and the checks on the receiving side.
#include <filesystem>
#include <functional>

#include "tests/client/support/client_test.h"
#include "tests/support/http_server.h"
#include "tests/support/process.h"
#include "tests/support/system_stores.h"
#include "tests/support/tlv.h"

namespace {

using namespace testkit;

class CheckReceived : public ClientTest {
protected:
    CheckReceived() {
        requestor_ = issue(pki_.ca, named("requestor"));
        folder_.write("user/CA/ca.pem", pki_.ca.certificatePem());
        folder_.write("user/My/other.pem", pki_.good.certificatePem());
        putCrls({});
    }

    void putCrls(const std::vector<Bytes>& revoked) const {
        folder_.write("user/CA/root.crl", makeCrl(pki_.root, {}));
        folder_.write("user/CA/ca.crl", makeCrl(pki_.ca, {.revokedSerials = revoked}));
    }

    Bytes signedBy(const Identity& signer, CRequest::enumCertToInclude include = CRequest::CertsSigner) {
        CRequest request;
        ask(request, pki_.good, pki_.ca);
        request.Sign(withKey(signer).get(), include, nullptr);
        return exported(request);
    }

    Bytes signedByOpenssl(const Identity& signer) {
        const ProcessResult made =
            run({"openssl", "ocsp", "-issuer", folder_.write("ca.pem", pki_.ca.certificatePem()), "-cert",
                 folder_.write("good.pem", pki_.good.certificatePem()), "-signer",
                 folder_.write("signer.pem", signer.certificatePem()), "-signkey",
                 folder_.write("signer.key", signer.key.pem()), "-reqout", folder_.file("request.der")});
        EXPECT_EQ(made.exitStatus, 0) << made.err;
        return readFile(folder_.file("request.der"));
    }

    // The first objection of a receiver, returned or thrown; 0 for none.
    static std::int32_t objection(const Bytes& der) {
        return outcomeOf([&] {
            CRequest request;
            import(request, der);
            if (request.get_SignatureAlgorithmOID()[0] == '\0') {
                return status::kBadSignature;
            }
            const std::int32_t verdict = request.Verify(nullptr, nullptr, true);
            return verdict != 0 ? verdict : request.VerifyCertificate(nullptr, nullptr, 0);
        });
    }

    // ---- Requests by hand: entries and extensions in any order and number ------------------------------------------

    Bytes entry(const std::vector<Bytes>& extensions = {}) const {
        return entry(certIdOf(pki_.good, pki_.ca).encode(), extensions);
    }
    static Bytes entry(const Bytes& reqCert, const std::vector<Bytes>& extensions) {
        return extensions.empty() ? tlv::sequence({reqCert})
                                  : tlv::sequence({reqCert, tlv::context(0, tlv::sequence(extensions))});
    }
    static Bytes message(const std::vector<Bytes>& entries, const std::vector<Bytes>& extensions = {}) {
        const Bytes list = tlv::sequence(entries);
        return tlv::sequence({extensions.empty() ? tlv::sequence({list})
                                                 : tlv::sequence({list, tlv::context(2, tlv::sequence(extensions))})});
    }
    static Bytes extension(const char* oid, bool critical = false, const Bytes& value = tlv::null()) {
        return ExtensionSpec{oid, critical, value}.encode();
    }
    static std::int32_t importing(const Bytes& der) {
        CRequest request;
        return thrownStatus([&] { import(request, der); });
    }

    Identity requestor_;
};

const char* const kAcceptable = "1.3.6.1.5.5.7.48.1.4";
const char* const kServiceLocator = "1.3.6.1.5.5.7.48.1.7";
const char* const kCrlLocator = "1.2.643.2.2.47.2";
const char* const kHistorical = "1.2.643.2.2.47.5";

TEST_F(CheckReceived, ImportsWhatExportGives) {
    CRequest made;
    ask(made, pki_.good, pki_.ca);
    made.AddSingleRequest();
    ask(made, pki_.revoked, pki_.ca, 1);
    made.put_UseAcceptableResponses(true);
    Orvane::ASN1::CExtensions additional;
    additional.push_back({Orvane::ASN1::CExtValue("1.2.3", blob(tlv::null())), true});
    made.put_AdditionalExtensions(&additional);
    ocsp::CExtHistoricalRequest historical;
    historical.put_crlUrl("http://crl/");
    made.put_SRHistoricalRequest(&historical, 1);
    made.put_SRServiceLocatorFromCertAIA(contextOf(pki_.good).get(), 0);
    made.put_SRServiceLocatorFromCertAIA(contextOf(pki_.good).get(), 1);
    const Bytes der = exported(made);

    CRequest request;
    request.put_OCSPAddress(L"http://o/");
    request.put_DisableProducedAtCheck(true);
    import(request, der);
    EXPECT_EQ(exported(request), der);
    ASSERT_EQ(request.get_SRNumber(), 2u);
    EXPECT_TRUE(request.get_UseNonce());
    EXPECT_TRUE(request.get_UseAcceptableResponses());
    EXPECT_FALSE(request.get_DisableProducedAtCheck());
    EXPECT_STREQ(request.get_OCSPAddress(), L"http://o/");
    EXPECT_EQ(*request.get_AdditionalExtensions(), additional);
    EXPECT_EQ(request.get_SRHistoricalRequest(0), nullptr);
    EXPECT_STREQ(request.get_SRHistoricalRequest(1)->get_crlUrl(), "http://crl/");
    EXPECT_EQ(request.get_SRAdditionalExtensions(0), nullptr);
    // Taking one thing away builds the rest of it anew.
    request.put_SRHistoricalRequest(nullptr, 1);
    request.put_UseNonce(false);
    CRequest again;
    import(again, exported(request));
    EXPECT_EQ(again.get_SRNumber(), 2u);
    EXPECT_EQ(*again.get_AdditionalExtensions(), additional);
    EXPECT_FALSE(again.get_UseNonce()) << "whatever the policy's default says";

    import(again, message({entry({extension("1.2.3", false, der)})}));
    const Orvane::CBlob& carried = again.get_SRAdditionalExtensions(0)->front().get_extnValue();
    again.Import(carried.pbData(), carried.cbData());
    EXPECT_EQ(exported(again), der) << "bytes that were deleted when the object was cleared";
}

TEST_F(CheckReceived, ReportsWhyARequestIsNotImported) {
    const Bytes historical = extension(kHistorical, true, tlv::sequence(std::vector<Bytes>{}));
    const Bytes locator = extension(kServiceLocator, false, tlv::sequence({pki_.ca.subject()}));
    const Bytes crls = extension(
        kCrlLocator, false,
        tlv::sequence(
            {tlv::sequence({tlv::context(0, tlv::context(0, tlv::contextPrimitive(6, bytesOf("http://c/"))))})}));
    const Bytes nonce = extension(kNonceOid, false, tlv::octetString({1, 2}));
    const Bytes acceptable = extension(kAcceptable, false, tlv::sequence({tlv::oid(kBasicResponseOid)}));
    const Bytes unknown = extension("1.2.3");
    const Bytes certificate = tlv::context(0, tlv::context(0, pki_.good.certificate));
    const Bytes whole = message({entry()});
    struct Row {
        const char* what;
        Bytes der;
        std::int32_t expected;
    };
    const Row rows[] = {
        {"no entry", message({}), 0},
        {"each extension once",
         message({entry({historical, locator, crls, unknown, unknown})}, {nonce, acceptable, unknown, unknown}), 0},
        {"nonce twice", message({entry()}, {nonce, unknown, nonce}), status::kDuplicateExtension},
        {"acceptable responses twice", message({entry()}, {acceptable, acceptable}), status::kDuplicateExtension},
        {"historical twice", message({entry({historical, historical})}), status::kDuplicateExtension},
        {"service locator twice", message({entry({locator, unknown, locator})}), status::kDuplicateExtension},
        {"CRL locator twice", message({entry({crls, crls})}), status::kDuplicateExtension},
        {"a certificate instead of its identifier", message({entry(), entry(certificate, {})}), status::kCryptNotFound},
        {"a broken locator", message({entry({extension(kServiceLocator)})}), status::kAsn1Error},
        {"cut off", {whole.begin(), whole.end() - 1}, status::kAsn1Error},
        {"nothing", {}, status::kAsn1Error},
    };
    for (const Row& row : rows) {
        EXPECT_THAT(importing(row.der), IsStatus(row.expected)) << row.what;
    }
    CRequest empty;
    import(empty, message({}));
    EXPECT_EQ(empty.get_SRNumber(), 0u);
    EXPECT_THAT(empty.Verify(nullptr, nullptr, true), IsStatus(0));
}

// A walk over all for each of them would take minutes, which the time limit of the test program ends.
TEST_F(CheckReceived, ReadsManyEntriesAndExtensions) {
#ifdef __SANITIZE_ADDRESS__
    constexpr std::size_t kMany = 10000;  // each allocation costs far more here
#else
    constexpr std::size_t kMany = 300000;
#endif
    const Bytes one = extension("1.2.3.4");
    const Bytes both = entry({one, extension(kHistorical, true, tlv::sequence(std::vector<Bytes>{}))});
    const std::vector<Bytes> extensions(kMany, one);
    for (const Bytes& der :
         {message(std::vector<Bytes>(kMany, both)), message({entry()}, extensions), message({entry(extensions)})}) {
        CRequest request;
        import(request, der);
        EXPECT_THAT(request.Verify(nullptr, nullptr, true), IsStatus(0));
    }
}

// ---- Checks ---------------------------------------------------------------------------------------------------------

TEST_F(CheckReceived, RejectsCriticalExtensionsAsTheListSays) {
    CRequest request;
    import(request, message({entry(), entry({extension("1.2.5", true),
                                             extension(kHistorical, true, tlv::sequence(std::vector<Bytes>{}))})},
                            {extension("1.2.4", true), extension("1.2.9", false),
                             extension(kNonceOid, true, tlv::octetString({1}))}));
    struct Row {
        const char* list;
        std::int32_t request;
        std::int32_t withEntries;
        std::int32_t entry;
    };
    for (const Row& row : {Row{nullptr, status::kCertCritical, status::kCertCritical, status::kCertCritical},
                           Row{"*", 0, 0, 0}, Row{"1.2.4", status::kCertCritical, status::kCertCritical, 0},
                           Row{"1.2.5", 0, status::kCertCritical, status::kCertCritical}}) {
        SCOPED_TRACE(row.list != nullptr ? row.list : "null");
        EXPECT_THAT(request.Verify(nullptr, row.list, false), IsStatus(row.request));
        EXPECT_THAT(request.Verify(nullptr, row.list, true), IsStatus(row.withEntries))
            << "entries are checked with null";
        EXPECT_THAT(request.VerifySR(1, row.list), IsStatus(row.entry));
        EXPECT_THAT(request.VerifySR(0, row.list), IsStatus(0));
    }
    EXPECT_THAT(request.VerifySR(100, "*"), IsStatus(0));
    EXPECT_THAT(thrownStatus([&] { return request.VerifySR(100, nullptr); }), IsStatus(status::kInvalidIndex));
}

// Name, list, extension, algorithm, signature, certificate, and the lengths between them: no octet may change unseen.
TEST_F(CheckReceived, RejectsEveryAlteredOctet) {
    for (const Bytes& der :
         {signedBy(requestor_), signedByOpenssl(issue(pki_.ca, {.key = Key::make(KeyKind::kRsa2048)}))}) {
        ASSERT_THAT(objection(der), IsStatus(0));
        for (std::size_t i = 0; i < der.size(); ++i) {
            Bytes altered = der;
            altered[i] ^= 1;
            EXPECT_NE(objection(altered), 0) << "octet " << i << " of " << toHex(der);
        }
    }
}

TEST_F(CheckReceived, ChecksTheRequestorsCertificate) {
    const Identity expired = issue(pki_.ca, {.notBeforeSeconds = -7200, .notAfterSeconds = -3600});
    const Identity stranger = selfSigned(named("stranger"));
    struct Row {
        const char* what;
        const Identity& signer;
        std::function<void()> change;
        std::int32_t expected;
    };
    const Row rows[] = {
        {"trusted", requestor_, [] {}, 0},
        {"expired", expired, [] {}, status::kCertExpired},
        {"self-signed", stranger, [] {}, status::kUntrustedRoot},
        {"revoked", requestor_, [this] { putCrls({requestor_.serial()}); }, status::kCryptRevoked},
        {"no CRL", requestor_, [this] { std::filesystem::remove(folder_.file("user/CA/ca.crl")); },
         status::kNoRevocationCheck},
        {"no trusted root", requestor_, [] { crypto_forget_trusted_roots(); }, status::kChaining},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        CRequest request;
        import(request, signedBy(row.signer));
        EXPECT_THAT(request.Verify(nullptr, nullptr, true), IsStatus(0)) << "the signature is another question";
        EXPECT_THAT(request.Verify(contextOf(pki_.revoked).get(), "*", true), IsStatus(status::kBadSignature));
        row.change();
        showStoreChanges();
        EXPECT_THAT(request.VerifyCertificate(nullptr, nullptr, 0), IsStatus(row.expected));
        putCrls({});
    }
    CRequest unsignedRequest;
    import(unsignedRequest, message({entry()}));
    EXPECT_THAT(thrownStatus([&] { return unsignedRequest.VerifyCertificate(nullptr, nullptr, 0); }),
                IsStatus(status::kRequestSigned));
}

TEST_F(CheckReceived, LooksForTheRequestorByNameInAFixedOrder) {
    const Identity given = issue(pki_.ca, named("requestor"));
    const Identity own = issue(pki_.ca, named("requestor"));
    folder_.write("user/My/own.pem", own.certificatePem());
    const ATL2::CCertStore memory = storeOf({given});
    void* stores[] = {nullptr, memory.get()};

    CRequest carrying;
    import(carrying, signedBy(requestor_));
    const _CERT_CONTEXT* found = carrying.get_RequestorCertificate(stores, 2);
    EXPECT_EQ(encodingOf(found), requestor_.certificate);
    EXPECT_EQ(carrying.get_RequestorCertificate(nullptr, 0), found) << "the request's own, not to be freed";

    CRequest bare;
    import(bare, signedBy(requestor_, CRequest::CertsNone));
    EXPECT_EQ(encodingOf(bare.get_RequestorCertificate(stores, 2)), given.certificate);
    EXPECT_EQ(encodingOf(bare.get_RequestorCertificate(nullptr, 0)), own.certificate);
    EXPECT_THAT(bare.Verify(nullptr, nullptr, true), IsStatus(status::kBadSignature)) << "a name proves nothing";
    EXPECT_EQ(bare.FindSigner(stores, 2), nullptr);
    const ATL2::CCertStore both = storeOf({given, requestor_});
    stores[1] = both.get();
    EXPECT_EQ(encodingOf(bare.get_RequestorCertificate(stores, 2)), given.certificate) << "the first of the name";
    EXPECT_EQ(encodingOf(bare.FindSigner(stores, 2)), requestor_.certificate) << "of those, the one that signed";
    EXPECT_THAT(bare.Verify(nullptr, nullptr, true), IsStatus(0));
    EXPECT_THAT(CRequest(bare).Verify(nullptr, nullptr, true), IsStatus(0)) << "a copy keeps the requestor found";
    EXPECT_THAT(bare.VerifyCertificate(nullptr, nullptr, 0), IsStatus(0));
    for (const std::size_t before : {15, 16}) {
        std::vector<Identity> sameName(before, given);
        sameName.push_back(requestor_);
        const ATL2::CCertStore crowd = storeOf(sameName);
        void* crowded[] = {crowd.get()};
        EXPECT_EQ(bare.FindSigner(crowded, 1) != nullptr, before == 15) << "the number of tries is bounded";
    }
    std::filesystem::remove_all(folder_.file("user/My"));
    CRequest unknown;
    import(unknown, signedBy(requestor_, CRequest::CertsNone));
    EXPECT_THAT(thrownStatus([&] { unknown.get_RequestorCertificate(nullptr, 0); }), IsStatus(status::kFileNotFound))
        << "no store of the user";
    folder_.write("user/My/other.pem", pki_.good.certificatePem());
    EXPECT_EQ(unknown.get_RequestorCertificate(nullptr, 0), nullptr);
    EXPECT_THAT(thrownStatus([&] { return unknown.Verify(nullptr, nullptr, true); }), IsStatus(status::kCryptNotFound));

    CRequest signing;
    ask(signing, pki_.good, pki_.ca);
    const ATL2::CCertContext signer = withKey(requestor_);
    signing.Sign(signer.get(), CRequest::CertsNone, nullptr);
    {
        const ATL2::CCertContext first = ATL2::CCertContext::adopt(signing.get_RequestorCertificate(nullptr, 0));
        const ATL2::CCertContext second = ATL2::CCertContext::adopt(signing.get_RequestorCertificate(stores, 2));
        EXPECT_EQ(encodingOf(first.get()), requestor_.certificate);
        EXPECT_EQ(encodingOf(second.get()), requestor_.certificate);
    }
    EXPECT_EQ(encodingOf(signing.FindSigner(nullptr, 0)), requestor_.certificate);
    EXPECT_THAT(signing.Verify(nullptr, nullptr, true), IsStatus(0));
}

TEST_F(CheckReceived, ContactsAddressesOnlyForTrustedChains) {
    const Identity between = issueCa(pki_.ca, "between");
    const Bytes crl = makeCrl(between, {});
    const HttpServer server([&](const HttpRequest& request) {
        return HttpReply{.body = request.target == "/ca.crl" ? crl : between.certificate};
    });
    const CertificateSpec spec{.caIssuersUrls = {server.url("/between.cer")}, .crlUrls = {server.url("/ca.crl")}};
    const Identity known = issue(between, spec);
    const Identity stranger = selfSigned(spec);
    CRequest request;
    for (const Identity* signer : {&known, &stranger}) {
        import(request, signedBy(*signer));
        EXPECT_THAT(request.VerifyCertificate(nullptr, nullptr, 0),
                    IsStatus(signer == &known ? status::kChaining : status::kUntrustedRoot));
    }
    EXPECT_EQ(server.requests().size(), 0u);
    folder_.write("user/CA/between.pem", between.certificatePem());
    showStoreChanges();
    import(request, signedBy(known));
    EXPECT_THAT(request.VerifyCertificate(nullptr, nullptr, 0), IsStatus(0));
    EXPECT_EQ(server.requests().size(), 1u) << "the CRL of a chain that leads to a trusted root";
}

}  // namespace
