#include "cli/network.h"

#include <algorithm>
#include <cctype>
#include <string>

#include "checker/silent_responders.h"
#include "checker/text/safe_text.h"
#include "cli/pin.h"
#include "platform/support/support_service.h"

namespace tallow::cli {

namespace {

constexpr std::chrono::seconds kDefaultTimeout{30};

// A setting that is out of range has no effect; it then counts as absent here, too.
bool hasTimeoutInSettings() {
    constexpr long kLongestMs = 600000;
    long value = 0;
    return support_registry_get_long("\\crypto\\check_timeout_ms", &value) == 0 && value >= 1 && value <= kLongestMs;
}

// An IPv6 address between brackets has something in them. Other hosts have none.
bool isClosedLiteral(const std::string& host) {
    return host.front() != '[' || (host.find(']') != std::string::npos && host.find(']') > 1);
}

}  // namespace

RunNetwork::RunNetwork(const NetworkOptions& options)
    : proxy_(options.proxy),
      user_(options.proxyUser),
      timeout_(options.timeout),
      silent_(std::make_shared<SilentResponders>()) {
    if (!options.proxyPasswordFile.empty()) {
        password_ = text::utf8(Pin(options.proxyPasswordFile, "password").get());
    }
    if (!timeout_ && !hasTimeoutInSettings()) {
        timeout_ = kDefaultTimeout;
    }
}

void RunNetwork::apply(Options& checking) const {
    checking.proxy = proxy_;
    checking.proxyUser = user_;
    checking.proxyPassword = password_;
    checking.timeout = timeout_;
    checking.silent = silent_;
}

std::string mistakeInUrl(const std::string& option, const std::string& url) {
    std::string start = url.substr(0, url.find("://"));
    std::transform(start.begin(), start.end(), start.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    const std::size_t begin = std::min(start.size() + 3, url.size());
    const std::string authority = url.substr(begin, url.find_first_of("/?#", begin) - begin);
    const std::size_t host = authority.rfind('@') + 1;  // after a login
    const bool hasHost = host < authority.size() && authority[host] != ':' && isClosedLiteral(authority.substr(host));
    return url.empty() || (hasHost && (start == "http" || start == "https"))
               ? std::string()
               : option + ": " + text::withoutLogin(url) + " is no http or https address; give one such as http://" +
                     (option.ends_with("url") ? "ocsp.example/" : "proxy.example:3128/");
}

std::string mistakeInNetwork(const NetworkOptions& options) {
    // A proxy may be named without a scheme, and libcurl knows other kinds.
    if (std::string mistake = mistakeInUrl("--proxy", options.proxy);
        !mistake.empty() && options.proxy.find("://") != std::string::npos && !options.proxy.starts_with("socks")) {
        return mistake;
    }
    if (options.proxyUser.empty()) {
        return {};
    }
    if (options.proxy.find('@') != std::string::npos) {
        return "--proxy-user and a login in --proxy exclude each other: leave one of them out";
    }
    return options.proxyUser.find(':') != std::string::npos ? "--proxy-user: a name at a proxy has no colon"
                                                            : std::string();
}

}  // namespace tallow::cli
