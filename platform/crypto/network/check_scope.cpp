#include "platform/crypto/network/check_scope.h"

#include <algorithm>
#include <limits>
#include <map>
#include <string_view>
#include <utility>

#include "platform/crypto/base/limits.h"
#include "platform/crypto/base/wide_text.h"
#include "platform/support/settings_table.h"

namespace tallow::platform {

namespace {

using Clock = std::chrono::steady_clock;

Clock::time_point deadlineOf(const CRYPTO_CHECK& check) noexcept {
    return Clock::time_point(Clock::duration(static_cast<Clock::rep>(check.qwDeadline)));
}

// ---- The policy's proxy, for downloads outside of a check -----------------------------------------------------------

// The list is one terminated text after the other.
bool contains(std::string_view list, std::string_view wanted) {
    while (!list.empty()) {
        const std::string_view element = list.substr(0, list.find('\0'));
        if (element == wanted) {
            return true;
        }
        list.remove_prefix(std::min(element.size() + 1, list.size()));
    }
    return false;
}

// The authentication types of ProxyAuthTypeDefault; those that are sent are numbered like their bits in CRYPTO_CHECK.
constexpr long kAnonymous = 0;
constexpr long kNegotiate = 16;

struct Scheme {
    long type;
    DWORD bit;  // in CRYPTO_CHECK; 0 when nothing is sent
    const setting::Flag& isDenied;
    const setting::Flag& isDeniedOverTls;
};
constexpr Scheme kSchemes[] = {
    {kAnonymous, 0, setting::ProxyAuthDenyAnonym, setting::ProxyAuthSSLDenyAnonym},
    {CRYPTO_AUTH_BASIC, CRYPTO_AUTH_BASIC, setting::ProxyAuthDenyBasic, setting::ProxyAuthSSLDenyBasic},
    {CRYPTO_AUTH_NTLM, CRYPTO_AUTH_NTLM, setting::ProxyAuthDenyNTLM, setting::ProxyAuthSSLDenyNTLM},
    {CRYPTO_AUTH_DIGEST, CRYPTO_AUTH_DIGEST, setting::ProxyAuthDenyDigest, setting::ProxyAuthSSLDenyDigest},
    {kNegotiate, 0, setting::ProxyAuthDenyNegotiate, setting::ProxyAuthSSLDenyNegotiate},
};

// The same decision as the library's policy check on a new request.
DownloadProxy proxyOfPolicy() {
    using Source = TextValue::Source;
    DownloadProxy proxy;
    const TextValue address = textValueOf(setting::DefaultProxy);
    const TextValue allowed = textValueOf(setting::AllowedProxies);
    proxy.address = address.text;
    proxy.mayDownload = address.source != Source::kUnreadable && allowed.source != Source::kUnreadable &&
                        (allowed.source == Source::kDefault || contains(allowed.text, proxy.address));
    if (!proxy.mayDownload || proxy.address.empty()) {
        return proxy;
    }
    const bool overTls = proxy.address.starts_with("https://");
    const long type = numberOf(overTls ? setting::ProxyAuthSSLTypeDefault : setting::ProxyAuthTypeDefault);
    const bool hasWords = overTls || proxy.address.starts_with("http://");
    for (const Scheme& scheme : kSchemes) {
        const bool denied = flagOf(overTls ? scheme.isDeniedOverTls : scheme.isDenied, true);
        proxy.authSchemes |= denied ? 0 : scheme.bit;
        proxy.mayDownload = proxy.mayDownload && !(hasWords && denied && scheme.type == type);
    }
    return proxy;
}

// ---- Downloads of the outermost check ------------------------------------------------------------------------------

using Downloads = std::map<std::string, Bytes>;

// Null when there are none. Not an object with a destructor: the C library ends the process when it has no memory to
// register one.
constinit thread_local Downloads* downloads = nullptr;

// A flag from a later version may be a restriction, which must not be ignored.
constexpr DWORD kKnownFlags =
    CRYPTO_CHECK_ADDRESS_NAMED | CRYPTO_CHECK_NO_DOWNLOADS | CRYPTO_CHECK_NO_STORES | CRYPTO_CHECK_NO_CACHE;

bool isUsable(const CRYPTO_CHECK* check) noexcept {
    return check != nullptr && check->cbSize == sizeof(CRYPTO_CHECK) && (check->dwFlags & ~kKnownFlags) == 0 &&
           check->pwszProxy != nullptr && check->pwszProxyCredentials != nullptr;
}

}  // namespace

Clock::time_point checkDeadline() noexcept {
    const CRYPTO_CHECK* const check = currentCheck();
    return check == nullptr ? Clock::time_point::max() : deadlineOf(*check);
}

// A check around this one may have the earlier deadline, which was taken over.
CheckTime checkTime() noexcept {
    const CRYPTO_CHECK* check = currentCheck();
    while (check != nullptr && check->pOuter != nullptr && check->pOuter->qwDeadline == check->qwDeadline) {
        check = check->pOuter;
    }
    const bool isOwn = check != nullptr && check->dwTimeout != 0;
    return {isOwn ? static_cast<long>(check->dwTimeout) : checkLimits().timeoutMs, !isOwn};
}

const Bytes* downloadOfCheck(const std::string& url) noexcept {
    if (downloads == nullptr || isForbidden(CRYPTO_CHECK_NO_DOWNLOADS)) {
        return nullptr;
    }
    const auto found = downloads->find(url);
    return found == downloads->end() ? nullptr : &found->second;
}

void keepDownload(const std::string& url, const Bytes& body) {
    constexpr std::size_t kMaxSize = 1024 * 1024;
    if (currentCheck() == nullptr) {
        return;
    }
    if (downloads == nullptr) {
        downloads = new Downloads;
    }
    std::size_t size = url.size() + body.size();
    for (const auto& [known, content] : *downloads) {
        size += known.size() + content.size();
    }
    if (size <= kMaxSize) {
        downloads->insert_or_assign(url, body);
    }
}

DownloadProxy downloadProxy() {
    const CRYPTO_CHECK* const check = currentCheck();
    if (check == nullptr) {
        return proxyOfPolicy();
    }
    return {!isForbidden(CRYPTO_CHECK_NO_DOWNLOADS), narrow(check->pwszProxy), narrow(check->pwszProxyCredentials),
            check->dwProxyAuthSchemes};
}

}  // namespace tallow::platform

using namespace tallow::platform;

// Does not allocate: a check that could not begin because memory ran out would fail as a whole.
BOOL crypto_begin_check(CRYPTO_CHECK* pCheck) {
    if (!isUsable(pCheck)) {
        SetLastError(E_INVALIDARG);
        return FALSE;
    }
    const CheckLimits limits = checkLimits();
    const std::chrono::milliseconds timeout(pCheck->dwTimeout != 0 ? pCheck->dwTimeout : limits.timeoutMs);
    const std::chrono::steady_clock::time_point own = std::chrono::steady_clock::now() + timeout;
    pCheck->cMaxResponders = limits.maxResponders;
    pCheck->cSkippedDownloads = 0;
    pCheck->fAnsweredFromCache = FALSE;
    pCheck->qwDeadline = static_cast<unsigned long long>(std::min(own, checkDeadline()).time_since_epoch().count());
    pCheck->pOuter = currentCheck();
    setCurrentCheck(pCheck);
    return TRUE;
}

void crypto_end_check(CRYPTO_CHECK* pCheck) {
    const CRYPTO_CHECK* check = currentCheck();
    while (check != nullptr && check != pCheck) {
        check = check->pOuter;
    }
    if (check == nullptr) {
        return;  // already ended together with an outer one
    }
    setCurrentCheck(pCheck->pOuter);
    if (pCheck->pOuter != nullptr) {
        pCheck->pOuter->cSkippedDownloads += pCheck->cSkippedDownloads;
    } else {
        delete std::exchange(downloads, nullptr);
    }
}

DWORD crypto_check_time_left() {
    if (currentCheck() == nullptr) {
        return std::numeric_limits<DWORD>::max();
    }
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(checkDeadline() - std::chrono::steady_clock::now());
    return left.count() <= 0 ? 0 : static_cast<DWORD>(left.count());
}
