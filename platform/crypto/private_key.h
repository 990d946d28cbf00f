// Private keys in files.
#pragma once

#include <string>

#include "platform/crypto/openssl_handles.h"

namespace tallow::platform {

// The path that a key URI names: "file:///path", "file:/path" or a plain absolute path. Empty for any other kind.
std::string keyFilePath(const std::string& uri);

// Reads a PEM or DER private key; `pin` opens an encrypted one. Null when it cannot be read or opened.
KeyPtr readPrivateKey(const std::string& path, const std::string& pin);

}  // namespace tallow::platform
