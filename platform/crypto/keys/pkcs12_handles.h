// Owning handles of the parts of a PKCS #12 file.
#pragma once

#include <openssl/pkcs12.h>

#include "platform/crypto/base/openssl_handles.h"

namespace tallow::platform {

inline void freeSafes(STACK_OF(PKCS7) * stack) noexcept {
    sk_PKCS7_pop_free(stack, PKCS7_free);
}
inline void freeBags(STACK_OF(PKCS12_SAFEBAG) * stack) noexcept {
    sk_PKCS12_SAFEBAG_pop_free(stack, PKCS12_SAFEBAG_free);
}
using Pkcs12Ptr = std::unique_ptr<PKCS12, OpenSslFree<PKCS12_free>>;
using SafesPtr = std::unique_ptr<STACK_OF(PKCS7), OpenSslFree<freeSafes>>;
using BagsPtr = std::unique_ptr<STACK_OF(PKCS12_SAFEBAG), OpenSslFree<freeBags>>;

}  // namespace tallow::platform
