// Checking and making signatures by algorithm identifier.
#pragma once

#include <string>

#include "platform/crypto/base/bytes.h"
#include "platform/crypto/base/openssl_handles.h"

namespace tallow::platform {

struct SignedBytes {
    ByteView message;  // what was signed, as it was received
    CRYPT_ALGORITHM_IDENTIFIER algorithm{};
    ByteView signature;
};

// Whether SHA-1 signatures count: when the setting accept_sha1 allows it, or always, for callers that ask which key
// made a signature and draw no trust from its hash.
enum class Sha1 { kBySetting, kAlways };

// 0 when the signature is that of `key`, else the last error to set (see CryptVerifyCertificateSignatureEx). A null key
// is one that could not be loaded.
DWORD verifySignature(const SignedBytes& what, EVP_PKEY* key, Sha1 sha1 = Sha1::kBySetting);

// The parts of a SEQUENCE of the signed structure, an algorithm and a BIT STRING; what follows them is not looked at.
// `algorithm.pszObjId` points into `oid`. False when malformed.
bool splitSigned(ByteView encoded, SignedBytes& parts, std::string& oid);

// The largest signature that the key makes, in octets.
DWORD maximumSignatureSize(EVP_PKEY* key);

// Signs; 0, or the last error to set (see CryptSignCertificate).
DWORD makeSignature(ByteView message, const CRYPT_ALGORITHM_IDENTIFIER& algorithm, EVP_PKEY* key, Bytes& signature);

}  // namespace tallow::platform
