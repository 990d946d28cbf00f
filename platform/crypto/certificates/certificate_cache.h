// A cache of certificates. The same responder and CA certificates come with every response, and most of the cost of a
// certificate is OpenSSL's object: some 100 microseconds go into the search for a decoder of its key. A body never
// changes, so it is looked up by its bytes.
#pragma once

#include <memory>

#include "platform/crypto/certificates/certificate.h"

namespace tallow::platform {

// The body of these bytes, from the cache or newly parsed; null when they are not a certificate. Certificates of
// unusual size are not kept, and a new one can replace an old one, so the cache stays within a few megabytes.
std::shared_ptr<const CertificateBody> sharedBody(ByteView der);

}  // namespace tallow::platform
