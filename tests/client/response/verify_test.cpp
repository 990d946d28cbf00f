// The judgement on responses: signature, responder, authorisation, revocation, times, critical extensions.
#include <filesystem>
#include <functional>

#include "tests/client/support/client_test.h"
#include "tests/support/http_server.h"
#include "tests/support/tlv.h"

namespace {

using namespace testkit;

class Verify : public ClientTest {
protected:
    Verify() {
        CertificateSpec spec = delegateSpec("responder");
        spec.keyUsage = "critical,digitalSignature";
        responder_ = issue(pki_.ca, spec);
        // The responder is exempt from the revocation check; the CA above it is not.
        folder_.write("user/CA/root.crl", makeCrl(pki_.root, {}));
    }

    ResponseSpec good() const { return by(responder_); }
    ResponseSpec by(const Identity& signer) const {
        ResponseSpec spec(signer);
        spec.entries.emplace_back(certIdOf(pki_.good, pki_.ca));
        spec.certificates = {pki_.ca.certificate};
        return spec;
    }

    // As the library's own handler goes about it; the first verdict that is not 0.
    static std::int32_t judge(const Bytes& der) {
        CResponse response;
        import(response, der);
        const _CERT_CONTEXT* signer = response.get_OCSPCertificate(nullptr, 0);
        std::int32_t verdict = response.Verify(signer, nullptr);
        if (verdict == 0) {
            verdict = response.VerifyCertificate(signer, true, nullptr, 0);
        }
        return verdict;
    }

    static std::string thumbprint(const Identity& identity) {
        DWORD size = 20;
        Bytes hash(size);
        CertGetCertificateContextProperty(contextOf(identity).get(), CERT_SHA1_HASH_PROP_ID, hash.data(), &size);
        return toHex(hash);
    }

    Identity responder_;
};

TEST_F(Verify, JudgesResponses) {
    struct Row {
        const char* what;
        std::function<ResponseSpec()> make;
        std::int32_t expected;  // returned or thrown
    };
    const auto changed = [this](const std::function<void(ResponseSpec&)>& change) {
        return [this, change] {
            ResponseSpec spec = good();
            change(spec);
            return spec;
        };
    };
    CertificateSpec old = delegateSpec("old");
    old.notBeforeSeconds = -10L * 24 * 3600;
    old.notAfterSeconds = -24 * 3600;
    CertificateSpec plain;
    plain.ocspNoCheck = true;
    const Identity expired = issue(pki_.ca, old);
    const Identity withoutUsage = issue(pki_.ca, plain);
    const Row rows[] = {
        {"a delegate of the issuer", [this] { return good(); }, 0},
        {"the issuer itself", [this] { return by(pki_.ca); }, 0},
        {"named by key", changed([](ResponseSpec& s) { s.responderIdKind = ResponderIdKind::kByKey; }), 0},
        {"signature altered", changed([](ResponseSpec& s) { s.corruptSignature = true; }), status::kCryptNotFound},
        {"no usage for OCSP", [&] { return by(withoutUsage); }, status::kWrongUsage},
        {"expired when it answered", [&] { return by(expired); }, status::kCertExpired},
        {"the asked certificate signs for itself", [this] { return by(pki_.good); }, status::kWrongUsage},
        {"a critical extension of the response", changed([](ResponseSpec& s) {
             s.extensions.push_back({"1.2.3", true, fromHex("0500")});
         }),
         status::kCertCritical},
        {"a critical extension of an entry", changed([](ResponseSpec& s) {
             s.entries[0].extensions.push_back({"1.2.3", true, fromHex("0500")});
         }),
         status::kCriticalSingleExtension},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const Bytes der = buildResponse(row.make());
        std::int32_t verdict = 0;
        const std::int32_t thrown = thrownStatus([&] { verdict = judge(der); });
        EXPECT_THAT(thrown != 0 ? thrown : verdict, IsStatus(row.expected));
    }
}

TEST_F(Verify, AChainWithoutATrustedRootIsRefused) {
    crypto_forget_trusted_roots();
    EXPECT_NE(judge(buildResponse(good())), 0);
}

TEST_F(Verify, SaysWhichEntriesTheResponderMayAnswer) {
    ResponseSpec spec = good();
    spec.entries.emplace_back(certIdOf(pki_.good, pki_.sibling));
    CResponse response;
    import(response, buildResponse(spec));
    EXPECT_THAT(thrownStatus([&] { return response.VerifySR(0, nullptr, nullptr); }), IsStatus(status::kNotSuccessful))
        << "nobody has looked at the responder yet";
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

TEST_F(Verify, CriticalExtensionsAreRefusedAsTheListSays) {
    ResponseSpec spec = good();
    spec.extensions.push_back({"1.2.3.4", true, fromHex("0500")});
    spec.extensions.push_back({"1.2.3.5", false, fromHex("0500")});
    CResponse response;
    import(response, buildResponse(spec));
    for (const char* refusing : {static_cast<const char*>(nullptr), "1.2.3.4", "9.9;1.2.3.4;8.8"}) {
        EXPECT_THAT(response.Verify(nullptr, refusing), IsStatus(status::kCertCritical))
            << (refusing ? refusing : "null");
    }
    for (const char* list : {"*", "", "1.2.3.5", "1.2.3", "1.2.3.40", "11.2.3.4", " 1.2.3.4"}) {
        EXPECT_THAT(response.Verify(nullptr, list), IsStatus(0)) << list;
    }
    EXPECT_THAT(response.Verify(contextOf(pki_.ca).get(), "*"), IsStatus(status::kBadSignature));
}

TEST_F(Verify, AnswersAboutACertificateAfterItsEndAreVoid) {
    CertificateSpec spec;
    spec.notAfterSeconds = 100;
    const Identity shortLived = issue(pki_.ca, spec);
    for (const auto& [thisUpdate, expected] : {std::pair{99L, 0}, std::pair{100L, status::kCertExpired}}) {
        ResponseSpec answer = good();
        answer.entries[0] = EntrySpec(certIdOf(shortLived, pki_.ca));
        // The certificate's end was fixed some moments ago: its own field is the yardstick.
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
    CertificateSpec spec;
    spec.commonName = "checked";
    spec.extendedKeyUsage = "OCSPSigning";
    spec.crlUrls = {crls.url("/ca.crl")};
    spec.caIssuersUrls = {crls.url("/ca.cer")};
    const Identity checked = issue(pki_.ca, spec);
    ResponseSpec forged = by(checked);
    forged.corruptSignature = true;
    forged.certificates.clear();
    EXPECT_THAT(thrownStatus([&] { return judge(buildResponse(forged)); }), IsStatus(status::kCryptNotFound));
    EXPECT_EQ(crls.requests().size(), 0u) << "no address of a certificate that did not sign";
    EXPECT_THAT(judge(buildResponse(by(checked))), IsStatus(0));
    std::filesystem::remove(folder_.file("user/CA/root.crl"));
    EXPECT_THAT(judge(buildResponse(by(checked))), IsStatus(status::kNoRevocationCheck)) << "no CRL about the CA";
    const Identity root = rootCa("a root that answers itself");
    crypto_add_trusted_root(contextOf(root).get());
    crl = makeCrl(root, {});
    const Identity direct = issue(root, spec);
    ResponseSpec answer(direct);
    answer.entries.emplace_back(certIdOf(pki_.good, root));
    EXPECT_THAT(judge(buildResponse(answer)), IsStatus(0));
    CertificateSpec second = spec;
    second.commonName = "checked and revoked";
    const Identity revoked = issue(root, second);
    crl = makeCrl(root, {.revokedSerials = {revoked.serial()}});
    ResponseSpec byRevoked(revoked);
    byRevoked.entries.emplace_back(certIdOf(pki_.good, root));
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    CResponse response;
    import(response, buildResponse(byRevoked));
    response.put_CacheResync(&now);
    EXPECT_THAT(response.VerifyCertificate(nullptr, true, nullptr, 0), IsStatus(status::kCryptRevoked));
    settings("NocheckOCSPs = [\"" + thumbprint(revoked).insert(4, " ") + "\"]\n");
    CResponse exempt;
    import(exempt, buildResponse(byRevoked));
    EXPECT_THAT(exempt.VerifyCertificate(nullptr, true, nullptr, 0), IsStatus(0)) << "exempt by policy";
}

TEST_F(Verify, AnAdministratorCanAuthoriseAResponderForAllIssuers) {
    const Identity other = rootCa("another hierarchy");
    crypto_add_trusted_root(contextOf(other).get());
    const Identity foreign = issue(other, delegateSpec("foreign"));
    const Bytes der = buildResponse(by(foreign));
    EXPECT_NE(judge(der), 0);
    settings("AuthorizedOCSPs = [\"" + thumbprint(foreign) + "\"]\n");
    EXPECT_EQ(ocsp::Client::IsOCSPAuthorized(contextOf(foreign).get()), 1);
    EXPECT_EQ(ocsp::Client::IsOCSPAuthorized(contextOf(pki_.ca).get()), 0);
    EXPECT_THAT(judge(der), IsStatus(0));
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
        << "verdicts about the first message do not count for the second";
    EXPECT_THAT(CResponse(response).Verify(nullptr, nullptr), IsStatus(0)) << "a copy searches for itself";
    ASSERT_NE(response.get_OCSPCertificate(nullptr, 0), nullptr);
    EXPECT_THAT(response.Verify(nullptr, nullptr), IsStatus(0));
}

TEST_F(Verify, FindsTheSignerWhereverItIs) {
    ResponseSpec spec = good();
    spec.exactCertificates = std::vector<Bytes>{};
    CResponse response;
    import(response, buildResponse(spec));
    EXPECT_EQ(response.get_OCSPCertificate(nullptr, 0), nullptr);
    EXPECT_THAT(thrownStatus([&] { return response.Verify(nullptr, nullptr); }), IsStatus(status::kCryptNotFound));
    ATL2::CCertStore store;
    ASSERT_EQ(store.Open(CERT_STORE_PROV_MEMORY, 0, 0, nullptr), 0);
    for (const Identity& identity : {pki_.good, responder_}) {
        ASSERT_TRUE(CertAddCertificateContextToStore(store.get(), contextOf(identity).get(),
                                                     CERT_STORE_ADD_USE_EXISTING, nullptr));
    }
    void* stores[] = {store.get()};
    const _CERT_CONTEXT* found = response.get_OCSPCertificate(stores, 1);
    EXPECT_EQ(encodingOf(found), responder_.certificate);
    // Its issuer is in a store of the caller's alone.
    ATL2::CCertStore issuers;
    ASSERT_EQ(issuers.Open(CERT_STORE_PROV_MEMORY, 0, 0, nullptr), 0);
    ASSERT_TRUE(CertAddCertificateContextToStore(issuers.get(), contextOf(pki_.ca).get(), CERT_STORE_ADD_NEW, nullptr));
    void* chainStores[] = {nullptr, store.get(), issuers.get()};
    EXPECT_THAT(response.VerifyCertificate(found, true, chainStores, 2), IsStatus(status::kChaining));
    EXPECT_THAT(response.VerifyCertificate(found, true, chainStores, 3), IsStatus(0));

    // Of all stores together, 64 that fit the responder id are tried.
    CertificateSpec sameName;
    sameName.commonName = "responder";
    sameName.key = Key::make();
    for (int i = 0; i < 40; ++i) {
        spec.exactCertificates->push_back(issue(pki_.ca, sameName).certificate);
    }
    for (const std::size_t more : {23, 24}) {
        ATL2::CCertStore crowd;
        ASSERT_EQ(crowd.Open(CERT_STORE_PROV_MEMORY, 0, 0, nullptr), 0);
        for (std::size_t i = 0; i <= more; ++i) {
            const Identity added = i < more ? issue(pki_.ca, sameName) : responder_;
            ASSERT_TRUE(
                CertAddCertificateContextToStore(crowd.get(), contextOf(added).get(), CERT_STORE_ADD_ALWAYS, nullptr));
        }
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
