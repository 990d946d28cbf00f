// The cost of opening an encrypted key. The file chooses the number of rounds, and a hostile file asks for days of
// work.
#pragma once

#include <openssl/x509.h>

#include "platform/crypto/base/bytes.h"

namespace tallow::platform {

// The rounds that one key file may cost in total: some seconds. Real files ask for a few thousand to a million.
inline constexpr unsigned long long kMaximumRounds = 5000000;

// The rounds of all password-based algorithms that appear anywhere in DER (PKCS #5: PBES1, PBKDF2, scrypt; PKCS #12:
// its own ones and the MAC); above the limit when one cannot be read. Encrypted parts are not examined.
unsigned long long roundsIn(ByteView der);
unsigned long long roundsOf(const X509_ALGOR* algorithm);

// Whether this OpenSSL can decrypt data encrypted with the algorithm.
bool canOpen(const X509_ALGOR* algorithm);

}  // namespace tallow::platform
