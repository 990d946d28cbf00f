// A token for tests: an OpenSSL provider that serves keys for "pkcs11:" URIs after its PIN is given, as those for real
// tokens do, and counts wrong PINs. Loaded during the life of the object; one at a time.
#pragma once

#include <openssl/core_dispatch.h>
#include <openssl/core_names.h>
#include <openssl/core_object.h>
#include <openssl/params.h>
#include <openssl/provider.h>

#include <array>
#include <string>
#include <vector>

#include "tests/support/pki.h"

namespace testkit {

class TokenProvider {
public:
    /// The private `keys` appear in this order. With an empty PIN no login is needed.
    TokenProvider(const std::vector<Key>& keys, const std::string& pin) {
        token = {{}, 0, pin, pin.empty(), 0};
        for (const Key& key : keys) {
            token.keys.push_back(key.pem());
        }
        OSSL_PROVIDER_add_builtin(nullptr, "token", start);
        provider_ = OSSL_PROVIDER_try_load(nullptr, "token", 1);  // without switching the default provider off
    }
    ~TokenProvider() { OSSL_PROVIDER_unload(provider_); }
    TokenProvider(const TokenProvider&) = delete;
    TokenProvider& operator=(const TokenProvider&) = delete;

    /// How often a wrong PIN was tried.
    static int numWrongPins() { return token.numWrongPins; }

private:
    struct Token {
        std::vector<std::string> keys;
        std::size_t next;
        std::string pin;
        bool isOpen;
        int numWrongPins;
    };
    static inline Token token{};

    static void* openSession(void* /*provider*/, const char* /*uri*/) {
        token.next = 0;
        token.isOpen = token.pin.empty();
        return &token;
    }
    static bool logIn(OSSL_PASSPHRASE_CALLBACK* ask, void* argument) {
        std::array<char, 64> pin{};
        std::size_t size = 0;
        if (ask(pin.data(), pin.size(), &size, nullptr, argument) == 0) {
            return false;
        }
        const bool isRight = std::string(pin.data(), size) == token.pin;
        token.numWrongPins += isRight ? 0 : 1;
        return isRight;
    }
    // Without a login there is nothing to see, which is no error.
    static int loadObject(void* /*session*/, OSSL_CALLBACK* show, void* showArgument, OSSL_PASSPHRASE_CALLBACK* ask,
                          void* askArgument) {
        token.isOpen = token.isOpen || logIn(ask, askArgument);
        if (!token.isOpen) {
            token.next = token.keys.size();
            return 0;
        }
        std::string& key = token.keys[token.next++];
        int kind = OSSL_OBJECT_PKEY;
        const std::array parameters{OSSL_PARAM_construct_int(OSSL_OBJECT_PARAM_TYPE, &kind),
                                    OSSL_PARAM_construct_octet_string(OSSL_OBJECT_PARAM_DATA, key.data(), key.size()),
                                    OSSL_PARAM_construct_end()};
        return show(parameters.data(), showArgument);
    }
    static int atEnd(void* /*session*/) { return token.next >= token.keys.size() ? 1 : 0; }
    static int closeSession(void* /*session*/) { return 1; }

    template <typename Function>
    static OSSL_DISPATCH entry(int id, Function* function) {
        return {id, reinterpret_cast<void (*)()>(function)};
    }
    static const OSSL_ALGORITHM* operations(void* /*provider*/, int operation, int* isCacheable) {
        static const std::array loader{entry(OSSL_FUNC_STORE_OPEN, openSession),
                                       entry(OSSL_FUNC_STORE_LOAD, loadObject), entry(OSSL_FUNC_STORE_EOF, atEnd),
                                       entry(OSSL_FUNC_STORE_CLOSE, closeSession), OSSL_DISPATCH{0, nullptr}};
        static const std::array algorithms{OSSL_ALGORITHM{"pkcs11", "provider=token", loader.data(), nullptr},
                                           OSSL_ALGORITHM{nullptr, nullptr, nullptr, nullptr}};
        *isCacheable = 0;
        return operation == OSSL_OP_STORE ? algorithms.data() : nullptr;
    }
    static int start(const OSSL_CORE_HANDLE* handle, const OSSL_DISPATCH* /*core*/, const OSSL_DISPATCH** functions,
                     void** provider) {
        static const std::array own{entry(OSSL_FUNC_PROVIDER_QUERY_OPERATION, operations), OSSL_DISPATCH{0, nullptr}};
        *functions = own.data();
        *provider = const_cast<OSSL_CORE_HANDLE*>(handle);
        return 1;
    }

    OSSL_PROVIDER* provider_;
};

}  // namespace testkit
