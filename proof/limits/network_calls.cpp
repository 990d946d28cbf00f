// Replaces connect() and getaddrinfo(), also in the command, into which it is preloaded. No other machine is contacted:
// the call is noted and fails. TALLOW_NAMES names the addresses of a name: "many.test=127.0.1.1,127.0.1.2".
#include "proof/limits/network_calls.h"

#include <arpa/inet.h>
#include <dlfcn.h>
#include <netdb.h>
#include <netinet/in.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace proof {

namespace {

struct Calls {
    std::mutex mutex;
    std::map<std::string, std::vector<std::string>> names;
    std::vector<std::string> contacted;
};

void addNames(std::istringstream text, Calls& calls) {
    for (std::string name; std::getline(text, name, '=');) {
        std::string addresses;
        std::getline(text, addresses, ';');
        std::istringstream list(addresses);
        for (std::string address; std::getline(list, address, ',');) {
            calls.names[name].push_back(address);
        }
    }
}

Calls& calls() {
    static Calls* const all = [] {
        auto* const made = new Calls;
        const char* const names = std::getenv("TALLOW_NAMES");
        addNames(std::istringstream(names == nullptr ? "" : names), *made);
        return made;
    }();
    return *all;
}

template <typename Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

std::string textOf(const sockaddr* address) {
    char text[INET6_ADDRSTRLEN] = "";
    const void* const octets =
        address->sa_family == AF_INET
            ? static_cast<const void*>(&reinterpret_cast<const sockaddr_in*>(address)->sin_addr)
            : static_cast<const void*>(&reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr);
    ::inet_ntop(address->sa_family, octets, text, sizeof text);
    return text;
}

}  // namespace

void setAddresses(const std::string& name, const std::vector<std::string>& addresses) {
    const std::lock_guard<std::mutex> lock(calls().mutex);
    calls().names[name] = addresses;
}

std::vector<std::string> takeContacted() {
    const std::lock_guard<std::mutex> lock(calls().mutex);
    return std::exchange(calls().contacted, {});
}

}  // namespace proof

extern "C" {

int connect(int socket, const sockaddr* address, socklen_t size) {
    static auto* const real = proof::next<int(int, const sockaddr*, socklen_t)>("connect");
    if (address->sa_family != AF_INET && address->sa_family != AF_INET6) {
        return real(socket, address, size);
    }
    const std::string text = proof::textOf(address);
    {
        const std::lock_guard<std::mutex> lock(proof::calls().mutex);
        proof::calls().contacted.push_back(text);
    }
    if (!text.starts_with("127.")) {
        errno = ENETUNREACH;
        return -1;
    }
    return real(socket, address, size);
}

// The list of several addresses is linked from lists of one, which freeaddrinfo frees one after the other.
int getaddrinfo(const char* node, const char* service, const addrinfo* hints, addrinfo** result) {
    using Function = int(const char*, const char*, const addrinfo*, addrinfo**);
    static auto* const real = proof::next<Function>("getaddrinfo");
    std::vector<std::string> addresses;
    if (node != nullptr) {
        const std::lock_guard<std::mutex> lock(proof::calls().mutex);
        const auto known = proof::calls().names.find(node);
        if (known != proof::calls().names.end()) {
            addresses = known->second;
        }
    }
    if (addresses.empty()) {
        return real(node, service, hints, result);
    }
    addrinfo** end = result;
    addrinfo wanted = hints == nullptr ? addrinfo{} : *hints;
    wanted.ai_flags = AI_NUMERICHOST;
    wanted.ai_socktype = SOCK_STREAM;
    *result = nullptr;
    for (const std::string& address : addresses) {
        if (real(address.c_str(), service, &wanted, end) == 0) {
            end = &(*end)->ai_next;
        }
    }
    return *result == nullptr ? EAI_NONAME : 0;
}

}  // extern "C"
