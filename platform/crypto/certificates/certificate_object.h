// OpenSSL's object for a certificate. OpenSSL reads the public key along with the rest, and its generic reader of keys
// takes nine tenths of that time. Where the key is read elsewhere (public_key.h), the object can be made without it.
#pragma once

#include "platform/crypto/base/bytes.h"
#include "platform/crypto/base/openssl_handles.h"

namespace tallow::platform {

// Null when OpenSSL refuses the certificate, or memory is exhausted.
X509Ptr parseWithKey(ByteView der);

// The same object with a placeholder instead of the key, with which no signature verifies. For certificates whose key
// was read without OpenSSL's reader. Null when the object would differ in more than the key, for a certificate with its
// own name as the issuer's, of which OpenSSL compares key and signature, and for the first few of a process.
X509Ptr parseWithoutKey(ByteView der);

}  // namespace tallow::platform
