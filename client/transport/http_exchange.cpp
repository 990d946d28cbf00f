#include "client/transport/http_exchange.h"

#include <pthread.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "client/policy/policy_settings.h"
#include "client/policy/settings_scope.h"
#include "client/shared/network_check.h"
#include "handles/crypto_handles.h"
#include "handles/exception.h"
#include "handles/last_error.h"
#include "handles/status.h"
#include "platform/crypto/crypto_service.h"
#include "platform/support/support_service.h"

namespace Orvane::PKI::OCSP::Client {

namespace {

constexpr DWORD kVersionedProviderType = 80;

// ---- Settings of the process, each read once, on first use ----------------------------------------------------------

bool RetrieveObjByUrlOcspAvailable = false;

void SetRetrieveObjByUrlOcspAvailable() {
    RetrieveObjByUrlOcspAvailable = readNumber(settings::OcspValiditySeconds).has_value();
}

bool retrievalAvailable() {
    if (isPolicyIgnored()) {
        return false;  // what holds here must not be read for the process
    }
    static pthread_once_t once = PTHREAD_ONCE_INIT;
    pthread_once(&once, SetRetrieveObjByUrlOcspAvailable);
    return RetrieveObjByUrlOcspAvailable;
}

unsigned int SendRequestTimeoutMilliseconds = 0;

void SetSendRequestTimeoutMilliseconds() {
    SendRequestTimeoutMilliseconds =
        static_cast<unsigned int>(readNumber(settings::SendRequestTimeoutMilliseconds).value());
}

unsigned int requestTimeout() {
    static pthread_once_t once = PTHREAD_ONCE_INIT;
    pthread_once(&once, SetSendRequestTimeoutMilliseconds);
    return SendRequestTimeoutMilliseconds;
}

DWORD CspVersion = 0;
DWORD CspBuild = 0;

void SetCspVersion() {
    HCRYPTPROV handle = 0;
    if (!CryptAcquireContextA(&handle, nullptr, nullptr, kVersionedProviderType, CRYPT_VERIFYCONTEXT)) {
        return;
    }
    const ATL::CCryptProv provider(handle);
    DWORD length = sizeof CspVersion;
    if (!CryptGetProvParam(handle, PP_VERSION, reinterpret_cast<BYTE*>(&CspVersion), &length, 0)) {
        CspVersion = 0;
        return;
    }
    PROV_VERSION_EX version{};
    length = sizeof version;
    if (CryptGetProvParam(handle, PP_VERSION_EX, reinterpret_cast<BYTE*>(&version), &length, 0)) {
        CspBuild = version.dwBuild;
    }
}

// Services up to this build do not set the last error after an exchange.
bool serviceSetsLastError() {
    static pthread_once_t once = PTHREAD_ONCE_INIT;
    pthread_once(&once, SetCspVersion);
    return CspVersion > 0x500 || (CspVersion == 0x500 && CspBuild > 13300);
}

// The status that CRequest::Send and its callers report for an HTTP status is the converted last error, 0x8007nnnn.
constexpr DWORD lastErrorOf(std::int32_t converted) {
    return static_cast<DWORD>(converted) & 0xFFFF;
}

struct LastErrorOfStatus {
    unsigned long httpStatus;
    DWORD lastError;
};
constexpr LastErrorOfStatus kLastErrors[] = {
    {400, lastErrorOf(status::kHttpBadRequest)},
    {401, lastErrorOf(status::kHttpLoginFailed)},
    {403, lastErrorOf(status::kHttpForbidden)},
    {404, lastErrorOf(status::kHttpNotFound)},
    {405, lastErrorOf(status::kHttpMethodRefused)},
    {406, lastErrorOf(status::kHttpCannotConnect)},
    {407, lastErrorOf(status::kHttpProxyLogin)},
    {408, lastErrorOf(status::kHttpTimeout)},
    {409, lastErrorOf(status::kHttpCannotConnect)},
    {410, lastErrorOf(status::kHttpCannotConnect)},
    {411, lastErrorOf(status::kHttpBadHeader)},
    {412, lastErrorOf(status::kHttpBadHeader)},
    {413, lastErrorOf(status::kHttpTooLarge)},
    {414, lastErrorOf(status::kHttpBadUrl)},
    {429, lastErrorOf(status::kHttpConnectionLost)},
    {500, lastErrorOf(status::kHttpConnectionLost)},
    {501, lastErrorOf(status::kHttpConnectionLost)},
    {502, lastErrorOf(status::kHttpBadGateway)},
    {503, lastErrorOf(status::kHttpCannotConnect)},
    {504, lastErrorOf(status::kHttpTimeout)},
    {505, lastErrorOf(status::kHttpBadRequest)},
    {506, lastErrorOf(status::kHttpCancelled)},
    {507, ERROR_NOT_ENOUGH_MEMORY},
    {508, lastErrorOf(status::kHttpBadRequest)},
};
constexpr DWORD kLastErrorOfOtherStatus = lastErrorOf(status::kHttpInternal);

void setLastErrorOf(unsigned long httpStatus) {
    if (httpStatus == kHttpOk) {
        return;
    }
    for (const LastErrorOfStatus& row : kLastErrors) {
        if (row.httpStatus == httpStatus) {
            SetLastError(row.lastError);
            return;
        }
    }
    SetLastError(kLastErrorOfOtherStatus);
}

// ---- The URL retrieval path -----------------------------------------------------------------------------------------

std::wstring base64(const CBlob& data) {
    const auto size = static_cast<DWORD>(data.cbData());
    DWORD length = 0;
    if (!CryptBinaryToStringW(data.pbData(), size, CRYPT_STRING_BASE64 | CRYPT_STRING_NOCRLF, nullptr, &length)) {
        ATL2::throwLastErrorOrFail();
    }
    std::wstring text(length, L'\0');
    if (!CryptBinaryToStringW(data.pbData(), size, CRYPT_STRING_BASE64 | CRYPT_STRING_NOCRLF, text.data(), &length)) {
        ATL2::throwLastErrorOrFail();
    }
    text.resize(std::wcslen(text.c_str()));
    return text;
}

// Address, body and header in one text, the form in which the service takes them.
std::wstring retrievalUrl(const std::wstring& address, const CBlob& request) {
    std::wstring url = address;
    url += L'/';
    for (const wchar_t c : base64(request)) {
        switch (c) {
            case L'+':
                url += L"%2B";
                break;
            case L'/':
                url += L"%2F";
                break;
            case L'=':
                url += L"%3D";
                break;
            default:
                url += c;
        }
    }
    url += L'?';
    url += kOcspHeaders;
    return url;
}

struct FreeBlobArray {
    void operator()(CRYPT_BLOB_ARRAY* array) const noexcept { std::free(array); }
};

CBlob retrieve(WinHTTPParams& params, const CBlob& request, bool allowCache, _FILETIME* cacheResync, bool cacheOnly) {
    params.HTTPStatus = kHttpNoAnswer;
    const std::wstring url = retrievalUrl(params.OCSPAddress, request);
    CRYPT_RETRIEVE_AUX_INFO info{};
    info.cbSize = sizeof info;
    info.pftCacheResync = cacheResync;
    const DWORD flags = CRYPT_HTTP_POST_RETRIEVAL | (cacheOnly ? CRYPT_CACHE_ONLY_RETRIEVAL : 0) |
                        (allowCache ? 0 : CRYPT_WIRE_ONLY_RETRIEVAL);
    void* object = nullptr;
    if (!CryptRetrieveObjectByUrlW(url.c_str(), CONTEXT_OID_OCSP_RESP, flags, requestTimeout(), &object, nullptr,
                                   nullptr, nullptr, &info)) {
        if (info.dwHttpStatusCode != 0) {
            params.HTTPStatus = info.dwHttpStatusCode;
        }
        return {};
    }
    const std::unique_ptr<CRYPT_BLOB_ARRAY, FreeBlobArray> blobs(static_cast<CRYPT_BLOB_ARRAY*>(object));
    if (blobs->cBlob != 1) {
        ATL::AtlThrowImpl(status::kInvalidData);
    }
    params.HTTPStatus = kHttpOk;
    return {blobs->rgBlob[0].pbData, blobs->rgBlob[0].cbData};
}

// ---- The direct path ------------------------------------------------------------------------------------------------

// The bytes of one direction, as they cross the service's interface: the capacity grows from 4096 by doubling.
class ExchangeBuffer {
public:
    ExchangeBuffer() = default;
    ExchangeBuffer(const ExchangeBuffer&) = delete;
    ExchangeBuffer& operator=(const ExchangeBuffer&) = delete;
    ~ExchangeBuffer() { std::unique_ptr<BYTE[]>(record_.data).reset(); }

    void fill(const CBlob& bytes) {
        const auto size = static_cast<DWORD>(bytes.cbData());
        if (size == 0) {
            return;
        }
        DWORD capacity = kFirstCapacity;
        if (size > kLargestDoubled) {
            capacity = size;
        }
        while (capacity < size) {
            capacity *= 2;
        }
        record_.data = std::make_unique<BYTE[]>(capacity).release();
        record_.capacity = capacity;
        std::memcpy(record_.data, bytes.pbData(), size);
        record_.size = size;
    }
    PKI_EXCHANGE_BUFFER* record() { return &record_; }
    CBlob bytes() const { return {record_.data, record_.size}; }

private:
    static constexpr DWORD kFirstCapacity = 4096;
    static constexpr DWORD kLargestDoubled = 0x80000000;

    PKI_EXCHANGE_BUFFER record_{};
};

CBlob exchange(WinHTTPParams& params, const wchar_t* agent, const wchar_t* headers, const CBlob& request) {
    std::wstring credentials;
    if (!params.ProxyUserName.empty()) {
        credentials = params.ProxyUserName + L':' + params.ProxyPassword;
    }
    ExchangeBuffer sent;
    ExchangeBuffer received;
    sent.fill(request);
    params.HTTPStatus = SendPKIRequest(params.OCSPAddress.c_str(), agent, headers, params.ProxyAddress.c_str(),
                                       credentials.c_str(), sent.record(), received.record());
    if (!serviceSetsLastError()) {
        setLastErrorOf(params.HTTPStatus);
    }
    return received.bytes();
}

bool isByRetrieval(const WinHTTPParams& params, const wchar_t* headers) {
    return params.ProxyAddress.empty() && params.ProxyUserName.empty() && headers != nullptr &&
           std::wcscmp(headers, kOcspHeaders) == 0 && retrievalAvailable();
}

}  // namespace

CBlob SendRequest(WinHTTPParams* params, const wchar_t* agent, const wchar_t* headers, const CBlob* request,
                  bool /*ignored*/, bool allowCache, _FILETIME* cacheResync, bool cacheOnly) {
    if (isByRetrieval(*params, headers)) {
        return retrieve(*params, *request, allowCache, cacheResync, cacheOnly);
    }
    if (cacheOnly) {
        return {};
    }
    return exchange(*params, agent, headers, *request);
}

CBlob SendRequestPastCache(WinHTTPParams& params, const wchar_t* agent, const CBlob& request) {
    return exchange(params, agent, kOcspHeaders, request);
}

void forgetCachedAnswer(const WinHTTPParams& params, const CBlob& request) {
    if (!isByRetrieval(params, kOcspHeaders) || !canForgetResponses()) {
        return;
    }
    try {
        forgetResponse(retrievalUrl(params.OCSPAddress, request));
    } catch (const ATL::CAtlException&) {
        // The URL cannot be made. The caller reports why the answer was refused, not this.
    }
}

}  // namespace Orvane::PKI::OCSP::Client
