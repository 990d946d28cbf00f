// Certificates that were met before. The same responder and CA certificates come with every response, and most of what
// a certificate costs is OpenSSL's view of it: some 100 microseconds go into the search for a decoder of its key. So a
// body, which never changes, is found again by its bytes.
#pragma once

#include <memory>

#include "platform/crypto/certificates/certificate.h"

namespace tallow::platform {

// The body of these bytes, from the cache or freshly parsed; null when they are no certificate. Certificates of unusual
// size are not kept, and a later one can take the place of an earlier one, so the cache stays within a few megabytes.
std::shared_ptr<const CertificateBody> sharedBody(ByteView der);

}  // namespace tallow::platform
