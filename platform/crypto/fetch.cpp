#include "platform/crypto/fetch.h"

#include <curl/curl.h>
#include <strings.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <string_view>

#include "platform/crypto/system_store.h"
#include "platform/support/fork_gate.h"

namespace tallow::platform {

namespace {

using Clock = std::chrono::steady_clock;

struct EasyFree {
    void operator()(CURL* handle) const noexcept { curl_easy_cleanup(handle); }
};
using EasyPtr = std::unique_ptr<CURL, EasyFree>;

struct ListFree {
    void operator()(curl_slist* list) const noexcept { curl_slist_free_all(list); }
};
using HeaderList = std::unique_ptr<curl_slist, ListFree>;

struct TextFree {
    void operator()(char* text) const noexcept { curl_free(text); }
};

struct UrlFree {
    void operator()(CURLU* url) const noexcept { curl_url_cleanup(url); }
};

// What has arrived of one hop.
struct Arrival {
    Bytes body;
    std::size_t headerSize = 0;
    std::size_t maxBodySize = 0;
    std::size_t maxHeaderSize = 0;
};

// Returning less than was offered makes libcurl end the transfer.
std::size_t onBody(char* data, std::size_t unit, std::size_t count, void* target) {
    auto& arrival = *static_cast<Arrival*>(target);
    const std::size_t size = unit * count;
    if (size > arrival.maxBodySize - arrival.body.size()) {
        return 0;
    }
    try {
        arrival.body.insert(arrival.body.end(), data, data + size);
    } catch (const std::bad_alloc&) {
        return 0;
    }
    return size;
}

bool beginsWith(std::string_view text, std::string_view word) {
    return text.size() >= word.size() && ::strncasecmp(text.data(), word.data(), word.size()) == 0;
}

// libcurl inflates what comes with a transfer coding such as gzip, asked for or not: the one coding there is to be is
// that in chunks.
bool isInflating(std::string_view line) {
    constexpr std::string_view kName = "transfer-encoding:";
    constexpr std::string_view kChunked = "chunked";
    constexpr std::string_view kBlanks = " \t\r\n";
    if (!beginsWith(line, kName)) {
        return false;
    }
    line.remove_prefix(std::min(line.find_first_not_of(kBlanks, kName.size()), line.size()));
    line = line.substr(0, line.find_last_not_of(kBlanks) + 1);
    return line.size() != kChunked.size() || !beginsWith(line, kChunked);
}

std::size_t onHeader(char* data, std::size_t unit, std::size_t count, void* target) {
    auto& arrival = *static_cast<Arrival*>(target);
    const std::size_t size = unit * count;
    if (size > arrival.maxHeaderSize - arrival.headerSize || isInflating({data, size})) {
        return 0;
    }
    arrival.headerSize += size;
    return size;
}

DWORD errorOf(CURLcode code) {
    switch (code) {
        case CURLE_OK:
            return 0;
        case CURLE_OPERATION_TIMEDOUT:
            return ERROR_INTERNET_TIMEOUT;
        case CURLE_URL_MALFORMAT:
            return ERROR_INTERNET_INVALID_URL;
        case CURLE_UNSUPPORTED_PROTOCOL:
            return ERROR_INTERNET_UNRECOGNIZED_SCHEME;
        case CURLE_COULDNT_RESOLVE_HOST:
        case CURLE_COULDNT_RESOLVE_PROXY:
            return ERROR_INTERNET_NAME_NOT_RESOLVED;
        case CURLE_COULDNT_CONNECT:
            return ERROR_INTERNET_CANNOT_CONNECT;
        case CURLE_SEND_ERROR:
        case CURLE_RECV_ERROR:
        case CURLE_GOT_NOTHING:
        case CURLE_PARTIAL_FILE:
            return ERROR_INTERNET_CONNECTION_ABORTED;
        case CURLE_SSL_CONNECT_ERROR:
        case CURLE_PEER_FAILED_VERIFICATION:
        case CURLE_SSL_CACERT_BADFILE:
            return ERROR_INTERNET_SECURE_FAILURE;
        case CURLE_WRITE_ERROR:  // our own bounds
        case CURLE_FILESIZE_EXCEEDED:
        case CURLE_WEIRD_SERVER_REPLY:
        case CURLE_HTTP_RETURNED_ERROR:
        case CURLE_BAD_CONTENT_ENCODING:
            return ERROR_HTTP_INVALID_SERVER_RESPONSE;
        default:
            return ERROR_INTERNET_INTERNAL_ERROR;
    }
}

enum class Scheme { kHttp, kHttps, kOther };

// What of an address decides whether a redirect may lead to it.
struct Address {
    Scheme scheme = Scheme::kOther;
    std::string server;  // host and port
    std::string login;   // name and password, if the address carries them
};

std::string partOf(CURLU* url, CURLUPart part) {
    char* text = nullptr;
    if (curl_url_get(url, part, &text, CURLU_DEFAULT_PORT) != CURLUE_OK) {
        return {};
    }
    const std::unique_ptr<char, TextFree> owner(text);
    return text;
}

Address addressOf(const std::string& url) {
    Address address;
    const std::unique_ptr<CURLU, UrlFree> parsed(curl_url());
    if (!parsed || curl_url_set(parsed.get(), CURLUPART_URL, url.c_str(), 0) != CURLUE_OK) {
        return address;
    }
    const std::string scheme = partOf(parsed.get(), CURLUPART_SCHEME);
    address.scheme = scheme == "https" ? Scheme::kHttps : scheme == "http" ? Scheme::kHttp : Scheme::kOther;
    address.server = partOf(parsed.get(), CURLUPART_HOST) + ':' + partOf(parsed.get(), CURLUPART_PORT);
    const std::string name = partOf(parsed.get(), CURLUPART_USER);
    const std::string password = partOf(parsed.get(), CURLUPART_PASSWORD);
    address.login = name.empty() && password.empty() ? std::string() : name + ':' + password;
    return address;
}

long millisecondsUntil(Clock::time_point deadline) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
}

HeaderList makeHeaders(const HttpCall& call) {
    HeaderList list;
    const auto append = [&list](const char* line) {
        curl_slist* const longer = curl_slist_append(list.get(), line);
        if (longer != nullptr) {
            static_cast<void>(list.release());
            list.reset(longer);
        }
    };
    for (const std::string& header : call.headers) {
        append(header.c_str());
    }
    if (call.post) {
        append("Expect:");  // the body is small: waiting for a "100 Continue" would cost a second where none comes
    }
    return list;
}

void setCommonOptions(CURL* easy, const ExchangeLimits& limits, Arrival& arrival) {
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 0L);  // each hop is judged here before it is taken
    curl_easy_setopt(easy, CURLOPT_HTTP_CONTENT_DECODING, 0L);
    curl_easy_setopt(easy, CURLOPT_NETRC, static_cast<long>(CURL_NETRC_IGNORED));
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, 1L);
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, 2L);
    // Named here, so that it does not depend on how libcurl was built. Empty while the settings are broken: then no
    // peer is trusted.
    curl_easy_setopt(easy, CURLOPT_CAINFO, systemBundle().c_str());
    curl_easy_setopt(easy, CURLOPT_CAPATH, nullptr);
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, limits.connectTimeoutMs);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, onBody);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &arrival);
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, onHeader);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, &arrival);
}

void setProxy(CURL* easy, const HttpCall& call) {
    curl_easy_setopt(easy, CURLOPT_PROXY, call.proxy.c_str());  // empty, not unset: unset would ask the environment
    curl_easy_setopt(easy, CURLOPT_NOPROXY, "");
    if (!call.proxyCredentials.empty()) {
        curl_easy_setopt(easy, CURLOPT_PROXYUSERPWD, call.proxyCredentials.c_str());
        curl_easy_setopt(easy, CURLOPT_PROXYAUTH, static_cast<long>(CURLAUTH_ANYSAFE | CURLAUTH_BASIC));
    }
}

void setRequest(CURL* easy, const HttpCall& call, const curl_slist* headers) {
    if (call.post) {
        curl_easy_setopt(easy, CURLOPT_POST, 1L);
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(call.body.size()));
        curl_easy_setopt(easy, CURLOPT_POSTFIELDS,
                         call.body.empty() ? "" : reinterpret_cast<const char*>(call.body.data()));
    }
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers);
    if (!call.userAgent.empty()) {
        curl_easy_setopt(easy, CURLOPT_USERAGENT, call.userAgent.c_str());
    }
}

// A line break in one of these would add a line of somebody's choice to what is sent; libcurl passes it on.
bool isOneLine(const std::string& text) {
    return std::none_of(text.begin(), text.end(), [](unsigned char c) { return (c < 0x20 && c != '\t') || c == 0x7F; });
}

bool isSendable(const HttpCall& call) {
    return isOneLine(call.userAgent) && isOneLine(call.proxyCredentials) &&
           std::all_of(call.headers.begin(), call.headers.end(), isOneLine);
}

bool isRedirect(long status) {
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

// Whether the hop may be taken: from https only to https, a POST never where it would have to become a GET, and with
// credentials only to the server that they were given for (libcurl keeps them when a redirect names a path alone).
bool mayFollow(const HttpCall& call, const Address& from, const Address& to, long status) {
    const bool keepsScheme = to.scheme == Scheme::kHttps || (to.scheme == Scheme::kHttp && from.scheme == to.scheme);
    const bool keepsLogin = to.login.empty() || (to.login == from.login && to.server == from.server);
    return keepsScheme && keepsLogin && (!call.post || status != 303);
}

// One hop. `next` receives the target of a redirect, if any.
HttpAnswer oneHop(CURL* easy, const std::string& url, Arrival& arrival, long remainingMs, std::string& next) {
    arrival.body.clear();
    arrival.headerSize = 0;
    next.clear();
    HttpAnswer answer;
    if (remainingMs <= 0) {
        answer.error = ERROR_INTERNET_TIMEOUT;
        return answer;
    }
    curl_easy_setopt(easy, CURLOPT_URL, url.c_str());
    curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, remainingMs);
    {
        const ForkGate::Outside waiting;  // for the network: no fork has to wait with us
        answer.error = errorOf(curl_easy_perform(easy));
    }
    if (answer.error != 0) {
        return answer;
    }
    curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &answer.status);
    char* target = nullptr;
    curl_easy_getinfo(easy, CURLINFO_REDIRECT_URL, &target);
    if (target != nullptr && isRedirect(answer.status)) {
        next = target;
    } else {
        answer.body = std::move(arrival.body);
    }
    return answer;
}

HttpAnswer failure(DWORD error) {
    HttpAnswer answer;
    answer.error = error;
    return answer;
}

}  // namespace

HttpAnswer exchangeHttp(const HttpCall& call, const ExchangeLimits& limits) {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(limits.deadlineMs);
    Address address = addressOf(call.url);
    if (address.scheme == Scheme::kOther) {
        return failure(ERROR_INTERNET_UNRECOGNIZED_SCHEME);
    }
    if (!isSendable(call)) {
        return failure(ERROR_INVALID_PARAMETER);
    }
    const EasyPtr easy(curl_easy_init());
    if (!easy) {
        return failure(ERROR_NOT_ENOUGH_MEMORY);
    }
    Arrival arrival{{}, 0, limits.maxBodySize, limits.maxHeaderSize};
    const HeaderList headers = makeHeaders(call);
    setCommonOptions(easy.get(), limits, arrival);
    setProxy(easy.get(), call);
    setRequest(easy.get(), call, headers.get());

    std::string url = call.url;
    std::string next;
    for (long hop = 0; hop <= limits.maxRedirects; ++hop) {
        HttpAnswer answer = oneHop(easy.get(), url, arrival, millisecondsUntil(deadline), next);
        if (answer.error != 0 || next.empty()) {
            return answer;
        }
        Address target = addressOf(next);
        if (!mayFollow(call, address, target, answer.status)) {
            return failure(ERROR_HTTP_REDIRECT_FAILED);
        }
        url = next;
        address = std::move(target);
    }
    return failure(ERROR_HTTP_REDIRECT_FAILED);
}

FetchAllowance::FetchAllowance(long maxFetches, long timeoutMs)
    : fetchesLeft_(maxFetches), deadline_(Clock::now() + std::chrono::milliseconds(timeoutMs)) {}

bool FetchAllowance::take() {
    if (fetchesLeft_ <= 0 || remainingMs() <= 0) {
        return false;
    }
    --fetchesLeft_;
    return true;
}

long FetchAllowance::remainingMs() const {
    return millisecondsUntil(deadline_);
}

std::optional<Bytes> fetchObject(const std::string& url, std::size_t maxSize, FetchAllowance& allowance) {
    if (!allowance.take()) {
        return std::nullopt;
    }
    ExchangeLimits limits = exchangeLimits();
    limits.deadlineMs = std::min(limits.deadlineMs, allowance.remainingMs());
    limits.maxBodySize = maxSize;
    HttpCall call;
    call.url = url;
    HttpAnswer answer = exchangeHttp(call, limits);
    if (answer.error != 0 || answer.status != 200) {
        return std::nullopt;
    }
    return std::move(answer.body);
}

}  // namespace tallow::platform
