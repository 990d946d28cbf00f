// Values of certificate properties: those computed from the certificate, and the packed form of the property that is a
// record with pointers.
#pragma once

#include <string>

#include "platform/crypto/certificates/certificate.h"

namespace tallow::platform {

// Hashes, key identifier and the like; false for a property that is not computed from the certificate.
bool computeProperty(const CertificateBody& body, DWORD id, Bytes& value);

// A CRYPT_KEY_PROV_INFO with all that it points to in one block, in which each pointer is an offset from the start.
Bytes packKeyProvInfo(const CRYPT_KEY_PROV_INFO& info);
// Copies a packed block to `buffer`, which has its size, and turns the offsets into pointers into the buffer.
void unpackKeyProvInfo(ByteView packed, void* buffer);

// Sets the location of the private key: sets the property CERT_KEY_PROV_INFO_PROP_ID. False when the URI is not valid
// UTF-8.
bool nameKey(const Certificate& certificate, const std::string& uri);

// A hash by OpenSSL's name; false when it is not available.
bool hashBytes(const char* digest, ByteView bytes, Bytes& value);

}  // namespace tallow::platform
