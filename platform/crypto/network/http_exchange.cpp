#include "platform/crypto/network/http_exchange.h"

#include <curl/curl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <system_error>

#include "platform/crypto/certificates/system_store.h"
#include "platform/crypto/network/arrival.h"
#include "platform/crypto/network/check_scope.h"
#include "platform/crypto/network/connection.h"
#include "platform/crypto/network/connection_key.h"
#include "platform/crypto/network/connection_pool.h"
#include "platform/crypto/network/exchange_note.h"
#include "platform/crypto/network/exchange_text.h"
#include "platform/crypto/network/http_address.h"
#include "platform/crypto/network/http_options.h"
#include "platform/crypto/network/http_status.h"

namespace tallow::platform {

namespace {

using Clock = std::chrono::steady_clock;

DWORD errorOf(CURLcode code) {
    switch (code) {
        case CURLE_OK:
            return 0;
        case CURLE_OUT_OF_MEMORY:
            return ERROR_NOT_ENOUGH_MEMORY;
        case CURLE_OPERATION_TIMEDOUT:
            return ERROR_INTERNET_TIMEOUT;
        case CURLE_URL_MALFORMAT:
            return ERROR_INTERNET_INVALID_URL;
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
        case CURLE_WRITE_ERROR:  // our own limits
        case CURLE_FILESIZE_EXCEEDED:
        case CURLE_UNSUPPORTED_PROTOCOL:  // HTTP/0.9: a server that does not speak HTTP; schemes were checked before
        case CURLE_WEIRD_SERVER_REPLY:
        case CURLE_HTTP_RETURNED_ERROR:
        case CURLE_BAD_CONTENT_ENCODING:
            return ERROR_HTTP_INVALID_SERVER_RESPONSE;
        default:
            return ERROR_INTERNET_INTERNAL_ERROR;
    }
}

long millisecondsUntil(Clock::time_point deadline) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
}

bool isRedirect(long status) {
    switch (status) {
        case kMovedPermanently:
        case kFound:
        case kSeeOther:
        case kTemporaryRedirect:
        case kPermanentRedirect:
            return true;
        default:
            return false;
    }
}

HttpAnswer failure(DWORD error, std::string reason) {
    HttpAnswer answer;
    answer.error = error;
    answer.reason = std::move(reason);
    return answer;
}

// Why an address, or what belongs to the call, cannot be used.
std::string reasonOfPreparation(DWORD error) {
    switch (error) {
        case ERROR_INTERNET_UNRECOGNIZED_SCHEME:
        case ERROR_INTERNET_INVALID_URL:
            return "this is no http or https address";
        case ERROR_NETWORK_ACCESS_DENIED:
            return "the address contains a login, and only a certificate names it";
        case ERROR_NOT_ENOUGH_MEMORY:
            return "memory is exhausted";
        default:
            return "the address of the proxy, a login or a header line cannot be used";
    }
}

// libcurl's own state. A failure is not remembered: the next exchange tries again.
bool isLibraryReady() {
    static std::mutex mutex;
    static bool ready = false;
    const std::scoped_lock lock(mutex);
    ready = ready || curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
    return ready;
}

// One exchange, hop by hop.
class Exchange {
public:
    Exchange(const HttpCall& call, const ExchangeLimits& limits)
        : call_(call),
          limits_(limits),
          deadline_(std::min(Clock::now() + std::chrono::milliseconds(limits.deadlineMs), checkDeadline())),
          maxIdle_(limits.connectionIdleMs) {
        arrival_.maxBodySize = limits.maxBodySize;
        arrival_.maxHeaderSize = limits.maxHeaderSize;
    }

    HttpAnswer run();

private:
    DWORD prepare();
    // `next` receives the target of a redirect, if any. The last reads what the hop received.
    HttpAnswer hop(const HttpAddress& address, std::string& next);
    // Null when a new connection is needed.
    std::optional<CURLcode> transferOverIdle(const HttpAddress& address, const Reach& reach);
    CURLcode transfer(const HttpAddress& address, const Reach& reach);
    CURLcode endOf(CURLcode code);
    long statusReceived() const;  // 0 before the end of the header
    bool isRefusalCut(CURLcode code) const;
    bool isWithoutAnswer(CURLcode code) const;
    static int onProgress(void* target, curl_off_t, curl_off_t, curl_off_t, curl_off_t);
    HttpAnswer arrived(std::string& next);
    // After a hop whose answer is used: leaves its connection to other exchanges, if nothing speaks against it.
    void keepConnection();
    HttpAnswer failed(CURLcode code, const HttpAddress& address) const;
    std::string reasonOf(CURLcode code, const std::string& peer) const;
    bool isWithoutDescriptor(CURLcode code) const;
    std::string timeoutReason(const std::string& peer) const;
    // Null when the hop may be taken, else why not.
    const char* objection(const HttpAddress& from, const HttpAddress& to, long status) const;
    HttpAnswer follow(const std::string& next, long status, HttpAddress& address) const;
    bool isNamed(const HttpAddress& address) const { return call_.addressIsNamed && address.server == first_.server; }

    const HttpCall& call_;
    const ExchangeLimits& limits_;
    Clock::time_point deadline_;
    std::chrono::milliseconds maxIdle_;
    HeaderList headers_;
    Arrival arrival_;
    Proxy proxy_;
    HttpAddress first_;
    char libraryText_[CURL_ERROR_SIZE] = "";
    // Those of the hop. The connection refers to the members above.
    std::string key_;  // of the pool; empty: the connection is for this exchange only
    bool isExact_ = false;
    std::uint64_t receivedBefore_ = 0;  // over the connection, by other exchanges
    std::unique_ptr<Connection> connection_;
};

DWORD Exchange::prepare() {
    if (const DWORD error = parseHttpAddress(call_.url, first_); error != 0) {
        return error;
    }
    // A certificate says where its responder is, not how to log in there.
    if (!first_.login.empty() && !call_.addressIsNamed) {
        return ERROR_NETWORK_ACCESS_DENIED;
    }
    if (!isSendable(call_)) {
        return ERROR_INVALID_PARAMETER;
    }
    if (!makeHeaders(call_, headers_)) {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
    return readProxy(call_, proxy_);
}

CURLcode Exchange::transfer(const HttpAddress& address, const Reach& reach) {
    arrival_.reset();
    libraryText_[0] = '\0';
    isExact_ = false;
    const long remainingMs = millisecondsUntil(deadline_);
    if (remainingMs <= 0) {
        return CURLE_OPERATION_TIMEDOUT;
    }
    connection_->deadline = deadline_;
    connection_->reach = reach;
    receivedBefore_ = connection_->octetsReceived();
    HttpOptions options(connection_->easy());
    setCommonOptions(options, limits_, arrival_, *connection_);
    options.set(CURLOPT_NOPROGRESS, 0L);
    options.set(CURLOPT_XFERINFOFUNCTION, onProgress);
    options.set(CURLOPT_XFERINFODATA, this);
    options.set(CURLOPT_ERRORBUFFER, libraryText_);
    setRequest(options, call_, headers_.get());
    setProxy(options, proxy_, call_.proxyAuthSchemes);
    options.set(CURLOPT_URL, address.url.c_str());
    // libcurl counts whole milliseconds and may end early: the check would then seem to have time for one responder
    // more.
    constexpr long kRounding = 2;
    options.set(CURLOPT_TIMEOUT_MS, remainingMs + kRounding);
    // The login is for the server it was given for, which a redirect may leave.
    setLogin(options, address.server == first_.server ? first_.login : Login(), call_.authSchemes);
    const CURLcode code = options.code() == CURLE_OK ? connection_->perform() : options.code();
    // Connection::endReadingAtDeadline, in the handshake or later.
    const bool isStopped = errorOf(code) == ERROR_INTERNET_SECURE_FAILURE || code == CURLE_RECV_ERROR;
    const bool isLate = isStopped && millisecondsUntil(deadline_) <= 0;
    return isLate ? CURLE_OPERATION_TIMEDOUT : endOf(code);
}

// Corrects what libcurl makes of a header: one that was cut counts as complete there, and a line that is too long,
// which is read in pieces of up to 16 KiB, as exhausted memory.
CURLcode Exchange::endOf(CURLcode code) {
    constexpr std::size_t kLongLine = 64 * 1024;  // libcurl reads at most 100 KiB
    if (code == CURLE_OK && !arrival_.isHeaderComplete) {
        arrival_.breach = Breach::kHeaderEnd;
        return CURLE_PARTIAL_FILE;
    }
    if (code == CURLE_OUT_OF_MEMORY && !arrival_.isHeaderComplete &&
        arrival_.numReceived > arrival_.headerSize + kLongLine) {
        arrival_.breach = Breach::kHeaderLine;
        return CURLE_WEIRD_SERVER_REPLY;
    }
    return arrival_.breach == Breach::kAround ? CURLE_WRITE_ERROR : code;
}

long Exchange::statusReceived() const {
    long status = 0;
    static_cast<void>(curl_easy_getinfo(connection_->easy(), CURLINFO_RESPONSE_CODE, &status));
    return arrival_.isHeaderComplete ? status : 0;
}

// A server that refuses a request may close the connection without reading its body, so that its own body is cut. The
// status still says what is wrong.
bool Exchange::isRefusalCut(CURLcode code) const {
    constexpr long kFirstOfErrors = 400;
    return errorOf(code) == ERROR_INTERNET_CONNECTION_ABORTED && statusReceived() >= kFirstOfErrors;
}

// True if no header line came over a connection that was open, since the server closed or forgot it or had sent more
// than its last answer, so that the request may be sent once more. It has the same effect however often it arrives.
bool Exchange::isWithoutAnswer(CURLcode code) const {
    switch (code) {
        case CURLE_COULDNT_CONNECT:  // libcurl wanted another connection
        case CURLE_COULDNT_RESOLVE_HOST:
        case CURLE_SEND_ERROR:
        case CURLE_RECV_ERROR:
        case CURLE_GOT_NOTHING:
        case CURLE_ABORTED_BY_CALLBACK:   // see onProgress
        case CURLE_UNSUPPORTED_PROTOCOL:  // no status line, such as the rest of an answer with a wrong length
        case CURLE_WEIRD_SERVER_REPLY:
            return arrival_.headerSize == 0 && arrival_.body.empty();
        default:
            return false;
    }
}

// Called after each read, and at least once a second.
int Exchange::onProgress(void* target, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
    auto& exchange = *static_cast<Exchange*>(target);
    const std::uint64_t received = exchange.connection_->octetsReceived();
    const bool isTooMuch = exchange.arrival_.exceedsWith(received - std::min(received, exchange.receivedBefore_));
    const bool isSilent = exchange.arrival_.headerSize == 0 && Clock::now() >= exchange.connection_->answerBy;
    return isTooMuch || isSilent ? 1 : 0;
}

std::optional<CURLcode> Exchange::transferOverIdle(const HttpAddress& address, const Reach& reach) {
    connection_ = ConnectionPool::ofProcess().take(key_, reach, maxIdle_);
    if (connection_ == nullptr || !connection_->resume()) {
        return std::nullopt;
    }
    noteReuse(address.server);
    connection_->answerBy = Clock::now() + connection_->patience();
    const CURLcode code = transfer(address, reach);
    if (code == CURLE_ABORTED_BY_CALLBACK) {
        ConnectionPool::ofProcess().noteSilence(key_);
    }
    // A server ends a connection that was idle for too long with 408, perhaps while the request is on its way.
    const bool isEnded = code == CURLE_OK && statusReceived() == kRequestTimeout;
    return isEnded || (code != CURLE_OK && isWithoutAnswer(code)) ? std::nullopt : std::optional(code);
}

HttpAnswer Exchange::hop(const HttpAddress& address, std::string& next) {
    next.clear();
    // A proxy resolves the name itself, so only an address in the URL can be checked.
    Reach reach{.isAnywhere = isNamed(address), .refusesPrivate = refusesPrivateAddresses()};
    if (!call_.proxy.empty()) {
        if (const AddressClass found = classOfHost(address.host); reach.refuses(found)) {
            return failure(ERROR_NETWORK_ACCESS_DENIED, refusalText(address.host, found));
        }
        reach.isAnywhere = true;
    }
    key_ = connectionKey(call_, address);
    std::optional<CURLcode> code = transferOverIdle(address, reach);
    if (!code) {
        bool isAgain = false;
        do {
            connection_ = std::make_unique<Connection>();
            if (connection_->easy() == nullptr) {
                return failure(ERROR_NOT_ENOUGH_MEMORY, "memory is exhausted");
            }
            code = transfer(address, reach);
            // Idle connections to other servers may have taken the last descriptors.
            isAgain = !isAgain && isWithoutDescriptor(*code) && ConnectionPool::ofProcess().closeAll();
        } while (isAgain);
    }
    if (isRefusalCut(*code)) {
        arrival_.body.clear();
        return arrived(next);
    }
    return *code == CURLE_OK ? arrived(next) : failed(*code, address);
}

void Exchange::keepConnection() {
    if (!key_.empty() && maxIdle_.count() > 0 && isExact_ && connection_->isLeftClean(call_.body.size())) {
        connection_->park();
        ConnectionPool::ofProcess().keep(std::move(key_), std::move(connection_), maxIdle_);
    }
}

// Which of the limits on time was reached.
std::string Exchange::timeoutReason(const std::string& peer) const {
    if (millisecondsUntil(checkDeadline()) <= 0) {
        const CheckTime time = checkTime();
        return peer + " gave no complete answer within the time limit of the check, " + secondsText(time.limitMs) +
               (time.isOfSettings ? " (setting check_timeout_ms)" : "");
    }
    if (millisecondsUntil(deadline_) <= 0) {
        const long limitMs = call_.timeSettingMs != 0 ? call_.timeSettingMs : limits_.deadlineMs;
        return peer + " gave no complete answer within " + secondsText(limitMs) + " (setting " + call_.timeSetting +
               ')';
    }
    return "no connection to " + peer + " within " + secondsText(limits_.connectTimeoutMs) +
           " (setting connect_timeout_ms)";
}

std::string Exchange::reasonOf(CURLcode code, const std::string& peer) const {
    long systemError = 0;
    static_cast<void>(curl_easy_getinfo(connection_->easy(), CURLINFO_OS_ERRNO, &systemError));
    switch (code) {
        case CURLE_OPERATION_TIMEDOUT:
            return timeoutReason(peer);
        case CURLE_COULDNT_RESOLVE_HOST:
        case CURLE_COULDNT_RESOLVE_PROXY:
            return peer + ": the name is not known";
        case CURLE_SSL_CACERT_BADFILE:
            return "the roots for TLS in " + systemBundle() + " (setting system_bundle) cannot be read: " +
                   (connection_->rootsError() == 0 ? std::string("the file contains no certificate")
                                                   : std::generic_category().message(connection_->rootsError()));
        case CURLE_COULDNT_CONNECT:
            return "no connection to " + peer +
                   (systemError == 0 ? std::string()
                                     : ": " + std::generic_category().message(static_cast<int>(systemError)));
        default:
            break;
    }
    curl_off_t announced = -1;
    static_cast<void>(curl_easy_getinfo(connection_->easy(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &announced));
    const std::string breach = arrival_.breachText(announced, call_.sizeSetting);
    return !breach.empty() ? breach : libraryText_[0] != '\0' ? libraryText_ : curl_easy_strerror(code);
}

// Resolving a name and starting a connection fail in many ways without a descriptor. The server is not the cause.
bool Exchange::isWithoutDescriptor(CURLcode code) const {
    if (connection_->reach.hasNoDescriptor) {
        return code == CURLE_COULDNT_CONNECT;
    }
    if (code == CURLE_SSL_CACERT_BADFILE) {
        return connection_->rootsError() == EMFILE || connection_->rootsError() == ENFILE;
    }
    if (code != CURLE_COULDNT_RESOLVE_HOST && code != CURLE_COULDNT_RESOLVE_PROXY) {
        return false;
    }
    const int one = ::dup(STDIN_FILENO);
    const bool isMissing = one < 0 && (errno == EMFILE || errno == ENFILE);
    if (one >= 0) {
        ::close(one);
    }
    return isMissing;
}

HttpAnswer Exchange::failed(CURLcode code, const HttpAddress& address) const {
    if (isWithoutDescriptor(code)) {
        return failure(ERROR_TOO_MANY_OPEN_FILES, "no file descriptor is left for a connection");
    }
    if (const auto& refused = connection_->reach.refused; code == CURLE_COULDNT_CONNECT && refused) {
        return failure(ERROR_NETWORK_ACCESS_DENIED, refusalText(reinterpret_cast<const sockaddr&>(*refused)));
    }
    const std::string server = address.server.substr(address.server.find("://") + 3);
    HttpAnswer answer = failure(errorOf(code), {});
    long connectStatus = 0;
    curl_off_t connectedAfter = 0;
    static_cast<void>(curl_easy_getinfo(connection_->easy(), CURLINFO_HTTP_CONNECTCODE, &connectStatus));
    static_cast<void>(curl_easy_getinfo(connection_->easy(), CURLINFO_CONNECT_TIME_T, &connectedAfter));
    const bool hasProxy = !call_.proxy.empty();
    // The proxy asks for the login first: when the time is over then, it has not refused that login yet.
    const bool isLoginOpen =
        code == CURLE_OPERATION_TIMEDOUT && connectStatus == kProxyAuthenticationRequired && !proxy_.login.empty();
    const bool isTunnelRefused = connectStatus != 0 && (connectStatus < 200 || connectStatus > 299) && !isLoginOpen;
    const bool isTls = errorOf(code) == ERROR_INTERNET_SECURE_FAILURE && code != CURLE_SSL_CACERT_BADFILE;
    // TLS with the server begins after the proxy has connected to it.
    answer.isAtProxy =
        hasProxy && (isTunnelRefused || code == CURLE_COULDNT_RESOLVE_PROXY || code == CURLE_COULDNT_CONNECT ||
                     code == CURLE_PROXY || (code == CURLE_OPERATION_TIMEDOUT && connectedAfter == 0) ||
                     (isTls && connectStatus == 0));
    if (hasProxy && isTunnelRefused) {
        answer.connectStatus = connectStatus;
        answer.reason = "it refused to connect to " + server + " with " + httpStatusText(connectStatus);
        return answer;
    }
    answer.reason = reasonOf(code, answer.isAtProxy ? withoutLogin(call_.proxy) : server);
    return answer;
}

HttpAnswer Exchange::arrived(std::string& next) {
    HttpAnswer answer;
    char* target = nullptr;
    if (curl_easy_getinfo(connection_->easy(), CURLINFO_RESPONSE_CODE, &answer.status) != CURLE_OK ||
        curl_easy_getinfo(connection_->easy(), CURLINFO_REDIRECT_URL, &target) != CURLE_OK) {
        return failure(ERROR_NOT_ENOUGH_MEMORY, "memory is exhausted");
    }
    // libcurl reads other numbers from lines such as "HTTP/2-1".
    if (answer.status < 100 || answer.status > 999) {
        return failure(errorOf(CURLE_WEIRD_SERVER_REPLY), "the status line has no status of three digits");
    }
    if (target != nullptr && isRedirect(answer.status)) {
        next = target;
    }
    isExact_ = arrival_.isExact();
    if (next.empty()) {
        answer.body = std::move(arrival_.body);
    }
    answer.isAtProxy = answer.status == kProxyAuthenticationRequired && !call_.proxy.empty();
    answer.reason = answer.status == kOk ? std::string() : httpStatusText(answer.status);
    return answer;
}

// The hop is taken from https only to https, a POST never where it would have to become a GET, and never with
// credentials that the redirecting server chose. (libcurl adds our own ones to a target on the same server.)
const char* Exchange::objection(const HttpAddress& from, const HttpAddress& to, long status) const {
    if (!to.isHttps && from.isHttps) {
        return "leads from https to http";
    }
    if (!to.login.empty() && (to.server != first_.server || to.login != first_.login)) {
        return "contains a login";
    }
    return call_.post && status == kSeeOther ? "wants a GET in place of the POST (HTTP status 303)" : nullptr;
}

// Moves `address` on to the target of a redirect. An answer with an error says why that is not done.
HttpAnswer Exchange::follow(const std::string& next, long status, HttpAddress& address) const {
    HttpAddress target;
    const DWORD error = parseHttpAddress(next, target);
    if (error == ERROR_NOT_ENOUGH_MEMORY) {
        return failure(error, "memory is exhausted");
    }
    // The observer sees every target, including one that the rules here reject.
    const bool isWanted = !call_.onRedirect || call_.onRedirect(error == 0 ? target.url : next, status);
    const char* const why = error != 0  ? "is no http or https address"
                            : !isWanted ? "is refused by the policy"
                                        : objection(address, target, status);
    if (why != nullptr) {
        return failure(ERROR_HTTP_REDIRECT_FAILED, "the redirect to " + withoutLogin(next) + ' ' + why);
    }
    address = std::move(target);
    return {};
}

HttpAnswer Exchange::run() {
    if (const DWORD error = prepare(); error != 0) {
        return failure(error, reasonOfPreparation(error));
    }
    HttpAddress address = first_;
    std::string next;
    for (long hops = 0; hops <= limits_.maxRedirects; ++hops) {
        HttpAnswer answer = hop(address, next);
        if (answer.error != 0) {
            return answer;
        }
        if (next.empty()) {
            if (answer.status == kOk) {
                keepConnection();
            }
            return answer;
        }
        if (HttpAnswer end = follow(next, answer.status, address); end.error != 0) {
            return end;
        }
        keepConnection();
    }
    return failure(ERROR_HTTP_REDIRECT_FAILED, "more than " + std::to_string(limits_.maxRedirects) +
                                                   " redirects (setting max_redirects), the last to " + address.url);
}

}  // namespace

HttpAnswer exchangeHttp(const HttpCall& call, const ExchangeLimits& limits) {
    return isLibraryReady() ? Exchange(call, limits).run() : failure(ERROR_NOT_ENOUGH_MEMORY, "memory is exhausted");
}

}  // namespace tallow::platform
