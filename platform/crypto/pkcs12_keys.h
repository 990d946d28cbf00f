// The private keys of a PKCS #12 file. OpenSSL's store loader gives the first one alone, and files made from keystores
// hold one for each of their entries.
#pragma once

#include "platform/crypto/certificate.h"

namespace tallow::platform {

// The private key of `publicKey` in a file that opens with `pin` (null: with none). Null when it is not there, or the
// file is of another kind.
KeyPtr findPkcs12Key(ByteView file, const char* pin, EVP_PKEY* publicKey);

}  // namespace tallow::platform
