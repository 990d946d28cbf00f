// Owners of the Crypto service's provider, key and hash handles.
//
//   ATL::CCryptProv provider;
//   if (!CryptAcquireContextA(provider.put(), nullptr, nullptr, type, flags)) ATL2::throwLastErrorOrFail();
//   if (!CryptGenRandom(provider.get(), size, octets)) ATL2::throwLastErrorOrFail();
//
// A handle is a number of the service, not a pointer; 0 is none. An owner belongs to one thread at a time. Keys and
// hashes are made with a provider: declare their owners after the provider's, so that they are released before it.
#pragma once

#include "export.h"

namespace ATL {

/// Owns one handle, 0 when empty, and releases it when destroyed. Moved, not copied; no member throws.
/// `Traits::release` releases one kind of handle and returns whether that succeeded. Only the three kinds below exist:
/// the members are compiled into the library for these.
///
/// A destructor cannot report a failed release: reset() first where it matters, and test for an empty object.
template <class Traits>
class TALLOW_EXPORT CryptHandle {
public:
    /// The type of all three kinds of handles. The compiler does not tell them apart: their owners do.
    using Handle = unsigned long long;

    /// An empty object.
    constexpr CryptHandle() noexcept = default;
    /// Takes ownership of `handle`, which nothing else may release; 0 gives an empty object.
    explicit constexpr CryptHandle(Handle handle) noexcept : handle_(handle) {}
    /// A move leaves `other` empty; a move assignment releases the present handle first.
    CryptHandle(CryptHandle&& other) noexcept : handle_(other.detach()) {}
    CryptHandle& operator=(CryptHandle&& other) noexcept;
    CryptHandle(const CryptHandle&) = delete;
    CryptHandle& operator=(const CryptHandle&) = delete;
    ~CryptHandle() { reset(); }

    /// The handle, which stays this object's; 0 when empty. Valid until the object is changed or destroyed.
    [[nodiscard]] Handle get() const noexcept { return handle_; }
    /// Whether a handle is held.
    explicit operator bool() const noexcept { return handle_ != 0; }
    /// Releases the present handle and returns the place for a service call to write a new one into. The place belongs
    /// to this object. When the call fails, the object stays empty.
    [[nodiscard]] Handle* put() noexcept;
    /// Releases the present handle and takes ownership of `handle`. Without a new handle, one that the service fails to
    /// release is kept, and the next reset tries again.
    void reset(Handle handle = 0) noexcept;
    /// Returns the handle and leaves this object empty; the caller must release it, as when a provider is handed to
    /// code that keeps it.
    [[nodiscard]] Handle detach() noexcept;

private:
    Handle handle_ = 0;
};

/// How each kind is released: CryptReleaseContext, CryptDestroyKey, CryptDestroyHash. Only the release of a provider
/// can fail. Not to be called directly.
struct TALLOW_EXPORT CryptProvTraits {
    static bool release(unsigned long long handle) noexcept;  ///< false when it fails
};
struct TALLOW_EXPORT CryptKeyTraits {
    static bool release(unsigned long long handle) noexcept;  ///< false when it fails
};
struct TALLOW_EXPORT CryptHashTraits {
    static bool release(unsigned long long handle) noexcept;  ///< false when it fails
};

extern template class CryptHandle<CryptProvTraits>;
extern template class CryptHandle<CryptKeyTraits>;
extern template class CryptHandle<CryptHashTraits>;

/// A provider (HCRYPTPROV): access to private keys and random numbers. One that CryptAcquireCertificatePrivateKey
/// reports as not to be freed by the caller must not be given to an owner.
using CCryptProv = CryptHandle<CryptProvTraits>;

/// A key of a provider (HCRYPTKEY). libtallow-platform makes none; other implementations of the service may.
class TALLOW_EXPORT CCryptKey : public CryptHandle<CryptKeyTraits> {
public:
    using CryptHandle::CryptHandle;
    static CCryptKey EmptyKey;  ///< holds 0 for the whole process; for calls that want a key and are given none
};

/// A hash object of a provider (HCRYPTHASH), likewise.
class TALLOW_EXPORT CCryptHash : public CryptHandle<CryptHashTraits> {
public:
    using CryptHandle::CryptHandle;
    static CCryptHash EmptyHash;  ///< holds 0 for the whole process
};

}  // namespace ATL

namespace ATL2 {

/// Holds 0 for the whole process: passed where a store is opened and no provider is wanted. Like the two empty objects
/// above it is shared by all threads: never put a handle into it.
extern TALLOW_EXPORT ATL::CCryptProv EmptyProv;

}  // namespace ATL2
