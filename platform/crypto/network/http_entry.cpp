// The module's side of http_interface.h: what it exports, and the functions of the library that its sources call.
#include "export.h"
#include "platform/crypto/certificates/system_store.h"
#include "platform/crypto/certificates/tls_roots.h"
#include "platform/crypto/network/exchange_note.h"
#include "platform/crypto/network/http_interface.h"
#include "platform/crypto/network/http_version.h"
#include "platform/support/fork_gate.h"
#include "platform/support/never_destroyed.h"

namespace tallow::platform {

namespace {

const HttpServices* services = nullptr;  // set before the first call of a function below, by tallow_http_connect
constexpr HttpFunctions kFunctions = {exchangeHttp, libcurlVersion};

}  // namespace

std::string systemBundle() {
    return services->systemBundle();
}

X509_STORE* tlsRoots(const std::string& file, int& error) {
    return services->tlsRoots(file, error);
}

bool refusesPrivateAddresses() {
    return services->refusesPrivateAddresses();
}

std::chrono::steady_clock::time_point checkDeadline() noexcept {
    return services->checkDeadline();
}

CheckTime checkTime() noexcept {
    return services->checkTime();
}

void noteReuse(const std::string& server) {
    services->noteReuse(server);
}

unsigned int ForkGate::leaveAll() noexcept {
    return services->leaveForkGate();
}

std::uint32_t ForkGate::generation() noexcept {
    return services->forkGeneration();
}

pthread_t ForkGate::survivor() noexcept {
    return services->forkSurvivor();
}

void ForkGate::enterAgain(unsigned int numGates) noexcept {
    services->enterForkGate(numGates);
}

}  // namespace tallow::platform

extern "C" {

TALLOW_EXPORT const char* tallow_http_build() try {
    static tallow::platform::NeverDestroyed<const std::string> build(tallow::platform::httpBuild());
    return build->c_str();
} catch (...) {
    return "";
}

TALLOW_EXPORT const tallow::platform::HttpFunctions* tallow_http_connect(
    const tallow::platform::HttpServices* library) {
    tallow::platform::services = library;
    return &tallow::platform::kFunctions;
}

}  // extern "C"
