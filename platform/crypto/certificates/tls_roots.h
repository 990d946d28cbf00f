// The certificates that TLS connections trust, parsed once for all of them: for a file such as the system's that takes
// longer than everything else in a handshake.
#pragma once

#include <openssl/x509_vfy.h>

#include <string>

namespace tallow::platform {

// A reference to the certificates of a PEM file, which the caller releases with X509_STORE_free. They are read again
// when the file changed. Null on failure: `error` is the system's why the file cannot be read, or 0 when it has no
// certificate.
X509_STORE* tlsRoots(const std::string& file, int& error);

}  // namespace tallow::platform
