// Public keys from their numbers.
#pragma once

#include "platform/crypto/base/bytes.h"
#include "platform/crypto/base/openssl_handles.h"

namespace tallow::platform {

// The key of a SubjectPublicKeyInfo, given in parts and, for the rarer kinds, as a whole. Null when the key is of an
// unknown kind, malformed, not on a named curve (with explicit parameters an attacker can choose a curve on which the
// private key of a given public key is known), or lets signatures be made without a private key.
KeyPtr loadPublicKey(const CERT_PUBLIC_KEY_INFO& info, ByteView whole) noexcept;

}  // namespace tallow::platform
