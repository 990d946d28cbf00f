// Which service calls signing and checking requestors make, and how they treat answers that no healthy service gives.
#include <gtest/gtest.h>

#include <cstring>

#include "client/flat/ocsp_client.h"
#include "client/request/signature_algorithm.h"
#include "tests/client/support/client_test.h"
#include "tests/scripted_service/scripted_service.h"

namespace {

using namespace testkit;
using testing::_;
using testing::DoAll;
using testing::Return;
using testing::SetArgPointee;

class RequestorService : public testing::Test {
protected:
    RequestorService() {
        request_.put_UseNonce(false);
        request_.put_SRCertIDFromCert(contextOf(pki_.good).get(), contextOf(pki_.ca).get(), 0, nullptr);
    }

    Overlay service_;  // outlives the handles of the tests
    const Pki& pki_ = Pki::shared();
    TempDir folder_;
    SettingsFile settings_{"[crypto]\nsystem_roots = false\n"};
    CRequest request_;
    ATL2::CCertContext signer_ = contextOf(pki_.good);
};

TEST_F(RequestorService, ChoosesTheFirstHashThatFitsTheKey) {
    struct Row {
        const char* what;
        std::vector<ALG_ID> listed;
        const char* expected;
    };
    for (const Row& row : {Row{"the provider's order counts", {CALG_SHA_384, CALG_SHA_256}, "1.2.840.10045.4.3.3"},
                           Row{"no hash", {CALG_ECDSA, CALG_SHA_512, CALG_SHA_256}, "1.2.840.10045.4.3.4"},
                           Row{"a hash without a signature", {CALG_MD5, CALG_SHA_256}, "1.2.840.10045.4.3.2"},
                           Row{"none fits", {CALG_MD5, CALG_ECDSA}, "BadAlgorithm"}}) {
        std::size_t next = 0;
        EXPECT_CALL(service_, CryptGetProvParam(77, PP_ENUMALGS, _, _, _))
            .WillRepeatedly([&](auto, auto, BYTE* data, DWORD* size, DWORD flags) {
                EXPECT_EQ(*size, 32u);
                EXPECT_EQ(flags, next == 0 ? 1u : 0u);
                if (next == row.listed.size()) {
                    SetLastError(ERROR_NO_MORE_ITEMS);
                    return FALSE;
                }
                std::memcpy(data, &row.listed[next++], sizeof(ALG_ID));
                return TRUE;
            });
        EXPECT_EQ(answered([&] { return Orvane::GetSignAlg(77, signer_.get()); }), row.expected) << row.what;
    }
}

TEST_F(RequestorService, ReleasesNoKeyThatTheServiceKeeps) {
    EXPECT_CALL(service_, CryptAcquireCertificatePrivateKey(signer_.get(), 2, nullptr, _, _, _))
        .WillOnce(DoAll(SetArgPointee<3>(77), SetArgPointee<5>(FALSE), Return(TRUE)));
    EXPECT_CALL(service_, CryptGetProvParam(77, _, _, _, _)).WillOnce(failing(FALSE, 5));
    EXPECT_CALL(service_, CryptReleaseContext(77, _)).Times(0);
    EXPECT_THAT(thrownStatus([&] { request_.Sign(signer_.get(), CRequest::CertsNone, nullptr); }),
                IsStatus(status::kBadAlgorithm));
}

TEST_F(RequestorService, AnEmptyChainAddsNothingToTheSigner) {
    ScriptedChain chain(0, 0);
    ASSERT_TRUE(crypto_set_key_uri(signer_.get(), folder_.write("signer.key", pki_.good.key.pem()).c_str()));
    EXPECT_CALL(service_, CertGetCertificateChain).WillRepeatedly(chain.asResult());
    EXPECT_CALL(service_, CertFreeCertificateChain(&chain.context)).WillRepeatedly(Return());
    for (const DWORD count : {0U, 1U}) {
        for (const auto include : {CRequest::CertsChainNoRoot, CRequest::CertsChainWithRoot}) {
            chain.context.cChain = count;
            CRequest request(request_);
            request.Sign(signer_.get(), include, nullptr);
            const _CERT_CONTEXT* const first = CertEnumCertificatesInStore(request.get_Certificates(), nullptr);
            ASSERT_NE(first, nullptr);
            EXPECT_EQ(CertEnumCertificatesInStore(request.get_Certificates(), first), nullptr) << "only the signer";
        }
    }
}

TEST_F(RequestorService, RejectsChainsThatThePolicyDidNotCheck) {
    struct Row {
        const char* what;
        DWORD chains, elements;
        BOOL judged;
        DWORD lastError, error;
        std::int32_t expected;  // returned or thrown
    };
    for (const Row& row :
         {Row{"no objection", 1, 1, TRUE, 5, 0, 0},
          Row{"refused", 1, 1, TRUE, 0, static_cast<DWORD>(status::kCryptRevoked), status::kCryptRevoked},
          Row{"no chain", 0, 0, TRUE, 0, 0, status::kTrustFail},
          Row{"an empty chain", 1, 0, TRUE, 0, 0, status::kTrustFail},
          Row{"failed", 1, 1, FALSE, 5, 0, static_cast<std::int32_t>(0x80070005)},
          Row{"failed without a last error", 1, 1, FALSE, 0, 0, status::kFail}}) {
        ScriptedChain chain(row.chains, row.elements);
        constexpr DWORD kFlags =
            CERT_CHAIN_REVOCATION_CHECK_CHAIN_EXCLUDE_ROOT | CERT_CHAIN_DISABLE_AUTH_ROOT_AUTO_UPDATE;
        constexpr DWORD kCached = CERT_CHAIN_REVOCATION_CHECK_CACHE_ONLY | CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL |
                                  CERT_CHAIN_DISABLE_AUTH_ROOT_AUTO_UPDATE;
        // First with cached data only; the network is used only when that gives a sound chain.
        const bool isSound = row.elements != 0;
        testing::InSequence order;
        for (const DWORD flags : isSound ? std::vector<DWORD>{kCached, kFlags} : std::vector<DWORD>{kCached}) {
            EXPECT_CALL(service_, CertGetCertificateChain(nullptr, _, nullptr, _, _, flags, nullptr, _))
                .WillOnce(chain.asResult());
        }
        EXPECT_CALL(service_, CertVerifyCertificateChainPolicy(testing::StrEq("{B52FF66F-13A5-402C-B958-A3A6B5300FB6}"),
                                                               &chain.context, _, _))
            .WillOnce([&](auto, auto, CERT_CHAIN_POLICY_PARA* parameters, CERT_CHAIN_POLICY_STATUS* result) {
                EXPECT_EQ(parameters->dwFlags, 0x40000000u);
                result->dwError = row.error;
                SetLastError(row.lastError);
                return row.judged;
            });
        EXPECT_CALL(service_, CertFreeCertificateChain(&chain.context)).Times(isSound ? 2 : 1).WillRepeatedly(Return());
        EXPECT_THAT(outcomeOf([&] { return request_.VerifyCertificate(signer_.get(), nullptr, 0); }),
                    IsStatus(row.expected))
            << row.what;
    }
}

TEST_F(RequestorService, APlainFunctionReportsAFailureWithoutALastError) {
    const Bytes request = readFile("data/schema/request-signed.der");
    EXPECT_CALL(service_, CertCreateCertificateContext).WillOnce(failing(nullptr, 0));
    unsigned char* response = nullptr;
    unsigned long size = 0;
    EXPECT_THAT(ocspSendRequest(request.data(), request.size(), &response, &size), IsStatus(status::kFail));
}

}  // namespace
