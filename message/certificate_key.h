// What the message classes read from certificates and request from the Crypto service.
#pragma once

#include <cstdint>

#include "foundation/blob.h"
#include "handles/cert_context.h"
#include "platform/crypto/crypto_service.h"

namespace Orvane::PKI::OCSP {

/// A context of the DER `certificate`; throws the converted last error.
ATL2::CCertContext openCertificate(const CBlob& certificate);

/// The hash of `size` octets with the service's algorithm number; throws the converted last error.
CBlob hashOf(ALG_ID algorithm, const unsigned char* data, unsigned long size);

/// Checks a signature through CryptVerifyCertificateSignatureEx. False when it does not verify, or when it cannot
/// belong to the certificate's key; throws the converted last error when the check could not be made.
bool verifySignature(DWORD subjectType, void* subject, const ATL2::CCertContext& certificate);

}  // namespace Orvane::PKI::OCSP
