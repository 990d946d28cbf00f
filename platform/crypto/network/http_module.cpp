// The library's side of libtallow-http.so: finds and loads it on first use, and passes exchanges on to it.
#include <dlfcn.h>

#include <mutex>
#include <utility>

#include "platform/crypto/base/service_call.h"
#include "platform/crypto/certificates/system_store.h"
#include "platform/crypto/certificates/tls_roots.h"
#include "platform/crypto/network/exchange_note.h"
#include "platform/crypto/network/http_interface.h"
#include "platform/crypto/network/http_version.h"
#include "platform/crypto/network/module_file.h"

namespace tallow::platform {

namespace {

constexpr HttpServices kServices = {
    systemBundle,       tlsRoots,           refusesPrivateAddresses, checkDeadline,
    checkTime,          ForkGate::leaveAll, ForkGate::enterAgain,    ForkGate::generation,
    ForkGate::survivor, noteReuse};

// Either the functions, or why there are none.
struct Loaded {
    const HttpFunctions* functions = nullptr;
    std::string fault;
};

Loaded failed(const std::string& file, std::string cause) {
    TALLOW_CRYPTO_TRACE("%s is not used: %s\n", file.c_str(), cause.c_str());
    return {nullptr, "HTTP needs the module " + file + ", which " + std::move(cause)};
}

Loaded load() {
    const std::string file = moduleFile("libtallow-http");
    const auto [module, fault] = openModule(file);
    if (module == nullptr) {
        return failed(file, fault);
    }
    auto* const build = reinterpret_cast<HttpBuildFunction*>(::dlsym(module, kHttpBuildSymbol));
    auto* const connect = reinterpret_cast<HttpConnectFunction*>(::dlsym(module, kHttpConnectSymbol));
    if (build == nullptr || connect == nullptr) {
        return failed(file, "is no module of tallow");
    }
    if (const std::string found = build(), wanted = httpBuild(); found != wanted) {
        return failed(file, "is of another build (" + found + ", not " + wanted + ')');
    }
    return {connect(&kServices), {}};
}

const HttpFunctions* loadedFunctions = nullptr;
constinit std::mutex loading;

// Only success is kept: after a failure, such as exhausted memory, the next exchange tries again.
Loaded httpModule() {
    const std::scoped_lock lock(loading);
    if (loadedFunctions != nullptr) {
        return {loadedFunctions, {}};
    }
    Loaded loaded = load();
    loadedFunctions = loaded.functions;
    return loaded;
}

}  // namespace

HttpAnswer exchangeHttp(const HttpCall& call, const ExchangeLimits& limits) {
    Loaded module = httpModule();
    if (module.functions != nullptr) {
        return module.functions->exchange(call, limits);
    }
    HttpAnswer answer;
    answer.error = ERROR_MOD_NOT_FOUND;
    answer.reason = std::move(module.fault);
    return answer;
}

// Does not load the module: that costs more than all else that a program does to print versions.
std::string libcurlVersion() {
    const std::scoped_lock lock(loading);
    if (loadedFunctions != nullptr) {
        return loadedFunctions->libraryVersion();
    }
    const std::string file = moduleFile("libtallow-http");
    return "built with " TALLOW_LIBCURL_VERSION "; " +
           (isFileThere(file) ? "loaded on first use by " + file : "cannot be used without " + file);
}

}  // namespace tallow::platform
