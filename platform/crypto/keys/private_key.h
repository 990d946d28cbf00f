// Private keys by URI, opened through OpenSSL's store loader: files (PEM or DER, traditional, PKCS #8 or PKCS #12), and
// whatever else an OpenSSL provider on this machine has a loader for, such as tokens under "pkcs11:".
//
// A file is a plain path, "file:path", "file:///path" or "file://localhost/path". Percent escapes in paths are not
// decoded. The user is never asked for a PIN: it is an argument, or there is none.
#pragma once

#include <filesystem>
#include <string>

#include "platform/crypto/base/bytes.h"
#include "platform/crypto/base/openssl_handles.h"

namespace tallow::platform {

// Opens the private key of `publicKey`; other keys in the file are ignored. `pin` is null if not known; it is not kept.
// Returns 0, or the last error to set:
//   NTE_SILENT_CONTEXT   there is no PIN, and the key, or one before it, does not open without
//   SCARD_W_WRONG_CHV    the PIN does not open it
//   NTE_BAD_PUBLIC_KEY   there are other keys only, or `publicKey` is null since it could not be loaded
//   NTE_BAD_KEYSET       there is no key: nothing there, no regular file, more than 1 MiB, or nothing that is a key
//   ERROR_NOT_SUPPORTED  the file is encrypted in a way that OpenSSL does not open here, or asks for too much work
//   NTE_NOT_SUPPORTED    the scheme of the URI is unsupported, or the file is on another host
DWORD openPrivateKey(const std::string& uri, const char* pin, EVP_PKEY* publicKey, KeyPtr& key);

// The location of a key as written by people, as a URI or an absolute path: a relative path starts at `folder`.
std::string keyUri(const std::string& text, const std::filesystem::path& folder);

}  // namespace tallow::platform
