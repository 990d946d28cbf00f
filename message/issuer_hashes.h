// Identifiers of certificates that are open already. An issuer's name and key are hashed once and then kept, since one
// program asks about the certificates of few issuers.
#pragma once

#include "foundation/blob.h"
#include "message/cert_id.h"
#include "platform/crypto/crypto_service.h"

namespace Orvane::PKI::OCSP {

struct IssuerHashes {
    CBlob name;
    CBlob key;
};

/// The hashes of the issuer's subject and of the content of its subjectPublicKey. Each thread keeps those of the last
/// issuers, in memory of a fixed size. Throws the converted last error.
IssuerHashes issuerHashes(ALG_ID algorithm, const CERT_INFO& issuer);

/// What the constructor of CCertID computes from the encodings. Throws like it.
CCertID identifierOf(const ASN1::CAlgorithmIdentifierEx& hashAlgorithm, const CERT_INFO& certificate,
                     const CERT_INFO& issuer);

}  // namespace Orvane::PKI::OCSP
