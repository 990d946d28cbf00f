#include "platform/crypto/private_key.h"

#include <openssl/pem.h>

#include <string_view>

#include "platform/crypto/service_call.h"

namespace tallow::platform {

namespace {

constexpr std::string_view kFileScheme = "file:";
constexpr std::string_view kEmptyAuthority = "//";

// Without a PIN an encrypted key fails: OpenSSL's own callback would ask at the terminal.
int givePin(char* buffer, int size, int /*forWriting*/, void* userData) {
    const std::string& pin = *static_cast<const std::string*>(userData);
    if (pin.empty() || pin.size() > static_cast<size_t>(size)) {
        return -1;
    }
    return static_cast<int>(pin.copy(buffer, pin.size()));
}

}  // namespace

std::string keyFilePath(const std::string& uri) {
    std::string_view path = uri;
    if (path.starts_with(kFileScheme)) {
        path.remove_prefix(kFileScheme.size());
        if (path.starts_with(kEmptyAuthority)) {
            path.remove_prefix(kEmptyAuthority.size());
        }
    }
    return path.starts_with('/') ? std::string(path) : std::string();
}

KeyPtr readPrivateKey(const std::string& path, const std::string& pin) {
    OpenSslErrors const errors;
    BioPtr const file(BIO_new_file(path.c_str(), "rb"));
    if (file == nullptr) {
        return nullptr;
    }
    void* const userData = const_cast<std::string*>(&pin);
    KeyPtr key(PEM_read_bio_PrivateKey(file.get(), nullptr, givePin, userData));
    if (key == nullptr && BIO_reset(file.get()) == 0) {
        key.reset(d2i_PrivateKey_bio(file.get(), nullptr));
    }
    if (key == nullptr && BIO_reset(file.get()) == 0) {
        key.reset(d2i_PKCS8PrivateKey_bio(file.get(), nullptr, givePin, userData));
    }
    return key;
}

}  // namespace tallow::platform
