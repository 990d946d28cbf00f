// A token for tests: a provider of OpenSSL that serves keys by "pkcs11:" URIs once its PIN is given, as those for real
// tokens do, and counts wrong ones. Beside the default provider for as long as the object lives; one at a time.
#pragma once

#include <openssl/provider.h>

#include <string>
#include <vector>

#include "tests/support/pki.h"

namespace testkit {

class TokenProvider {
public:
    /// `keys` are private and come in this order. An empty PIN: they are shown to everybody.
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
