// The scripted service: faults that no healthy one shows never lead to success, and a signature is checked once.
#include <gtest/gtest.h>

#include <utility>

#include "client/flat/response_handler.h"
#include "tests/client/support/client_test.h"
#include "tests/scripted_service/scripted_service.h"
#include "tests/support/http_server.h"

namespace {

using namespace testkit;

class ServiceFaults : public testing::Test {
protected:
    ServiceFaults() {
        const std::string cache = "[config.Basalt.cache_settings]\nOcspValiditySeconds = 60\n";
        support_settings_open(folder_.write("settings.toml", machineSettings(folder_, cache)).c_str());
        folder_.write("user/CA/ca.pem", pki_.ca.certificatePem());
    }

    static Bytes answerAbout(const Identity& leaf) {
        const Pki& pki = Pki::shared();
        return buildResponse(ResponseSpec(pki.delegate, {EntrySpec(certIdOf(leaf, pki.ca))}));
    }
    static Identity withTwoResponders() {
        return issue(Pki::shared().ca, {.ocspUrls = {"http://first/", "http://second/"}});
    }

    Overlay service_;  // outlives the handles of the tests
    const Pki& pki_ = Pki::shared();
    TempDir folder_;
};

TEST_F(ServiceFaults, AnEmptyChainIsNotTrusted) {
    const Bytes der = answerAbout(pki_.good);
    ScriptedChain chain(0, 0);
    EXPECT_CALL(service_, CertGetCertificateChain).WillRepeatedly(chain.asResult());
    EXPECT_CALL(service_, CertFreeCertificateChain(&chain.context)).Times(2).WillRepeatedly(testing::Return());
    EXPECT_CALL(service_, CertVerifyCertificateChainPolicy).Times(2).WillRepeatedly(testing::Return(TRUE));
    for (const DWORD count : {0U, 1U}) {
        chain.context.cChain = count;
        CResponse response;
        response.Import(der.data(), der.size(), nullptr);
        EXPECT_THAT(response.VerifyCertificate(nullptr, false, nullptr, 0), IsStatus(status::kTrustFail)) << count;
        EXPECT_THAT(response.VerifySR(0, nullptr, nullptr), IsStatus(status::kWrongUsage));
    }
}

TEST_F(ServiceFaults, AFailureWithoutALastErrorIsThrown) {
    const Bytes der = answerAbout(pki_.good);
    const ATL2::CCertContext good = contextOf(pki_.good);
    CResponse response;
    response.Import(der.data(), der.size(), nullptr);
    EXPECT_CALL(service_, CertGetCertificateChain).Times(2).WillRepeatedly(failing(FALSE, 0));
    EXPECT_THAT(thrownStatus([&] { return response.VerifyCertificate(nullptr, false, nullptr, 0); }),
                IsStatus(status::kFail));
    EXPECT_THAT(thrownStatus([&] { response.get_SRIndexByCert(good.get(), nullptr); }), IsStatus(status::kFail));
    EXPECT_CALL(service_, CertGetCertificateContextProperty).WillRepeatedly(failing(FALSE, 0));
    EXPECT_THAT(thrownStatus([&] { return ocsp::Client::IsOCSPAuthorized(good.get()); }), IsStatus(status::kFail));
    ATL::CStringA value;
    EXPECT_THAT(good.GetProperty(CERT_SHA1_HASH_PROP_ID, value), IsStatus(status::kFail));
    EXPECT_CALL(service_, CryptVerifyCertificateSignatureEx).WillOnce(failing(FALSE, 0));
    EXPECT_THAT(thrownStatus([&] { return response.Verify(good.get(), nullptr); }), IsStatus(status::kFail));
}

TEST_F(ServiceFaults, OneSuccessfulSignatureCheckHoldsForItsCertificateAndMessage) {
    const Bytes der = answerAbout(pki_.good);
    const ATL2::CCertContext other = contextOf(pki_.good);
    CResponse response;
    response.Import(der.data(), der.size(), nullptr);
    EXPECT_CALL(service_, CryptVerifyCertificateSignatureEx).Times(1);
    const ATL2::CCertContext signer = ATL2::CCertContext::duplicate(response.get_OCSPCertificate(nullptr, 0));
    EXPECT_THAT(response.Verify(signer.get(), nullptr), IsStatus(0));
    EXPECT_THAT(response.Verify(contextOf(pki_.delegate).get(), nullptr), IsStatus(0)) << "the same by content";
    testing::Mock::VerifyAndClearExpectations(&service_);
    // Success of one check is no success of another.
    EXPECT_CALL(service_, CryptVerifyCertificateSignatureEx)
        .Times(3)
        .WillRepeatedly(failing(FALSE, static_cast<DWORD>(status::kBadSignature)));
    EXPECT_THAT(response.Verify(other.get(), nullptr), IsStatus(status::kBadSignature));
    EXPECT_THAT(CResponse(response).Verify(signer.get(), nullptr), IsStatus(status::kBadSignature));
    response.Import(der.data(), der.size(), nullptr);
    EXPECT_THAT(response.Verify(signer.get(), nullptr), IsStatus(status::kBadSignature));
}

TEST_F(ServiceFaults, ARevocationCheckWithoutALastErrorFails) {
    struct Row {
        BOOL result;
        DWORD lastError;
        std::int32_t expected;
    };
    const CResponse response;
    const ATL2::CCertContext good = contextOf(pki_.good);
    const ATL2::CCertContext ca = contextOf(pki_.ca);
    for (const Row& row : {Row{TRUE, 5, 0}, Row{FALSE, 0, status::kFail},
                           Row{FALSE, static_cast<DWORD>(status::kCryptRevoked), status::kCryptRevoked},
                           Row{FALSE, 5, static_cast<std::int32_t>(0x80070005)}}) {
        EXPECT_CALL(service_, CertVerifyRevocation).WillOnce(failing(row.result, row.lastError));
        EXPECT_THAT(response.VerifyRevocation(good.get(), ca.get(), nullptr), IsStatus(row.expected));
    }
}

TEST_F(ServiceFaults, AnEarlierResponseIsNotReturnedForAFailedExchange) {
    const Identity leaf = withTwoResponders();
    CRequest request(contextOf(leaf).get(), contextOf(pki_.ca).get());
    request.put_UseNonce(false);
    EXPECT_CALL(service_, CryptRetrieveObjectByUrlW).WillOnce([&](auto, auto, auto, auto, void** object, auto...) {
        *object = blobArray(answerAbout(leaf));
        return TRUE;
    });
    EXPECT_EQ(request.Send(false).get_SRNumber(), 1u);
    // The URL cannot be made, and the service does not say why: a failure whose status reads as success.
    EXPECT_CALL(service_, CryptBinaryToStringW).Times(2).WillRepeatedly(failing(FALSE, 0));
    EXPECT_THAT(thrownStatus([&] { request.Send(false); }), IsStatus(status::kFail));
}

TEST_F(ServiceFaults, KeepsTheEarlierAnswerWhenMemoryRunsOut) {
    const Identity leaf = withTwoResponders();
    CRequest request(contextOf(leaf).get(), contextOf(pki_.ca).get());
    request.put_UseNonce(false);
    struct Refusing : ocsp::Client::IResponseHandler {
        std::int32_t OnResponse(const CResponse&) override { return 7; }
    } handler;
    request.put_ResponseHandler(&handler);
    int exchanges = 0;
    EXPECT_CALL(service_, CryptRetrieveObjectByUrlW)
        .Times(2)
        .WillRepeatedly([&](auto, auto, auto, auto, void** object, auto...) {
            *object = blobArray(answerAbout(leaf));
            ++exchanges;
            return TRUE;
        });
    // The store of the second response cannot be opened.
    bool wasRefused = false;
    EXPECT_CALL(service_, CertOpenStore).Times(testing::AnyNumber());
    EXPECT_CALL(service_, CertOpenStore(testing::Truly([&](LPCSTR provider) {
                                            return provider == CERT_STORE_PROV_MEMORY && exchanges == 2 &&
                                                   !std::exchange(wasRefused, true);
                                        }),
                                        testing::_, testing::_, testing::_, testing::_))
        .WillOnce(failing(HCERTSTORE{}, ERROR_NOT_ENOUGH_MEMORY));
    EXPECT_EQ(request.Send(false).get_SRNumber(), 1u) << "the refused answer of the first";
    ASSERT_EQ(request.get_Attempts().size(), 2u);
    EXPECT_THAT(request.get_Attempts()[1].status, IsStatus(status::kNotEnoughMemory));
    EXPECT_FALSE(request.get_Proven());
}

// ---- The cache ------------------------------------------------------------------------------------------------------

TEST_F(ServiceFaults, ARefusedAnswerLeavesTheCacheAndTheResponderIsAskedAgain) {
    const auto root = contextOf(pki_.root);
    ASSERT_TRUE(crypto_add_trusted_root(root.get()));
    folder_.write("user/CA/root.crl", makeCrl(pki_.root, {}));
    folder_.write("user/CA/ca.crl", makeCrl(pki_.ca, {}));
    ResponseSpec spec(pki_.delegate, {EntrySpec(certIdOf(pki_.good, pki_.ca))});
    const Bytes good = buildResponse(spec);
    spec.corruptSignature = true;
    const Bytes forged = buildResponse(spec);
    spec.corruptSignature = false;
    spec.entries[0].status = EntryStatus::kRevoked;
    const Bytes revoked = buildResponse(spec);
    Bytes answer;
    HttpServer server([&](const HttpRequest&) { return HttpReply{.body = answer}; });

    CRequest request(contextOf(pki_.good).get(), contextOf(pki_.ca).get());
    request.put_UseNonce(false);
    request.put_OCSPAddress(wide(server.url()).c_str());
    const auto send = [&](const Bytes& served, unsigned flags, bool verify = true) {
        answer = served;
        request.put_Flags(flags);
        return thrownStatus([&] { request.Send(verify); });
    };
    auto numAsked = [&, before = std::size_t{0}]() mutable {
        return server.requests().size() - std::exchange(before, server.requests().size());
    };
    constexpr unsigned kCache = CRequest::kFlagAllowCache;
    constexpr unsigned kOnly = CRequest::kFlagCacheOnly;
    EXPECT_THAT(send(forged, kCache), IsStatus(status::kCryptNotFound)) << "from the responder itself";
    EXPECT_EQ(numAsked(), 1u) << "asking again would not help";
    EXPECT_THAT(send(good, kCache), IsStatus(0)) << "the forged one was not kept";
    EXPECT_EQ(numAsked(), 1u);
    EXPECT_THAT(send(forged, kCache), IsStatus(0)) << "from the cache";
    EXPECT_TRUE(request.get_Proven() && request.get_Attempts()[0].fromCache);
    EXPECT_EQ(numAsked(), 0u);

    EXPECT_THAT(send(forged, 0, false), IsStatus(0)) << "kept unverified";
    EXPECT_THAT(send(good, kCache), IsStatus(0)) << "refused, removed, asked again";
    ASSERT_EQ(request.get_Attempts().size(), 2u);
    EXPECT_TRUE(request.get_Attempts()[0].fromCache && request.get_Attempts()[0].status != 0);
    EXPECT_TRUE(!request.get_Attempts()[1].fromCache && request.get_Proven());
    EXPECT_EQ(numAsked(), 2u);
    EXPECT_THAT(send(forged, kOnly), IsStatus(0)) << "the good one was kept";

    EXPECT_THAT(send(forged, 0, false), IsStatus(0));
    EXPECT_THAT(send(good, kOnly), IsStatus(status::kCryptNotFound));
    EXPECT_EQ(numAsked(), 1u) << "the network is not used";
    EXPECT_THAT(send(good, kOnly), IsStatus(status::kHttpStatus)) << "but the forged one is gone";

    EXPECT_THAT(send(revoked, kCache), IsStatus(status::kCertificateRevoked));
    EXPECT_THAT(send(good, kCache), IsStatus(status::kCertificateRevoked)) << "a proven answer stays";
    EXPECT_EQ(numAsked(), 1u);
    crypto_forget_trusted_roots();
}

}  // namespace
