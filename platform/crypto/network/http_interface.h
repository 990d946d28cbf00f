// What the library of the services and its module for HTTP give each other.
//
// libcurl brings thirty libraries, which most runs do not need. Everything that calls it is in libtallow-http.so, which
// http_module.cpp loads on first use. Both are built together. The module links nothing of the library: it reaches what
// belongs to the process or the thread through HttpServices.
#pragma once

#include <openssl/types.h>
#include <pthread.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/crypto/network/check_scope.h"
#include "platform/crypto/network/http_exchange.h"

namespace tallow::platform {

// What the module calls; see the functions of these names.
struct HttpServices {
    std::string (*systemBundle)();
    X509_STORE* (*tlsRoots)(const std::string& file, int& error);
    bool (*refusesPrivateAddresses)();
    std::chrono::steady_clock::time_point (*checkDeadline)() noexcept;
    CheckTime (*checkTime)() noexcept;
    unsigned int (*leaveForkGate)() noexcept;
    void (*enterForkGate)(unsigned int numGates) noexcept;
    std::uint32_t (*forkGeneration)() noexcept;
    pthread_t (*forkSurvivor)() noexcept;
    void (*noteReuse)(const std::string& server);
};

// What the library calls. The pointers are valid until the process ends.
struct HttpFunctions {
    HttpAnswer (*exchange)(const HttpCall& call, const ExchangeLimits& limits);
    std::string (*libraryVersion)();
};

// The two symbols that the module exports. The first is called first: what it returns differs between versions, and
// between builds whose records differ.
using HttpBuildFunction = const char*();
using HttpConnectFunction = const HttpFunctions*(const HttpServices* services);
inline constexpr char kHttpBuildSymbol[] = "tallow_http_build";
inline constexpr char kHttpConnectSymbol[] = "tallow_http_connect";

// What tallow_http_build of the module that fits this library returns.
inline std::string httpBuild() {
    std::string build = TALLOW_VERSION;
    for (const std::size_t size : {sizeof(HttpCall), sizeof(HttpAnswer), sizeof(ExchangeLimits), sizeof(CheckTime),
                                   sizeof(HttpServices), sizeof(HttpFunctions)}) {
        build += '-' + std::to_string(size);
    }
    return build;
}

}  // namespace tallow::platform
