#include "handles/crypto_handles.h"

#include <utility>

#include "platform/crypto/crypto_service.h"

namespace ATL {

template <class Traits>
CryptHandle<Traits>& CryptHandle<Traits>::operator=(CryptHandle&& other) noexcept {
    if (this != &other) {
        reset(other.detach());
    }
    return *this;
}

template <class Traits>
typename CryptHandle<Traits>::Handle* CryptHandle<Traits>::put() noexcept {
    reset();
    return &handle_;
}

template <class Traits>
void CryptHandle<Traits>::reset(Handle handle) noexcept {
    // A handle that the service failed to release is kept, unless a new one replaces it.
    if (handle_ != 0 && (Traits::release(handle_) || handle != 0)) {
        handle_ = 0;
    }
    if (handle != 0) {
        handle_ = handle;
    }
}

template <class Traits>
typename CryptHandle<Traits>::Handle CryptHandle<Traits>::detach() noexcept {
    return std::exchange(handle_, 0);
}

bool CryptProvTraits::release(unsigned long long handle) noexcept {
    return CryptReleaseContext(handle, 0) != FALSE;
}

bool CryptKeyTraits::release(unsigned long long handle) noexcept {
    CryptDestroyKey(handle);
    return true;
}

bool CryptHashTraits::release(unsigned long long handle) noexcept {
    CryptDestroyHash(handle);
    return true;
}

template class CryptHandle<CryptProvTraits>;
template class CryptHandle<CryptKeyTraits>;
template class CryptHandle<CryptHashTraits>;

constinit CCryptKey CCryptKey::EmptyKey;
constinit CCryptHash CCryptHash::EmptyHash;

}  // namespace ATL

namespace ATL2 {

constinit ATL::CCryptProv EmptyProv;

}  // namespace ATL2
