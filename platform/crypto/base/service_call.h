// The frame around every exported function of the Crypto service: failures set the last error, no exception leaves, and
// OpenSSL's error queue stays as the application had it.
#pragma once

#include <openssl/err.h>

#include <cstring>
#include <new>

#include "platform/crypto/base/bytes.h"
#include "platform/crypto/crypto_service.h"
#include "platform/support/fork_gate.h"

namespace tallow::platform {

// Sets the last error and returns FALSE.
inline BOOL fail(DWORD code) noexcept {
    SetLastError(code);
    return FALSE;
}

// TRUE for 0, else FALSE with the code as last error.
inline BOOL done(DWORD code) noexcept {
    return code == 0 ? TRUE : fail(code);
}

// Removes what OpenSSL added to the error queue of this thread during the life of the object.
class OpenSslErrors {
public:
    OpenSslErrors() noexcept { ERR_set_mark(); }
    ~OpenSslErrors() { ERR_pop_to_mark(); }
    OpenSslErrors(const OpenSslErrors&) = delete;
    OpenSslErrors& operator=(const OpenSslErrors&) = delete;
};

// Whether OpenSSL is initialised. It initialises itself once, on first use; after a failure it would dereference null
// pointers for the rest of the process.
bool isOpenSslReady() noexcept;

// Runs the body of an exported function; an exception becomes a last error and the value `failure`. A failure for which
// the body sets no last error gets one, since callers take 0 for success. The body does not run if OpenSSL could not
// initialise itself.
template <typename Result, typename Body>
Result serviceCall(Result failure, Body body) noexcept {
    const ForkGate gate;
    const OpenSslErrors errors;
    const DWORD before = GetLastError();
    SetLastError(0);
    Result result = failure;
    try {
        if (!isOpenSslReady()) {
            throw std::bad_alloc();
        }
        result = body();
    } catch (const std::bad_alloc&) {
        SetLastError(E_OUTOFMEMORY);
    } catch (...) {
        SetLastError(NTE_FAIL);
    }
    if (GetLastError() == 0) {
        SetLastError(result == failure ? NTE_FAIL : before);
    }
    return result;
}

// The two-step protocol for octets: 0, or ERROR_MORE_DATA.
inline DWORD giveBytes(ByteView value, void* buffer, DWORD* size) noexcept {
    const DWORD room = *size;
    *size = static_cast<DWORD>(value.size());
    if (buffer == nullptr) {
        return 0;
    }
    if (room < value.size()) {
        return ERROR_MORE_DATA;
    }
    if (!value.empty()) {
        std::memcpy(buffer, value.data(), value.size());
    }
    return 0;
}

// The trace context "crypto" of this service.
TSupportDbContext_* traceContext() noexcept;

}  // namespace tallow::platform

// One trace line; the arguments are computed only when it is written.
#define TALLOW_CRYPTO_TRACE(format, ...)                                                  \
    do {                                                                                  \
        if (support_print_is(tallow::platform::traceContext(), 8) != 0) {                 \
            support_dprint_print_(tallow::platform::traceContext(), format, "", __LINE__, \
                                  __func__ __VA_OPT__(, ) __VA_ARGS__);                   \
        }                                                                                 \
    } while (false)
