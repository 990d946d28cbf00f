// A token for tests: an OpenSSL provider that serves keys for "pkcs11:" URIs after its PIN is given, as those for real
// tokens do, and counts wrong PINs. Loaded during the life of the object; one at a time.
#pragma once

#include <openssl/provider.h>

#include <string>
#include <vector>

#include "tests/support/pki.h"

namespace testkit {

class TokenProvider {
public:
    /// The private `keys` appear in this order. With an empty PIN no login is needed.
    TokenProvider(const std::vector<Key>& keys, const std::string& pin);
    ~TokenProvider();
    TokenProvider(const TokenProvider&) = delete;
    TokenProvider& operator=(const TokenProvider&) = delete;

    /// How often a wrong PIN was tried.
    int numWrongPins() const;

private:
    OSSL_PROVIDER* provider_;
};

}  // namespace testkit
