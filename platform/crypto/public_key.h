// Public keys from their numbers.
#pragma once

#include "platform/crypto/certificate.h"

namespace tallow::platform {

// The key of a SubjectPublicKeyInfo, given in parts and, for the rarer kinds, as a whole. Null when the key is of an
// unknown kind, malformed, or (elliptic curves) not on a named curve: explicit parameters let a stranger choose a curve
// on which somebody else's public key has a private key known to him.
KeyPtr loadPublicKey(const CERT_PUBLIC_KEY_INFO& info, ByteView whole) noexcept;

}  // namespace tallow::platform
