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

// Whether SHA-1 signatures are accepted: when the setting accept_sha1 allows it, or always, for callers that only ask
// which key made a signature and do not rely on its hash.
enum class Sha1 { kBySetting, kAlways };

// 0 when `key` made the signature, else the last error to set (see CryptVerifyCertificateSignatureEx). A null key is
// one that could not be loaded.
DWORD verifySignature(const SignedBytes& what, EVP_PKEY* key, Sha1 sha1 = Sha1::kBySetting);

// False for a signature longer or shorter than those of a GOST key: the engine ignores what follows a signature.
bool hasSizeOfKey(ByteView signature, EVP_PKEY* key);

// The parts of a SEQUENCE of the signed structure, an algorithm and a BIT STRING; what follows them is ignored.
// `algorithm.pszObjId` points into `oid`. False when malformed.
bool splitSigned(ByteView encoded, SignedBytes& parts, std::string& oid);

// The size of the largest signature that the key makes, in octets.
DWORD maximumSignatureSize(EVP_PKEY* key);

// Signs; 0, or the last error to set (see CryptSignCertificate).
DWORD makeSignature(ByteView message, const CRYPT_ALGORITHM_IDENTIFIER& algorithm, EVP_PKEY* key, Bytes& signature);

}  // namespace tallow::platform
