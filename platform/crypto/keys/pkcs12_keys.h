// The private keys of a PKCS #12 file. OpenSSL's store loader returns only the first one, decrypts at any cost that the
// file asks for, and reports every failure as a wrong PIN, so these files are read here.
#pragma once

#include "platform/crypto/base/bytes.h"
#include "platform/crypto/base/openssl_handles.h"

namespace tallow::platform {

// The result of a search for one private key.
struct Pkcs12Result {
    bool isPkcs12 = false;
    KeyPtr found = nullptr;
    bool isLocked = false;       // the PIN does not open the file, or a key in it
    bool isUnsupported = false;  // something uses unsupported encryption or too many rounds
    bool sawOtherKey = false;
};

// Looks for the private key of `publicKey` in a file that opens with `pin` (null: with none).
Pkcs12Result findPkcs12Key(ByteView file, const char* pin, EVP_PKEY* publicKey);

}  // namespace tallow::platform
