// The request object: what is asked, the life of its state, and the message that is built of it.
#include <functional>

#include "asn1/names/general_name.h"
#include "message/request_message.h"
#include "tests/client/support/client_test.h"
#include "tests/support/system_stores.h"
#include "tests/support/tlv.h"

namespace {

using namespace testkit;
using Orvane::ASN1::CExtension;
using Orvane::ASN1::CExtensions;
using Orvane::ASN1::CExtValue;

class Request : public ClientTest {
protected:
    static ocsp::CRequestMessage messageOf(CRequest& request) {
        ocsp::CRequestMessage message;
        message.decode(blob(exported(request)));
        return message;
    }
    static std::vector<std::string> oidsOf(const CExtensions* extensions) {
        std::vector<std::string> oids;
        if (extensions != nullptr) {
            for (const CExtension& extension : *extensions) {
                oids.push_back(extension.get_extnID() + std::string(extension.get_critical() ? " critical" : ""));
            }
        }
        return oids;
    }
    static CExtension extension(const char* oid) { return CExtension(CExtValue(oid, blob(fromHex("0500"))), false); }
    static CExtension nonce(const char* hex) {
        ocsp::CExtNonce value;
        value.put_nonce(blob(fromHex(hex)));
        return CExtension(value, false);
    }
};

TEST_F(Request, StartsWithOneEmptyEntryAndThePolicysDefaults) {
    settings(
        "DefaultOCSPURL = \"https://o/\"\nDefaultProxy = \"http://p/\"\nAuthSSLTypeDefault = 8\n"
        "ProxyAuthTypeDefault = 1\nUseNonceByDefault = false\nUseAcceptRespByDefault = true\n");
    CRequest request;
    EXPECT_EQ(request.get_SRNumber(), 1u);
    EXPECT_EQ(request.get_SRCertID(0).get_serialNumber().cbData(), 0u);
    EXPECT_THAT(thrownStatus([&] { request.get_SRCertID(1); }), IsStatus(status::kInvalidIndex));
    EXPECT_STREQ(request.get_OCSPAddress(), L"https://o/");
    EXPECT_STREQ(request.get_ProxyAddress(), L"http://p/");
    EXPECT_EQ(request.get_OCSPAuthType(), ocsp::Client::kAuthDigest);
    EXPECT_EQ(request.get_ProxyAuthType(), ocsp::Client::kAuthBasic);
    EXPECT_FALSE(request.get_UseNonce());
    EXPECT_TRUE(request.get_UseAcceptableResponses());
    EXPECT_THAT(thrownStatus([&] { exported(request); }), IsStatus(status::kCryptNotFound)) << "nothing is asked yet";
    request.put_ProxyAddress(nullptr);
    EXPECT_STREQ(request.get_ProxyAddress(), L"");
}

TEST_F(Request, ListsExtensionsInTheirFixedOrder) {
    CRequest request;
    ask(request, pki_.good, pki_.ca);
    request.put_UseAcceptableResponses(true);
    CExtensions additional;
    additional.push_back(extension("1.2.3"));
    request.put_AdditionalExtensions(&additional);
    ocsp::CExtHistoricalRequest historical;
    const Orvane::CDateTime time("20260102030405Z");
    historical.put_crlTime(&time);
    request.put_SRHistoricalRequest(&historical, 0);
    request.put_SRServiceLocatorFromCertAIA(contextOf(pki_.good).get(), 0);
    const ocsp::CRequestMessage message = messageOf(request);
    EXPECT_EQ(oidsOf(message.get_requestExtensions()),
              (std::vector<std::string>{"1.2.3", "1.3.6.1.5.5.7.48.1.2", "1.3.6.1.5.5.7.48.1.4"}));
    EXPECT_EQ(oidsOf(message.get_requestList().front().get_singleRequestExtensions()),
              (std::vector<std::string>{"1.2.643.2.2.47.5 critical", "1.3.6.1.5.5.7.48.1.7"}));
    request.put_SRHistoricalRequest(nullptr, 0);
    EXPECT_EQ(request.get_SRHistoricalRequest(0), nullptr);

    CRequest plain;
    plain.put_UseNonce(false);
    ask(plain, pki_.good, pki_.ca);
    EXPECT_EQ(messageOf(plain).get_requestExtensions(), nullptr) << "absent, not empty";
}

TEST_F(Request, DrawsANonceForEachBuildAndKeepsItUntilTheMessageChanges) {
    const auto nonceOf = [](CRequest& request) {
        const ocsp::CRequestMessage message = messageOf(request);
        return bytes(message.get_requestExtensions()->front().get_extnValue());
    };
    CRequest request;
    ask(request, pki_.good, pki_.ca);
    const Bytes first = nonceOf(request);
    ASSERT_EQ(first.size(), 10u);
    EXPECT_EQ(toHex({first.begin(), first.begin() + 2}), "0408");
    EXPECT_EQ(exported(request), exported(request));
    request.put_UseNonce(true);  // no change: nothing is dropped
    EXPECT_EQ(nonceOf(request), first);
    request.put_UseAcceptableResponses(true);
    EXPECT_NE(nonceOf(request), first);
    for (const auto& [length, expected] : {std::pair{0, "0400"}, std::pair{32, "0420"}}) {
        settings("NonceLength = " + std::to_string(length) + "\n");
        CRequest other;
        ask(other, pki_.good, pki_.ca);
        const Bytes made = nonceOf(other);
        EXPECT_EQ(made.size(), static_cast<std::size_t>(length) + 2);
        EXPECT_EQ(toHex({made.begin(), made.begin() + 2}), expected);
    }
    settings("NonceLength = -1\n");
    CRequest mistaken(contextOf(pki_.good).get(), contextOf(pki_.ca).get());
    EXPECT_THAT(thrownStatus([&] { exported(mistaken); }), IsStatus(status::kInvalidArgument));
}

TEST_F(Request, TakesOverANonceOnlyFromTheFirstPlace) {
    struct Row {
        const char* what;
        std::vector<CExtension> list;
        bool useNonce;
        std::int32_t expected;
        const char* nonce;
    };
    const Row rows[] = {
        {"first", {nonce("04021122"), extension("1.2.3")}, false, 0, "04021122"},
        {"second", {extension("1.2.3"), nonce("04021122")}, false, status::kDuplicateExtension, nullptr},
        {"with a nonce in use", {nonce("04021122")}, true, status::kDuplicateExtension, nullptr},
        {"none", {extension("1.2.3")}, false, 0, nullptr},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        CRequest request;
        request.put_UseNonce(row.useNonce);
        ask(request, pki_.good, pki_.ca);
        CExtensions list;
        list.assign(row.list.begin(), row.list.end());
        EXPECT_THAT(thrownStatus([&] { request.put_AdditionalExtensions(&list); }), IsStatus(row.expected));
        if (row.nonce != nullptr) {
            const ocsp::CRequestMessage message = messageOf(request);
            EXPECT_EQ(oidsOf(message.get_requestExtensions()),
                      (std::vector<std::string>{"1.2.3", "1.3.6.1.5.5.7.48.1.2"}));
            EXPECT_EQ(toHex(bytes(message.get_requestExtensions()->back().get_extnValue())), row.nonce);
        }
        // Also where it is refused: it was taken over before it was met again.
        EXPECT_EQ(request.get_UseNonce(), row.list.size() == 2 || row.useNonce);
    }
}

TEST_F(Request, CopiesWhatWasAskedAndNotWhatCameBack) {
    CRequest copy;
    CRequest assigned;
    Bytes built;
    {
        CRequest source(contextOf(pki_.good).get(), contextOf(pki_.ca).get());
        source.put_OCSPAddress(L"http://o/");
        source.put_Flags(CRequest::kFlagAllowCache);
        source.put_ClientCertificate(contextOf(pki_.revoked).get());
        ASSERT_TRUE(CertAddCertificateContextToStore(source.get_Certificates(), contextOf(pki_.ca).get(),
                                                     CERT_STORE_ADD_USE_EXISTING, nullptr));
        built = exported(source);
        copy = source;
        assigned = CRequest(source);
        EXPECT_EQ(copy.get_Certificates(), source.get_Certificates()) << "the store is shared";
    }
    for (CRequest* each : {&copy, &assigned}) {
        EXPECT_EQ(exported(*each), built);
        EXPECT_STREQ(each->get_OCSPAddress(), L"http://o/");
        EXPECT_EQ(each->get_Flags(), 2u);
        EXPECT_EQ(encodingOf(each->get_ClientCertificate()), pki_.revoked.certificate);
        EXPECT_THAT(contentOf(each->get_Certificates()), testing::ElementsAre(pki_.ca.certificate));
        // The issuer found is not copied, so a certificate without its issuer is not named by chance.
        EXPECT_THAT(thrownStatus([&] { each->put_SRCertIDFromCert(contextOf(pki_.good).get(), nullptr, 0, nullptr); }),
                    IsStatus(status::kNoSigner));
    }
    CRequest& self = assigned;
    assigned = self;
    EXPECT_EQ(assigned.get_SRNumber(), 1u);
    EXPECT_EQ(assigned.get_SRCertID(0).get_serialNumber().cbData(), 0u) << "self-assignment loses the lists";
    EXPECT_STREQ(assigned.get_OCSPAddress(), L"http://o/");
}

TEST_F(Request, AddedEntriesLeaveTheBuiltBytesUntilTheyAreFilled) {
    CRequest request;
    ask(request, pki_.good, pki_.ca);
    const Bytes built = exported(request);
    request.AddSingleRequest();
    EXPECT_EQ(request.get_SRNumber(), 2u);
    EXPECT_EQ(exported(request), built);
    ask(request, pki_.revoked, pki_.ca, 1);
    EXPECT_EQ(messageOf(request).get_requestList().size(), 2u);
}

TEST_F(Request, IsUnusableWithoutAPolicy) {
    CRequest request(contextOf(pki_.good).get(), contextOf(pki_.ca).get());
    CRequest other;
    static_cast<void>(support_settings_open(folder_.write("settings.toml", "= nonsense").c_str()));
    EXPECT_EQ(thrownStatus([&] { request = other; }), static_cast<std::int32_t>(ERROR_BAD_FORMAT));
    settings("");
    const auto using_it = {
        thrownStatus([&] { request.Send(true); }),
        thrownStatus(
            [&] { request.put_SRCertIDFromCert(contextOf(pki_.good).get(), contextOf(pki_.ca).get(), 0, nullptr); }),
    };
    EXPECT_THAT(using_it, testing::Each(IsStatus(status::kNoPolicy)));
    request = other;
    ask(request, pki_.good, pki_.ca);
    EXPECT_FALSE(exported(request).empty());
}

TEST_F(Request, RejectsNullArguments) {
    CRequest request;
    request.put_OCSPAddress(L"http://o/");
    const ATL2::CCertContext ca = contextOf(pki_.ca);
    const std::function<void()> calls[] = {
        [&] { request.put_OCSPAddress(nullptr); },
        [&] { request.put_OCSPUserName(nullptr); },
        [&] { request.put_OCSPPassword(nullptr); },
        [&] { request.put_ProxyUserName(nullptr); },
        [&] { request.put_ProxyPassword(nullptr); },
        [&] { request.Import(nullptr, 1); },
        [&] { request.put_SRCertIDFromCert(nullptr, ca.get(), 0, nullptr); },
        [&] { request.put_OCSPAddressFromCertAIA(nullptr, 0); },
        [&] { request.put_SRServiceLocatorFromCertAIA(nullptr, 0); },
        [&] { request.put_SRCRLLocatorFromCertCDP(nullptr, 0); },
    };
    for (const auto& call : calls) {
        EXPECT_THAT(thrownStatus(call), IsStatus(status::kInvalidArgument)) << &call - calls;
    }
    EXPECT_THAT(thrownStatus([&] { request.put_SRCertIDFromCert(nullptr, nullptr, 0, nullptr); }),
                IsStatus(status::kFail));
    EXPECT_STREQ(request.get_OCSPAddress(), L"http://o/");
}

TEST_F(Request, TakesAClientCertificateFromTheUsersStoreForItsKey) {
    const auto hasKey = [](const _CERT_CONTEXT* cert) {
        DWORD size = 0;
        return CertGetCertificateContextProperty(cert, CERT_KEY_PROV_INFO_PROP_ID, nullptr, &size) != FALSE;
    };
    folder_.write("user/My/client.pem", pki_.good.certificatePem());
    folder_.write("user/My/client.key", pki_.good.key.pem());
    folder_.write("user/My/client.toml", "key = \"client.key\"\n");
    CRequest request;
    EXPECT_EQ(request.get_ClientCertificate(), nullptr);
    for (const auto& [identity, known] : {std::pair{&pki_.good, true}, std::pair{&pki_.revoked, false}}) {
        const ATL2::CCertContext given = contextOf(*identity);
        ASSERT_FALSE(hasKey(given.get()));
        request.put_ClientCertificate(given.get());
        ASSERT_NE(request.get_ClientCertificate(), nullptr);
        EXPECT_EQ(encodingOf(request.get_ClientCertificate()), identity->certificate);
        EXPECT_EQ(hasKey(request.get_ClientCertificate()), known);
    }
    request.put_ClientCertificate(nullptr);
    EXPECT_EQ(request.get_ClientCertificate(), nullptr);
}

// ---- Naming the certificate -----------------------------------------------------------------------------------------

TEST_F(Request, ChoosesTheHashByArgumentPolicyAndCertificate) {
    struct Row {
        const char* argument;
        const char* policy;
        const char* expected;
    };
    const Row rows[] = {
        {nullptr, "", kSha1Oid},
        {kSha1Oid, "", kSha1Oid},
        {kSha256Oid, "", kSha256Oid},
        {nullptr, "2.16.840.1.101.3.4.2.3 and a word", kSha512Oid},
        {kSha1Oid, "2.16.840.1.101.3.4.2.3", kSha512Oid},  // an explicit SHA-1 yields to the policy
        {kSha256Oid, "2.16.840.1.101.3.4.2.3", kSha256Oid},
        {nullptr, " 2.16.840.1.101.3.4.2.3", kSha1Oid},  // up to the first blank there is nothing
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.argument ? row.argument : "null") + " / " + row.policy);
        settings(std::string("CertIDHashAlg = \"") + row.policy + "\"\n");
        CRequest request;
        request.put_SRCertIDFromCert(contextOf(pki_.good).get(), contextOf(pki_.ca).get(), 0, row.argument);
        const ocsp::CCertID id = request.get_SRCertID(0);
        EXPECT_STREQ(id.get_hashAlgorithm().get_algorithm(), row.expected);
        const CertIdSpec expected = certIdOf(pki_.good, pki_.ca, row.expected);
        EXPECT_EQ(bytes(id.get_issuerNameHash()), expected.issuerNameHash);
        EXPECT_EQ(bytes(id.get_issuerKeyHash()), expected.issuerKeyHash);
        EXPECT_EQ(bytes(id.get_serialNumber()), expected.serial);
    }
}

TEST_F(Request, NamesACertificateWithTheHashOfItsOwnFamily) {
    const Identity rsaCa = issue(pki_.root, {.key = Key::make(KeyKind::kRsa2048), .ca = true});
    CRequest request;
    ask(request, issue(rsaCa, {.hash = "MD5"}), rsaCa);
    EXPECT_STREQ(request.get_SRCertID(0).get_hashAlgorithm().get_algorithm(), "1.2.840.113549.2.5");
}

TEST_F(Request, FindsTheIssuerOrReportsThatItIsUnknown) {
    const auto named = [](const ATL2::CCertContext& subject, const ATL2::CCertContext& issuer) {
        return thrownStatus([&] {
            CRequest request;
            request.put_SRCertIDFromCert(subject.get(), issuer.get(), 0, nullptr);
        });
    };
    EXPECT_THAT(named(contextOf(pki_.good), contextOf(pki_.root)), IsStatus(status::kIssuerMismatch));
    EXPECT_THAT(named(contextOf(pki_.good), {}), IsStatus(status::kNoSigner)) << "its CA is in no store";
    EXPECT_THAT(named(contextOf(pki_.root), {}), IsStatus(0)) << "self-signed: its own issuer";
    EXPECT_THAT(named(contextOf(pki_.ca), {}), IsStatus(0)) << "the root is trusted and so known";
    // A CA of the same name but another key is not taken from the chain.
    folder_.write("user/CA/impostor.pem", pki_.sameNameCa.certificatePem());
    showStoreChanges();
    EXPECT_THAT(named(contextOf(pki_.good), {}), IsStatus(status::kNoSigner));
    folder_.write("user/CA/ca.pem", pki_.ca.certificatePem());
    showStoreChanges();
    EXPECT_THAT(named(contextOf(pki_.good), {}), IsStatus(0));
    // The issuer found first stays: a later certificate without one is taken to be of the same issuer, unchecked.
    CRequest request(contextOf(pki_.good).get(), contextOf(pki_.ca).get());
    request.AddSingleRequest();
    request.put_SRCertIDFromCert(contextOf(pki_.ca).get(), nullptr, 1, nullptr);
    EXPECT_EQ(request.get_SRCertID(1).get_issuerKeyHash(), request.get_SRCertID(0).get_issuerKeyHash());
}

TEST_F(Request, ReadsAddressesAndLocatorsFromTheCertificate) {
    const ATL2::CCertContext leaf = contextOf(issue(pki_.ca, {.ocspUrls = {"http://first/", "http://second/"},
                                                              .caIssuersUrls = {"http://issuer/"},
                                                              .crlUrls = {"http://crl/"}}));
    CRequest request;
    EXPECT_TRUE(request.put_OCSPAddressFromCertAIA(leaf.get(), 1));
    EXPECT_STREQ(request.get_OCSPAddress(), L"http://second/");
    EXPECT_FALSE(request.put_OCSPAddressFromCertAIA(leaf.get(), 2));
    EXPECT_STREQ(request.get_OCSPAddress(), L"http://second/");
    request.put_SRServiceLocatorFromCertAIA(leaf.get(), 0);
    ASSERT_NE(request.get_SRServiceLocator(0), nullptr);
    EXPECT_EQ(request.get_SRServiceLocator(0)->get_locator()->size(), 3u);
    request.put_SRCRLLocatorFromCertCDP(leaf.get(), 0);
    ASSERT_NE(request.get_SRCRLLocator(0), nullptr);
    EXPECT_EQ(request.get_SRCRLLocator(0)->get_locator().size(), 1u);
    const ATL2::CCertContext bare = contextOf(pki_.good);
    EXPECT_THAT(thrownStatus([&] { request.put_SRCRLLocatorFromCertCDP(bare.get(), 0); }),
                IsStatus(status::kFileNotFound));
    request.put_SRServiceLocatorFromCertAIA(bare.get(), 0);
    EXPECT_EQ(request.get_SRServiceLocator(0)->get_locator(), nullptr);
}

}  // namespace
