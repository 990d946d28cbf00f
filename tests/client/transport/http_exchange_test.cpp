// One exchange: which way is chosen, its arguments, and how its outcome is read. Statuses and blob counts that
// no healthy service gives come from a script; the settings are read once per process, so this is a separate program.
#include "client/transport/http_exchange.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "tests/client/support/client_test.h"
#include "tests/scripted_service/scripted_service.h"

namespace {

using namespace testkit;
using ocsp::Client::kOcspHeaders;
using ocsp::Client::SendRequest;
using ocsp::Client::WinHTTPParams;
using testing::_;
using testing::StrEq;

// A service without a version. It is read once per process, by the first direct exchange, so every test with one
// plays it.
class OldService : public Overlay {
public:
    OldService() { ON_CALL(*this, CryptGetProvParam).WillByDefault(testing::Return(FALSE)); }
};

class HttpExchange : public testing::Test {
protected:
    HttpExchange() {
        params_.OCSPAddress = L"http://o/";
        params_.HTTPStatus = 77;
    }

    Orvane::CBlob send(bool allowCache, bool cacheOnly, const wchar_t* headers = kOcspHeaders) {
        return SendRequest(&params_, L"agent", headers, &request_, false, allowCache, nullptr, cacheOnly);
    }

    SettingsFile settings_{
        "[config.Basalt]\nSendRequestTimeoutMilliseconds = 1234\n"
        "[config.Basalt.cache_settings]\nOcspValiditySeconds = 60\n"};
    WinHTTPParams params_;
    Orvane::CBlob request_ = blob(fromHex("FBEFFF01"));  // "++//AQ==": every character that must be escaped
};

TEST_F(HttpExchange, RetrievesByAUrlThatCarriesBodyAndHeader) {
    struct Row {
        bool allowCache, cacheOnly;
        DWORD flags;
    };
    for (const Row& row : {Row{false, false, 0x100004}, Row{true, false, 0x100000}, Row{false, true, 0x100006},
                           Row{true, true, 0x100002}}) {
        Overlay service;
        EXPECT_CALL(service, CryptRetrieveObjectByUrlW(
                                 StrEq(L"http://o//%2B%2B%2F%2FAQ%3D%3D?Content-type: application/ocsp-request"),
                                 CONTEXT_OID_OCSP_RESP, row.flags, 1234, _, nullptr, nullptr, nullptr, _))
            .WillOnce([](auto, auto, auto, auto, void** object, auto, auto, auto, CRYPT_RETRIEVE_AUX_INFO* info) {
                EXPECT_EQ(info->cbSize, 88u);
                *object = blobArray({0x42});
                return TRUE;
            });
        EXPECT_EQ(bytes(send(row.allowCache, row.cacheOnly)), fromHex("42"));
        EXPECT_EQ(params_.HTTPStatus, 200u);
    }
}

TEST_F(HttpExchange, ReadsTheOutcomeOfARetrieval) {
    for (const auto& [reported, shown] : {std::pair{503u, 503u}, std::pair{0u, 456u}}) {
        Overlay service;
        EXPECT_CALL(service, CryptRetrieveObjectByUrlW)
            .WillOnce(
                [reported = reported](auto, auto, auto, auto, auto, auto, auto, auto, CRYPT_RETRIEVE_AUX_INFO* info) {
                    info->dwHttpStatusCode = reported;
                    return FALSE;
                });
        EXPECT_EQ(send(false, false).cbData(), 0u);
        EXPECT_EQ(params_.HTTPStatus, shown);
    }
    for (const DWORD count : {0u, 2u}) {
        Overlay service;
        EXPECT_CALL(service, CryptRetrieveObjectByUrlW)
            .WillOnce([count](auto, auto, auto, auto, void** object, auto, auto, auto, auto) {
                *object = blobArray({0x42}, count);
                return TRUE;
            });
        EXPECT_THAT(thrownStatus([&] { send(false, false); }), IsStatus(status::kInvalidData));
    }
}

TEST_F(HttpExchange, GoesDirectlyWithAProxyOrOtherHeaders) {
    struct Row {
        const wchar_t *proxy, *user, *headers, *credentials;
    };
    for (const Row& row :
         {Row{L"http://p/", L"", kOcspHeaders, L""}, Row{L"http://p/", L"u", kOcspHeaders, L"u:secret"},
          Row{L"", L"u", kOcspHeaders, L"u:secret"}, Row{L"", L"", L"X: y", L""}}) {
        params_.ProxyAddress = row.proxy;
        params_.ProxyUserName = row.user;
        params_.ProxyPassword = L"secret";
        params_.HTTPStatus = 77;
        OldService service;
        EXPECT_CALL(service, CryptRetrieveObjectByUrlW).Times(0);
        EXPECT_CALL(service, SendPKIRequest(StrEq(L"http://o/"), StrEq(L"agent"), StrEq(row.headers), StrEq(row.proxy),
                                            StrEq(row.credentials), _, _))
            .WillOnce([](auto, auto, auto, auto, auto, const PKI_EXCHANGE_BUFFER* sent, PKI_EXCHANGE_BUFFER* received) {
                EXPECT_EQ(sent->size, 4u);
                EXPECT_EQ(sent->capacity, 4096u);
                EXPECT_EQ(received->data, nullptr);
                received->data = std::make_unique<BYTE[]>(3).release();
                std::memcpy(received->data, "abc", 3);
                received->size = received->capacity = 3;
                return 500UL;
            });
        EXPECT_EQ(bytes(send(false, false, row.headers)), bytesOf("abc")) << "the body is what came";
        EXPECT_EQ(params_.HTTPStatus, 500u);
        EXPECT_EQ(send(false, true, row.headers).cbData(), 0u) << "this way has no cache, so nothing is exchanged";
        EXPECT_EQ(params_.HTTPStatus, 500u);
    }
}

TEST_F(HttpExchange, SetsTheLastErrorThatAnOlderServiceDoesNotSet) {
    params_.ProxyAddress = L"http://p/";
    for (const auto& [status, lastError] : {std::pair{200UL, 5U},
                                            {404UL, 12007U},
                                            {407UL, 12187U},
                                            {503UL, 12029U},
                                            {507UL, 8U},
                                            {0UL, 12004U},
                                            {418UL, 12004U}}) {
        OldService service;
        EXPECT_CALL(service, SendPKIRequest).WillOnce([answer = status](auto...) {
            SetLastError(5);
            return answer;
        });
        send(false, false);
        EXPECT_EQ(GetLastError(), lastError) << status;
    }
}

}  // namespace
