// Values of certificate properties: those that follow from the certificate, and the packed form of the one that is a
// record with pointers.
#pragma once

#include "platform/crypto/certificate.h"

namespace tallow::platform {

// Hashes, key identifier and the like; false for a property that does not follow from the certificate.
bool computeProperty(const CertificateBody& body, DWORD id, Bytes& value);

// A CRYPT_KEY_PROV_INFO with all that it points to in one block, in which each pointer is an offset from the start.
Bytes packKeyProvInfo(const CRYPT_KEY_PROV_INFO& info);
// Copies a packed block to `buffer`, which has its size, and turns the offsets into pointers into the buffer.
void unpackKeyProvInfo(ByteView packed, void* buffer);

// A hash by OpenSSL's name; false when it is not available.
bool hashBytes(const char* digest, ByteView bytes, Bytes& value);

}  // namespace tallow::platform
