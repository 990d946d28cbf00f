// Certificates and CRLs in the containers that users have: PKCS #7 (RFC 5652, SignedData) and PKCS #12 (RFC 7292). They
// are read only from the files that a user names, never from stores.
#pragma once

#include <openssl/pkcs7.h>

#include "platform/crypto/certificates/store_file.h"

namespace tallow::platform {

using Pkcs7Ptr = std::unique_ptr<PKCS7, OpenSslFree<PKCS7_free>>;

// The certificate in its own encoding; empty when it cannot be used.
CertificateRef certificateOf(const X509* certificate);

// Adds what the container holds to `content`: certificates, CRLs and what cannot be used of them. False, with nothing
// added, when the octets are no container. Signatures and MACs of containers are not verified: certificates and CRLs
// prove themselves. Private keys are not opened. Of PKCS #12, parts that need a password are a problem.
bool takeContainer(ByteView der, StoreFileContent& content);

}  // namespace tallow::platform
