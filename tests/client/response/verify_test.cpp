// The checks of responses: signature, responder, authorisation, revocation, times, critical extensions.
#include <filesystem>
#include <functional>

#include "tests/client/support/client_test.h"
#include "tests/support/http_server.h"
#include "tests/support/system_stores.h"
#include "tests/support/tlv.h"

namespace {

using namespace testkit;

class Verify : public ClientTest {
protected:
    Verify() {
        responder_ = issue(pki_.ca, {.commonName = "responder",
                                     .keyUsage = "critical,digitalSignature",
                                     .extendedKeyUsage = "OCSPSigning",
                                     .ocspNoCheck = true});
        // The responder is exempt from the revocation check; the CA above it is not.
        folder_.write("user/CA/root.crl", makeCrl(pki_.root, {}));
    }

    ResponseSpec good() const { return by(responder_); }
    ResponseSpec by(const Identity& signer) const {
        ResponseSpec spec(signer, {EntrySpec(certIdOf(pki_.good, pki_.ca))});
        spec.certificates = {pki_.ca.certificate};
        return spec;
    }

    // The checks of the library's own handler: the first verdict that is not 0, or what is thrown.
    static std::int32_t outcome(const ResponseSpec& spec) {
        return outcomeOf([&] {
            CResponse response;
            import(response, buildResponse(spec));
            const _CERT_CONTEXT* signer = response.get_OCSPCertificate(nullptr, 0);
            const std::int32_t verdict = response.Verify(signer, nullptr);
            return verdict != 0 ? verdict : response.VerifyCertificate(signer, true, nullptr, 0);
        });
    }

    static std::string thumbprint(const Identity& identity) {
        DWORD size = 20;
        Bytes hash(size);
        CertGetCertificateContextProperty(contextOf(identity).get(), CERT_SHA1_HASH_PROP_ID, hash.data(), &size);
        return toHex(hash);
    }

    Identity responder_;
};

TEST_F(Verify, AppliesTheAcceptanceRules) {
    const auto changed = [this](const std::function<void(ResponseSpec&)>& change) {
        ResponseSpec spec = good();
        change(spec);
        return spec;
    };
    CertificateSpec old = delegateSpec("old");
    old.notBeforeSeconds = -10L * 24 * 3600;
    old.notAfterSeconds = -24 * 3600;
    const Identity expired = issue(pki_.ca, old);
    folder_.write("user/CA/sibling.pem", pki_.sibling.certificatePem());
    const ExtensionSpec critical{"1.2.3", true, fromHex("0500")};
    struct Row {
        const char* what;
        ResponseSpec spec;
        std::int32_t expected;
    };
    const Row rows[] = {
        {"a delegate of the issuer", good(), 0},
        {"the issuer itself", by(pki_.ca), 0},
        {"named by key", changed([](ResponseSpec& s) { s.responderIdKind = ResponderIdKind::kByKey; }), 0},
        {"signature altered", changed([](ResponseSpec& s) { s.corruptSignature = true; }), status::kCryptNotFound},
        {"a delegate of another CA", by(issue(pki_.sibling, delegateSpec("sibling's"))), status::kWrongUsage},
        {"expired when it answered", by(expired), status::kCertExpired},
        {"a critical extension of an entry",
         changed([&](ResponseSpec& s) { s.entries[0].extensions.push_back(critical); }),
         status::kCriticalSingleExtension},
    };
    for (const Row& row : rows) {
        EXPECT_THAT(outcome(row.spec), IsStatus(row.expected)) << row.what;
    }
    crypto_forget_trusted_roots();
    EXPECT_THAT(outcome(good()), IsStatus(status::kChaining)) << "no trusted root";
}

TEST_F(Verify, SaysWhichEntriesTheResponderMayAnswer) {
    ResponseSpec spec = good();
    spec.entries.emplace_back(certIdOf(pki_.good, pki_.sibling));
    CResponse response;
    import(response, buildResponse(spec));
    EXPECT_THAT(thrownStatus([&] { return response.VerifySR(0, nullptr, nullptr); }), IsStatus(status::kNotSuccessful))
        << "the responder has not been checked yet";
    bool authorised = true;
    EXPECT_THAT(response.VerifySR(0, nullptr, &authorised), IsStatus(0));
    authorised = false;
    EXPECT_THAT(response.VerifySR(0, nullptr, &authorised), IsStatus(status::kWrongUsage));
    EXPECT_THAT(response.VerifyCertificate(nullptr, false, nullptr, 0), IsStatus(0));
    EXPECT_THAT(response.VerifySR(0, nullptr, nullptr), IsStatus(0));
    EXPECT_THAT(response.VerifySR(1, nullptr, nullptr), IsStatus(status::kWrongUsage)) << "another issuer's";
    EXPECT_THAT(response.VerifyCertificate(nullptr, true, nullptr, 0), IsStatus(status::kWrongUsage));
    // A copy, and a second import, forget what was found.
    EXPECT_THAT(thrownStatus([&] { return CResponse(response).VerifySR(0, nullptr, nullptr); }),
                IsStatus(status::kNotSuccessful));
}

TEST_F(Verify, RejectsCriticalExtensionsAsTheListSays) {
    ResponseSpec spec = good();
    spec.extensions = {{"1.2.3.4", true, fromHex("0500")}, {"1.2.3.5", false, fromHex("0500")}};
    CResponse response;
    import(response, buildResponse(spec));
    EXPECT_THAT(response.Verify(nullptr, nullptr), IsStatus(status::kCertCritical));
    EXPECT_THAT(response.Verify(nullptr, "9.9;1.2.3.4;8.8"), IsStatus(status::kCertCritical));
    for (const char* list : {"*", "", "1.2.3.5", "1.2.3", "1.2.3.40", "11.2.3.4", " 1.2.3.4"}) {
        EXPECT_THAT(response.Verify(nullptr, list), IsStatus(0)) << list;
    }
    EXPECT_THAT(response.Verify(contextOf(pki_.ca).get(), "*"), IsStatus(status::kBadSignature));
}

TEST_F(Verify, RejectsEntriesMadeAfterTheCertificateExpired) {
    const Identity shortLived = issue(pki_.ca, {.notAfterSeconds = 100});
    for (const auto& [thisUpdate, expected] : {std::pair{99L, 0}, std::pair{100L, status::kCertExpired}}) {
        ResponseSpec answer = good();
        answer.entries[0] = EntrySpec(certIdOf(shortLived, pki_.ca));
        // NotAfter was set some moments ago, so it is read from the certificate.
        const ATL2::CCertContext context = contextOf(shortLived);
        const Orvane::CDateTime end(context->pCertInfo->NotAfter);
        const Orvane::CDateTime at = thisUpdate == 100L ? end : end - Orvane::CDateTimeSpan::OneSecond();
        answer.entries[0].thisUpdate = at.getGeneralizedTime().c_str();
        answer.entries[0].nextUpdate.reset();
        CResponse response;
        import(response, buildResponse(answer));
        bool authorised = true;
        EXPECT_THAT(response.VerifySR(0, nullptr, &authorised), IsStatus(0)) << "the certificate is not known yet";
        ASSERT_EQ(response.get_SRIndexByCert(context.get(), contextOf(pki_.ca).get()), 0u);
        EXPECT_THAT(response.VerifySR(0, nullptr, &authorised), IsStatus(expected));
    }
}

TEST_F(Verify, ChecksTheRevocationOfAResponderWithoutTheNoCheckMark) {
    Bytes crl = makeCrl(pki_.ca, {});
    HttpServer crls([&crl](const HttpRequest&) { return HttpReply{.body = crl}; });
    const CertificateSpec spec{
        .extendedKeyUsage = "OCSPSigning", .caIssuersUrls = {crls.url("/ca.cer")}, .crlUrls = {crls.url("/ca.crl")}};
    const Identity checked = issue(pki_.ca, spec);
    ResponseSpec forged = by(checked);
    forged.corruptSignature = true;
    forged.certificates.clear();
    EXPECT_THAT(outcome(forged), IsStatus(status::kCryptNotFound));
    EXPECT_EQ(crls.requests().size(), 0u) << "no address of a certificate that did not sign";
    EXPECT_THAT(outcome(by(checked)), IsStatus(0));
    std::filesystem::remove(folder_.file("user/CA/root.crl"));
    showStoreChanges();
    EXPECT_THAT(outcome(by(checked)), IsStatus(status::kNoRevocationCheck)) << "no CRL about the CA";
    const Identity root = rootCa("a root that answers itself");
    crypto_add_trusted_root(contextOf(root).get());
    crl = makeCrl(root, {});
    const Identity direct = issue(root, spec);
    const ResponseSpec answer(direct, {EntrySpec(certIdOf(pki_.good, root))});
    EXPECT_THAT(outcome(answer), IsStatus(0));
    crl = makeCrl(root, {.revokedSerials = {direct.serial()}});
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    CResponse response;
    import(response, buildResponse(answer));
    response.put_CacheResync(&now);
    EXPECT_THAT(response.VerifyCertificate(nullptr, true, nullptr, 0), IsStatus(status::kCryptRevoked));
    settings("NocheckOCSPs = [\"" + thumbprint(direct).insert(4, " ") + "\"]\n");
    CResponse exempt;
    import(exempt, buildResponse(answer));
    EXPECT_THAT(exempt.VerifyCertificate(nullptr, true, nullptr, 0), IsStatus(0)) << "exempt by policy";
}

TEST_F(Verify, AnAdministratorCanAuthoriseAResponderForAllIssuers) {
    const Identity other = rootCa("another hierarchy");
    crypto_add_trusted_root(contextOf(other).get());
    const Identity foreign = issue(other, delegateSpec("foreign"));
    EXPECT_THAT(outcome(by(foreign)), IsStatus(status::kWrongUsage));
    settings("AuthorizedOCSPs = [\"" + thumbprint(foreign) + "\"]\n");
    EXPECT_EQ(ocsp::Client::IsOCSPAuthorized(contextOf(foreign).get()), 1);
    EXPECT_EQ(ocsp::Client::IsOCSPAuthorized(contextOf(pki_.ca).get()), 0);
    EXPECT_THAT(outcome(by(foreign)), IsStatus(0));
}

TEST_F(Verify, AnAcceptedResponderStaysUntilAnotherIsAccepted) {
    const Identity another = issue(pki_.ca, delegateSpec("another responder"));
    CResponse response;
    import(response, buildResponse(good()));
    EXPECT_THAT(response.Verify(nullptr, nullptr), IsStatus(0));
    EXPECT_THAT(response.VerifyCertificate(nullptr, false, nullptr, 0), IsStatus(0));
    import(response, buildResponse(by(another)));
    EXPECT_THAT(response.Verify(nullptr, nullptr), IsStatus(status::kBadSignature)) << "the first one's key";
    EXPECT_THAT(thrownStatus([&] { return response.VerifySR(0, nullptr, nullptr); }), IsStatus(status::kNotSuccessful))
        << "verdicts about the first message do not apply to the second";
    EXPECT_THAT(CResponse(response).Verify(nullptr, nullptr), IsStatus(0)) << "a copy searches for itself";
    ASSERT_NE(response.get_OCSPCertificate(nullptr, 0), nullptr);
    EXPECT_THAT(response.Verify(nullptr, nullptr), IsStatus(0));
}

TEST_F(Verify, ChecksASha1SignatureByTheSettingsOfTheMoment) {
    ResponseSpec spec = good();
    spec.hash = "SHA1";
    settings("", "accept_sha1 = true\n");
    CResponse response;
    import(response, buildResponse(spec));
    EXPECT_THAT(response.Verify(nullptr, nullptr), IsStatus(0));
    settings("");
    EXPECT_THAT(thrownStatus([&] { return response.Verify(nullptr, nullptr); }), IsStatus(status::kBadAlgorithm));
}

TEST_F(Verify, FindsTheSignerWhereverItIs) {
    ResponseSpec spec = good();
    spec.exactCertificates = std::vector<Bytes>{};
    CResponse response;
    import(response, buildResponse(spec));
    EXPECT_EQ(response.get_OCSPCertificate(nullptr, 0), nullptr);
    EXPECT_THAT(thrownStatus([&] { return response.Verify(nullptr, nullptr); }), IsStatus(status::kCryptNotFound));
    const ATL2::CCertStore store = storeOf({pki_.good, responder_});
    void* stores[] = {store.get()};
    const _CERT_CONTEXT* found = response.get_OCSPCertificate(stores, 1);
    EXPECT_EQ(encodingOf(found), responder_.certificate);
    // Its issuer is only in a store of the caller.
    const ATL2::CCertStore issuers = storeOf({pki_.ca});
    void* chainStores[] = {nullptr, store.get(), issuers.get()};
    EXPECT_THAT(response.VerifyCertificate(found, true, chainStores, 2), IsStatus(status::kChaining));
    EXPECT_THAT(response.VerifyCertificate(found, true, chainStores, 3), IsStatus(0));

    // Of all stores together, 64 that fit the responder id are tried.
    const CertificateSpec sameName{.commonName = "responder", .key = Key::make()};
    for (int i = 0; i < 40; ++i) {
        spec.exactCertificates->push_back(issue(pki_.ca, sameName).certificate);
    }
    for (const std::size_t more : {23, 24}) {
        std::vector<Identity> others;
        for (std::size_t i = 0; i < more; ++i) {
            others.push_back(issue(pki_.ca, sameName));
        }
        others.push_back(responder_);
        const ATL2::CCertStore crowd = storeOf(others);
        stores[0] = crowd.get();
        CResponse crowded;
        import(crowded, buildResponse(spec));
        EXPECT_EQ(crowded.get_OCSPCertificate(stores, 1) != nullptr, more == 23) << more;
    }

    spec.exactCertificates = std::vector<Bytes>{};
    folder_.write("user/AddressBook/responder.pem", responder_.certificatePem());
    CResponse fromUserStore;
    import(fromUserStore, buildResponse(spec));
    EXPECT_NE(fromUserStore.get_OCSPCertificate(nullptr, 0), nullptr);
}

}  // namespace
