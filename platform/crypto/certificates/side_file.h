// The NAME.toml beside a certificate file of a system store: what the certificate itself cannot say.
//   key = "file:///path/key.pem"     where its private key is; a relative path counts from the directory of the file
//   ocsp = ["http://ocsp.example"]   responders for the certificates that it issues
#pragma once

#include <sys/stat.h>

#include <string>

#include "platform/crypto/certificates/certificate.h"

namespace tallow::platform {

struct SideFileResult {
    std::string problem;    // why the file does not count; empty when it does, or when there is none
    bool wasRead = false;   // false also when the next try may succeed
    struct stat status {};  // of what was read
};

// Sets the properties that the file names. A file that others may write does not count: it names keys and addresses.
SideFileResult applySideFile(const std::string& path, const Certificate& certificate);

}  // namespace tallow::platform
