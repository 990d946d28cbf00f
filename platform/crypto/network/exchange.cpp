// The two exchanges with a responder that the service offers: a plain POST, and one that can answer from the cache.
#include <openssl/evp.h>
#include <openssl/ocsp.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>

#include "platform/crypto/base/limits.h"
#include "platform/crypto/base/openssl_handles.h"
#include "platform/crypto/base/service_call.h"
#include "platform/crypto/base/wide_text.h"
#include "platform/crypto/crypto_service.h"
#include "platform/crypto/network/check_scope.h"
#include "platform/crypto/network/exchange_note.h"
#include "platform/crypto/network/http_exchange.h"
#include "platform/crypto/network/http_status.h"
#include "platform/crypto/network/url_cache.h"
#include "platform/support/settings_table.h"

namespace tallow::platform {

namespace {

constexpr char kAgent[] = "tallow";

// One header per line. A line break inside a value would inject another header, so every kind of break ends a line.
std::vector<std::string> headerLines(const std::string& text) {
    std::vector<std::string> lines;
    std::string line;
    for (const char c : text + '\n') {
        if (c != '\r' && c != '\n') {
            line += c;
        } else if (!line.empty()) {
            lines.push_back(std::move(line));
            line.clear();
        }
    }
    return lines;
}

// ---- The URL that carries a request ---------------------------------------------------------------------------------

struct CarriedRequest {
    std::string address;
    std::string header;
    Bytes body;
};

int hexDigit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

bool unescape(std::string& text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            plain += text[i];
            continue;
        }
        const int high = i + 2 < text.size() ? hexDigit(text[i + 1]) : -1;
        const int low = i + 2 < text.size() ? hexDigit(text[i + 2]) : -1;
        if (high < 0 || low < 0) {
            return false;
        }
        plain += static_cast<char>(high * 16 + low);
        i += 2;
    }
    text = std::move(plain);
    return true;
}

bool decodeBase64(const std::string& text, Bytes& bytes) {
    bytes.resize(text.size() / 4 * 3 + 3);
    const std::unique_ptr<EVP_ENCODE_CTX, decltype(&EVP_ENCODE_CTX_free)> decoder(EVP_ENCODE_CTX_new(),
                                                                                  EVP_ENCODE_CTX_free);
    if (!decoder) {
        return false;
    }
    EVP_DecodeInit(decoder.get());
    int size = 0;
    int last = 0;
    if (EVP_DecodeUpdate(decoder.get(), bytes.data(), &size, reinterpret_cast<const unsigned char*>(text.data()),
                         static_cast<int>(text.size())) < 0 ||
        EVP_DecodeFinal(decoder.get(), bytes.data() + size, &last) != 1) {
        return false;
    }
    bytes.resize(static_cast<std::size_t>(size) + static_cast<std::size_t>(last));
    return true;
}

// Address, "/", the body in base64 with its special characters escaped, "?", one header line. The escaped body contains
// neither a slash nor a question mark, so the last of each is the separator.
bool split(const std::string& url, CarriedRequest& request) {
    const std::size_t question = url.rfind('?');
    const std::size_t slash = question == std::string::npos ? question : url.rfind('/', question);
    if (slash == std::string::npos) {
        return false;
    }
    request.address = url.substr(0, slash);
    request.header = url.substr(question + 1);
    std::string body = url.substr(slash + 1, question - slash - 1);
    return unescape(body) && decodeBase64(body, request.body);
}

// ---- Responses ------------------------------------------------------------------------------------------------------

using ResponsePtr = std::unique_ptr<OCSP_RESPONSE, OpenSslFree<OCSP_RESPONSE_free>>;

// Null for an error response ("tryLater"), too: it must not be repeated from the cache.
ResponsePtr readSuccessful(const Bytes& answer) {
    const unsigned char* next = answer.data();
    ResponsePtr response(d2i_OCSP_RESPONSE(nullptr, &next, static_cast<long>(answer.size())));
    const bool isSuccessful = response && OCSP_response_status(response.get()) == OCSP_RESPONSE_STATUS_SUCCESSFUL;
    return isSuccessful ? std::move(response) : nullptr;
}

// The first nextUpdate of its entries, in seconds since 1970; empty when there is none, or it cannot be read.
std::optional<long long> nextUpdateOf(OCSP_RESPONSE* response) {
    const std::unique_ptr<OCSP_BASICRESP, OpenSslFree<OCSP_BASICRESP_free>> basic(OCSP_response_get1_basic(response));
    std::optional<long long> first;
    for (int i = 0; basic && i < OCSP_resp_count(basic.get()); ++i) {
        ASN1_GENERALIZEDTIME* nextUpdate = nullptr;
        std::tm fields{};
        OCSP_single_get0_status(OCSP_resp_get0(basic.get(), i), nullptr, nullptr, nullptr, &nextUpdate);
        if (nextUpdate != nullptr && ASN1_TIME_to_tm(nextUpdate, &fields) == 1) {
            const long long time = ::timegm(&fields);
            first = std::min(first.value_or(time), time);
        }
    }
    return first;
}

// Array, entry and bytes in one block that free() releases.
void* makeBlobArray(const Bytes& answer) {
    const std::size_t sizeFront = sizeof(CRYPT_BLOB_ARRAY) + sizeof(CRYPT_DATA_BLOB);
    auto* block = static_cast<BYTE*>(std::malloc(sizeFront + answer.size()));
    if (block == nullptr) {
        return nullptr;
    }
    auto* array = new (block) CRYPT_BLOB_ARRAY{};
    auto* entry = new (block + sizeof(CRYPT_BLOB_ARRAY)) CRYPT_DATA_BLOB{};
    array->cBlob = 1;
    array->rgBlob = entry;
    entry->cbData = static_cast<DWORD>(answer.size());
    entry->pbData = block + sizeFront;
    if (!answer.empty()) {
        std::memcpy(entry->pbData, answer.data(), answer.size());
    }
    return block;
}

BOOL deliver(const Bytes& answer, void** object) {
    *object = makeBlobArray(answer);
    if (*object == nullptr) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return FALSE;
    }
    return TRUE;
}

// Applies the rules of the check of this thread. Without a check the caller chose the address.
void followRules(HttpCall& call) {
    const CRYPTO_CHECK* const check = currentCheck();
    call.addressIsNamed = check == nullptr || (check->dwFlags & CRYPTO_CHECK_ADDRESS_NAMED) != 0;
    call.authSchemes = check == nullptr ? CRYPTO_AUTH_ALL : check->dwAuthSchemes;
    call.proxyAuthSchemes = check == nullptr ? CRYPTO_AUTH_ALL : check->dwProxyAuthSchemes;
    if (check != nullptr && check->pfnOnRedirect != nullptr) {
        call.onRedirect = [check](const std::string& target, long status) {
            const std::optional<std::wstring> text = widen(target);
            return text &&
                   check->pfnOnRedirect(check->pvOnRedirect, text->c_str(), static_cast<DWORD>(status)) != FALSE;
        };
    }
}

void setFromCache(bool fromCache) {
    if (CRYPTO_CHECK* const check = currentCheck()) {
        check->fAnsweredFromCache = fromCache ? TRUE : FALSE;
    }
}

// The cached response, unless the setting does not allow it or it is from before the resynchronisation time.
std::optional<Bytes> cachedResponse(const UrlCache& cache, const std::string& url,
                                    const CRYPT_RETRIEVE_AUX_INFO* info) {
    const long maxAge = numberOf(setting::OcspValiditySeconds);
    // Others may write a shared cache: its entries have the limits of exchanges.
    return maxAge > 0
               ? cache.find(url, maxAge, info == nullptr ? nullptr : info->pftCacheResync, exchangeLimits().maxBodySize)
               : std::nullopt;
}

HttpAnswer exchangeAndNote(const HttpCall& call, const ExchangeLimits& limits) {
    const std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
    HttpAnswer answer = exchangeHttp(call, limits);
    noteExchange(CRYPTO_NOTE_FOR_RESPONSE, call.url, answer, start);
    return answer;
}

HttpAnswer postCarried(const CarriedRequest& carried, DWORD timeout) {
    HttpCall call;
    call.url = carried.address;
    call.post = true;
    call.body = carried.body;
    call.headers = headerLines(carried.header);
    call.userAgent = kAgent;
    followRules(call);
    ExchangeLimits limits = exchangeLimits();
    if (timeout != 0) {
        limits.deadlineMs = static_cast<long>(timeout);
        call.timeSetting = "SendRequestTimeoutMilliseconds";
    }
    return exchangeAndNote(call, limits);
}

BOOL retrieve(const std::string& url, DWORD flags, DWORD timeout, void** object, CRYPT_RETRIEVE_AUX_INFO* info) {
    setFromCache(false);
    CarriedRequest carried;
    if (!split(url, carried)) {
        return fail(ERROR_INTERNET_INVALID_URL);
    }
    const bool cacheOnly = (flags & CRYPT_CACHE_ONLY_RETRIEVAL) != 0;
    const std::unique_ptr<const UrlCache> cache = UrlCache::ofSettings(!cacheOnly, CacheContent::kResponses);
    // If both flags are set, "cache only" wins: such a caller must not use the network.
    if (cacheOnly || (flags & CRYPT_WIRE_ONLY_RETRIEVAL) == 0) {
        if (const std::optional<Bytes> response = cachedResponse(*cache, url, info)) {
            setFromCache(true);
            noteCached(CRYPTO_NOTE_FOR_RESPONSE, carried.address);
            return deliver(*response, object);
        }
    }
    if (cacheOnly) {
        return fail(ERROR_FILE_NOT_FOUND);
    }
    const HttpAnswer answer = postCarried(carried, timeout);
    if (info != nullptr) {
        info->dwHttpStatusCode = static_cast<DWORD>(answer.status);
    }
    if (answer.error != 0 || answer.status != kOk) {
        return fail(answer.error != 0 ? answer.error : errorOfStatus(answer.status));
    }
    if (const ResponsePtr response = readSuccessful(answer.body)) {
        const long maxAge = numberOf(setting::OcspValiditySeconds);
        cache->keep(url, answer.body, lifetimeUntil(nextUpdateOf(response.get()), maxAge));
    }
    if (info != nullptr && info->pLastSyncTime != nullptr) {
        GetSystemTimeAsFileTime(info->pLastSyncTime);
    }
    return deliver(answer.body, object);
}

unsigned long post(const HttpCall& call, PKI_EXCHANGE_BUFFER& response) {
    const HttpAnswer answer = exchangeAndNote(call, exchangeLimits());
    if (answer.error != 0) {
        SetLastError(answer.error);
        return 0;
    }
    if (!answer.body.empty()) {
        response.data = std::make_unique<BYTE[]>(answer.body.size()).release();
        std::memcpy(response.data, answer.body.data(), answer.body.size());
        response.size = static_cast<DWORD>(answer.body.size());
        response.capacity = response.size;
    }
    if (answer.status != kOk) {
        SetLastError(errorOfStatus(answer.status));
    }
    return static_cast<unsigned long>(answer.status);
}

}  // namespace

}  // namespace tallow::platform

using namespace tallow::platform;

BOOL CryptRetrieveObjectByUrlW(LPCWSTR pszUrl, LPCSTR pszObjectOid, DWORD dwRetrievalFlags, DWORD dwTimeout,
                               void** ppvObject, void* /*hAsyncRetrieve*/, void* /*pCredentials*/, void* /*pvVerify*/,
                               CRYPT_RETRIEVE_AUX_INFO* pAuxInfo) {
    return serviceCall(FALSE, [&]() -> BOOL {
        if (pszUrl == nullptr || ppvObject == nullptr || pszObjectOid != CONTEXT_OID_OCSP_RESP ||
            (dwRetrievalFlags & CRYPT_HTTP_POST_RETRIEVAL) == 0) {
            return fail(E_INVALIDARG);
        }
        *ppvObject = nullptr;
        try {
            return retrieve(narrow(pszUrl), dwRetrievalFlags, dwTimeout, ppvObject, pAuxInfo);
        } catch (const std::invalid_argument&) {
            return fail(ERROR_INVALID_PARAMETER);
        }
    });
}

BOOL crypto_forget_response(LPCWSTR pszUrl) {
    return serviceCall(FALSE, [&] {
        if (pszUrl == nullptr) {
            return fail(E_INVALIDARG);
        }
        return done(UrlCache::ofSettings(true, CacheContent::kResponses)->forget(narrow(pszUrl)) ? 0
                                                                                                 : ERROR_ACCESS_DENIED);
    });
}

unsigned long SendPKIRequest(const wchar_t* url, const wchar_t* agent, const wchar_t* headers,
                             const wchar_t* proxyAddress, const wchar_t* proxyCredentials,
                             const PKI_EXCHANGE_BUFFER* requestBuffer, PKI_EXCHANGE_BUFFER* responseBuffer) {
    return serviceCall(0UL, [&]() -> unsigned long {
        if (url == nullptr || requestBuffer == nullptr || responseBuffer == nullptr) {
            return fail(ERROR_INVALID_PARAMETER);
        }
        try {
            HttpCall call;
            call.url = narrow(url);
            call.post = true;
            call.body = ByteView(requestBuffer->data, requestBuffer->size);
            call.headers = headerLines(narrow(headers));
            call.userAgent = narrow(agent);
            call.proxy = narrow(proxyAddress);
            call.proxyCredentials = narrow(proxyCredentials);
            followRules(call);
            return post(call, *responseBuffer);
        } catch (const std::invalid_argument&) {
            return fail(ERROR_INVALID_PARAMETER);
        }
    });
}
