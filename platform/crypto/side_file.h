// The NAME.toml beside a certificate file of a system store: what the certificate itself cannot say.
//   key = "file:///path/key.pem"     where its private key is; a relative path counts from the folder of the file
//   ocsp = ["http://ocsp.example"]   responders for the certificates that it issues
#pragma once

#include <string>

#include "platform/crypto/certificate.h"

namespace tallow::platform {

// Sets the properties that the file names; without a file nothing happens, and a wrong one is traced.
void applySideFile(const std::string& path, const Certificate& certificate);

}  // namespace tallow::platform
