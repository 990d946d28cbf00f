// The NAME.toml next to a certificate file of a system store: what the certificate itself cannot contain.
//   key = "file:///path/key.pem"     its private key; a relative path starts at the directory of the file
//   ocsp = ["http://ocsp.example"]   responders for the certificates that it issues
#pragma once

#include <sys/stat.h>

#include <string>

#include "platform/crypto/certificates/certificate.h"

namespace tallow::platform {

struct SideFileResult {
    std::string problem;    // why the file is ignored; empty when it is used or absent
    bool wasRead = false;   // false also when the next try may succeed
    struct stat status {};  // of what was read
};

// Sets the properties that the file names. Ignores a file that others may write, since it names keys and addresses.
SideFileResult applySideFile(const std::string& path, const Certificate& certificate);

}  // namespace tallow::platform
