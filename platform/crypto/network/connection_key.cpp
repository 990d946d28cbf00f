#include "platform/crypto/network/connection_key.h"

#include <strings.h>
#include <sys/stat.h>

#include <algorithm>

#include "platform/crypto/certificates/system_store.h"

namespace tallow::platform {

namespace {

// A line without influence on the connection or the rights of the request. Of other names nothing is known.
bool isHarmless(const std::string& line) {
    constexpr const char* kNames[] = {"accept", "cache-control", "content-type", "pragma"};
    const std::string name = line.substr(0, line.find(':'));
    return std::any_of(std::begin(kNames), std::end(kNames),
                       [&name](const char* harmless) { return ::strcasecmp(name.c_str(), harmless) == 0; });
}

// A file that was replaced or changed has another text; empty when it cannot be found.
std::string stateOf(const std::string& file) {
    struct stat status {};
    if (::stat(file.c_str(), &status) != 0) {
        return {};
    }
    std::string text = file;
    for (const auto number : {static_cast<long long>(status.st_dev), static_cast<long long>(status.st_ino),
                              static_cast<long long>(status.st_size), static_cast<long long>(status.st_ctim.tv_sec),
                              static_cast<long long>(status.st_ctim.tv_nsec)}) {
        text += ' ' + std::to_string(number);
    }
    return text;
}

}  // namespace

std::string connectionKey(const HttpCall& call, const HttpAddress& address) {
    const bool hasLogin = !address.login.empty() || !call.proxyCredentials.empty();
    if (hasLogin || !call.proxy.empty() || !std::all_of(call.headers.begin(), call.headers.end(), isHarmless)) {
        return {};
    }
    if (!address.isHttps) {
        return address.server;
    }
    const std::string roots = stateOf(systemBundle());
    return roots.empty() ? roots : address.server + ' ' + roots;
}

}  // namespace tallow::platform
