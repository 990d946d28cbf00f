#include "tests/platform/token_provider.h"

#include <openssl/core_dispatch.h>
#include <openssl/core_names.h>
#include <openssl/core_object.h>
#include <openssl/params.h>

#include <array>
#include <cstring>

#include "tests/support/openssl_ptr.h"

namespace testkit {

namespace {

struct Token {
    std::vector<Bytes> keys;  // PrivateKeyInfo
    std::string pin;
    int numWrongPins = 0;
};

Token& token() {
    static Token only;
    return only;
}

struct Session {
    std::size_t next = 0;
    bool isOpen = false;
};

void* openSession(void* /*provider*/, const char* /*uri*/) {
    return new Session{0, token().pin.empty()};
}

bool logIn(OSSL_PASSPHRASE_CALLBACK* ask, void* argument) {
    std::array<char, 64> pin{};
    std::size_t size = 0;
    if (ask(pin.data(), pin.size(), &size, nullptr, argument) == 0) {
        return false;
    }
    const bool isRight = std::string(pin.data(), size) == token().pin;
    token().numWrongPins += isRight ? 0 : 1;
    return isRight;
}

// Without a login there is nothing to see, which is no error.
int loadObject(void* opened, OSSL_CALLBACK* show, void* showArgument, OSSL_PASSPHRASE_CALLBACK* ask,
               void* askArgument) {
    auto& session = *static_cast<Session*>(opened);
    session.isOpen = session.isOpen || logIn(ask, askArgument);
    if (!session.isOpen) {
        session.next = token().keys.size();
        return 0;
    }
    Bytes& key = token().keys[session.next++];
    int kind = OSSL_OBJECT_PKEY;
    const std::array parameters{OSSL_PARAM_construct_int(OSSL_OBJECT_PARAM_TYPE, &kind),
                                OSSL_PARAM_construct_octet_string(OSSL_OBJECT_PARAM_DATA, key.data(), key.size()),
                                OSSL_PARAM_construct_end()};
    return show(parameters.data(), showArgument);
}

int atEnd(void* opened) {
    return static_cast<Session*>(opened)->next >= token().keys.size() ? 1 : 0;
}

int closeSession(void* opened) {
    delete static_cast<Session*>(opened);
    return 1;
}

template <typename Function>
OSSL_DISPATCH entry(int id, Function* function) {
    return {id, reinterpret_cast<void (*)()>(function)};
}

const OSSL_ALGORITHM* operations(void* /*provider*/, int operation, int* isCacheable) {
    static const std::array loader{entry(OSSL_FUNC_STORE_OPEN, openSession), entry(OSSL_FUNC_STORE_LOAD, loadObject),
                                   entry(OSSL_FUNC_STORE_EOF, atEnd), entry(OSSL_FUNC_STORE_CLOSE, closeSession),
                                   OSSL_DISPATCH{0, nullptr}};
    static const std::array algorithms{OSSL_ALGORITHM{"pkcs11", "provider=token", loader.data(), nullptr},
                                       OSSL_ALGORITHM{nullptr, nullptr, nullptr, nullptr}};
    *isCacheable = 0;
    return operation == OSSL_OP_STORE ? algorithms.data() : nullptr;
}

int start(const OSSL_CORE_HANDLE* handle, const OSSL_DISPATCH* /*core*/, const OSSL_DISPATCH** functions,
          void** provider) {
    static const std::array own{entry(OSSL_FUNC_PROVIDER_QUERY_OPERATION, operations), OSSL_DISPATCH{0, nullptr}};
    *functions = own.data();
    *provider = const_cast<OSSL_CORE_HANDLE*>(handle);
    return 1;
}

Bytes encoded(const Key& key) {
    const std::unique_ptr<PKCS8_PRIV_KEY_INFO, FreeWith<PKCS8_PRIV_KEY_INFO_free>> info(EVP_PKEY2PKCS8(key.get()));
    unsigned char* der = nullptr;
    const int size = i2d_PKCS8_PRIV_KEY_INFO(info.get(), &der);
    require(size > 0, "encoding a key");
    Bytes bytes(der, der + size);
    OPENSSL_free(der);
    return bytes;
}

}  // namespace

TokenProvider::TokenProvider(const std::vector<Key>& keys, const std::string& pin) {
    token() = {{}, pin, 0};
    for (const Key& key : keys) {
        token().keys.push_back(encoded(key));
    }
    OSSL_PROVIDER_add_builtin(nullptr, "token", start);
    provider_ = OSSL_PROVIDER_try_load(nullptr, "token", 1);  // without switching the default provider off
    require(provider_ != nullptr, "loading a provider");
}

TokenProvider::~TokenProvider() {
    OSSL_PROVIDER_unload(provider_);
}

int TokenProvider::numWrongPins() const {
    return token().numWrongPins;
}

}  // namespace testkit
