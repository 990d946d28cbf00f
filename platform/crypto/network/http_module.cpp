// The library's side of libtallow-http.so: finds and loads it on first use, and passes exchanges on to it.
//
// The module is looked for only in the directory `tallow` beside the file of this library: no search path, no variable
// of the environment and no current directory may choose the code that is loaded. It is never unloaded. Its own symbols
// are all bound when it is loaded, so that a libcurl that lacks one is noticed then (-z now). RTLD_NOW would bind those
// of thirty libraries too.
#include <dlfcn.h>
#include <sys/stat.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <utility>

#include "platform/crypto/base/service_call.h"
#include "platform/crypto/certificates/system_store.h"
#include "platform/crypto/network/exchange_note.h"
#include "platform/crypto/network/http_interface.h"
#include "platform/crypto/network/http_version.h"

namespace tallow::platform {

namespace {

constexpr char kFile[] = "/tallow/libtallow-http.so." TALLOW_VERSION;
// Where the module should be if memory was exhausted when this library was loaded.
constexpr char kInstalledIn[] = TALLOW_LIBRARY_FOLDER;

constexpr HttpServices kServices = {systemBundle,       refusesPrivateAddresses, checkDeadline, checkTime,
                                    ForkGate::leaveAll, ForkGate::enterAgain,    noteReuse};

struct TextFree {
    void operator()(char* text) const noexcept { std::free(text); }
};

// The dynamic linker knows this library by the name it was opened with, which is relative when the search path is. Such
// a name is made absolute at once: later the current directory may be another one.
char* ownFile = nullptr;

[[gnu::constructor]] void noteOwnFile() noexcept {
    if (Dl_info self{}; ::dladdr(&kServices, &self) != 0 && self.dli_fname != nullptr) {
        ownFile = self.dli_fname[0] == '/' ? ::strdup(self.dli_fname) : ::realpath(self.dli_fname, nullptr);
    }
}

bool isThere(const std::string& file) {
    struct stat status {};
    return ::stat(file.c_str(), &status) == 0;
}

std::string moduleFile() {
    if (ownFile == nullptr) {
        return std::string(kInstalledIn) + kFile;
    }
    const auto beside = [](const std::string& own) { return own.substr(0, own.rfind('/')) + kFile; };
    const std::unique_ptr<char, TextFree> resolved(::realpath(ownFile, nullptr));
    std::string file = beside(resolved ? resolved.get() : ownFile);
    // In a tree of links to single files the directory is beside the link.
    if (const std::string linked = beside(ownFile); !isThere(file) && isThere(linked)) {
        file = linked;
    }
    return file;
}

// Either the functions, or why there are none.
struct Loaded {
    const HttpFunctions* functions = nullptr;
    std::string fault;
};

Loaded failed(const std::string& file, std::string cause) {
    TALLOW_CRYPTO_TRACE("%s is not used: %s\n", file.c_str(), cause.c_str());
    return {nullptr, "HTTP needs the module " + file + ", which " + std::move(cause)};
}

std::string loaderError(const std::string& file) {
    const char* const error = ::dlerror();
    const std::string text = error == nullptr ? "unknown cause" : error;
    return "cannot be loaded: " + (text.starts_with(file + ": ") ? text.substr(file.size() + 2) : text);
}

Loaded load() {
    const std::string file = moduleFile();
    // Opening a pipe would wait.
    if (struct stat status{}; ::stat(file.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        return failed(file, "is no regular file");
    }
    void* const module = ::dlopen(file.c_str(), RTLD_LAZY | RTLD_LOCAL | RTLD_NODELETE);
    if (module == nullptr) {
        return failed(file, loaderError(file));
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
    const std::string file = moduleFile();
    return "built with " TALLOW_LIBCURL_VERSION "; " +
           (isThere(file) ? "loaded on first use by " + file : "cannot be used without " + file);
}

}  // namespace tallow::platform
