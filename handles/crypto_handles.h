// Owners of the Crypto service's provider, key and hash handles.
//
//   ATL::CCryptProv provider;
//   if (!CryptAcquireContextA(provider.put(), nullptr, nullptr, type, flags)) ATL::AtlThrowLastWin32();
#pragma once

#include "export.h"

namespace ATL {

/// Owns one handle, 0 when empty, and gives it back to the service when destroyed. A failing release has no effect on
/// the program. Moved, not copied.
template <class Traits>
class TALLOW_EXPORT CryptHandle {
public:
    using Handle = unsigned long long;

    constexpr CryptHandle() noexcept = default;
    /// Takes `handle` over.
    explicit constexpr CryptHandle(Handle handle) noexcept : handle_(handle) {}
    CryptHandle(CryptHandle&& other) noexcept : handle_(other.detach()) {}
    CryptHandle& operator=(CryptHandle&& other) noexcept;
    CryptHandle(const CryptHandle&) = delete;
    CryptHandle& operator=(const CryptHandle&) = delete;
    ~CryptHandle() { reset(); }

    [[nodiscard]] Handle get() const noexcept { return handle_; }
    explicit operator bool() const noexcept { return handle_ != 0; }
    /// Releases what is held and gives the place for a service call to write a new handle into.
    [[nodiscard]] Handle* put() noexcept;
    /// Releases what is held and takes `handle` over.
    void reset(Handle handle = 0) noexcept;
    /// Gives the handle away; the caller must release it.
    [[nodiscard]] Handle detach() noexcept;

private:
    Handle handle_ = 0;
};

/// How each kind is given back; true when the service has taken it.
struct TALLOW_EXPORT CryptProvTraits {
    static bool release(unsigned long long handle) noexcept;
};
struct TALLOW_EXPORT CryptKeyTraits {
    static bool release(unsigned long long handle) noexcept;
};
struct TALLOW_EXPORT CryptHashTraits {
    static bool release(unsigned long long handle) noexcept;
};

extern template class CryptHandle<CryptProvTraits>;
extern template class CryptHandle<CryptKeyTraits>;
extern template class CryptHandle<CryptHashTraits>;

using CCryptProv = CryptHandle<CryptProvTraits>;

class TALLOW_EXPORT CCryptKey : public CryptHandle<CryptKeyTraits> {
public:
    using CryptHandle::CryptHandle;
    static CCryptKey EmptyKey;  ///< holds 0 for the whole process; for calls that want a key and are given none
};

class TALLOW_EXPORT CCryptHash : public CryptHandle<CryptHashTraits> {
public:
    using CryptHandle::CryptHandle;
    static CCryptHash EmptyHash;  ///< holds 0 for the whole process
};

}  // namespace ATL

namespace ATL2 {

/// Holds 0 for the whole process: passed where a store is opened and no provider is wanted.
extern TALLOW_EXPORT ATL::CCryptProv EmptyProv;

}  // namespace ATL2
