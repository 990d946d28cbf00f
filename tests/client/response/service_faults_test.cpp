// What becomes of a verdict when a service fails in a way that no healthy one does: never a success.
#include <gtest/gtest.h>

#include "tests/client/support/client_test.h"
#include "tests/scripted_service/scripted_service.h"

namespace {

using namespace testkit;

class ServiceFaults : public testing::Test {
protected:
    ServiceFaults() {
        support_settings_open(folder_
                                  .write("settings.toml", "[crypto]\nsystem_roots = false\nmachine_stores = \"" +
                                                              folder_.file("machine") + "\"\nuser_stores = \"" +
                                                              folder_.file("user") +
                                                              "\"\n[config.Basalt.cache_settings]\n"
                                                              "OcspValiditySeconds = 60\n")
                                  .c_str());
        folder_.write("user/CA/ca.pem", pki_.ca.certificatePem());
    }

    static Bytes answerAbout(const Identity& leaf) {
        const Pki& pki = Pki::shared();
        ResponseSpec spec(pki.delegate);
        spec.entries.emplace_back(certIdOf(leaf, pki.ca));
        return buildResponse(spec);
    }

    Overlay service_;  // outlives the handles of the tests
    const Pki& pki_ = Pki::shared();
    TempDir folder_;
};

TEST_F(ServiceFaults, AChainOfNothingIsNotBelieved) {
    const Bytes der = answerAbout(pki_.good);
    CERT_SIMPLE_CHAIN withoutElements{};
    CERT_SIMPLE_CHAIN* chains[] = {&withoutElements};
    CERT_CHAIN_CONTEXT chain{};
    chain.rgpChain = chains;
    EXPECT_CALL(service_, CertGetCertificateChain)
        .WillRepeatedly([&chain](auto, auto, auto, auto, auto, auto, auto, PCCERT_CHAIN_CONTEXT* made) {
            *made = &chain;
            return TRUE;
        });
    EXPECT_CALL(service_, CertFreeCertificateChain(&chain)).Times(2).WillRepeatedly(testing::Return());
    EXPECT_CALL(service_, CertVerifyCertificateChainPolicy).Times(2).WillRepeatedly(testing::Return(TRUE));
    for (const DWORD count : {0U, 1U}) {
        chain.cChain = count;
        CResponse response;
        response.Import(der.data(), der.size(), nullptr);
        EXPECT_THAT(response.VerifyCertificate(nullptr, false, nullptr, 0), IsStatus(status::kTrustFail)) << count;
        EXPECT_THAT(response.VerifySR(0, nullptr, nullptr), IsStatus(status::kWrongUsage));
    }
}

TEST_F(ServiceFaults, AFailureWithoutAReasonIsThrownAsAFailure) {
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

TEST_F(ServiceFaults, ARevocationCheckThatFailsWithoutAReasonFails) {
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

TEST_F(ServiceFaults, AnEarlierAnswerDoesNotStandInForOneThatWasNotReceived) {
    CertificateSpec spec;
    spec.ocspUrls = {"http://first/", "http://second/"};
    const Identity leaf = issue(pki_.ca, spec);
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

}  // namespace
