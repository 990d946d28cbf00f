// The choice of the algorithm that a request is signed with.
#pragma once

#include <string>

#include "platform/crypto/crypto_service.h"

namespace Orvane {

/// The dotted OID of the signature algorithm for the key of `certificate`: the first hash in the order of the provider
/// that has a signature with this kind of key. So the provider chooses the hash, not the signature in the certificate.
/// Throws kBadAlgorithm when the kind of key is not known or no hash fits.
[[nodiscard]] std::string GetSignAlg(unsigned long long provider, const _CERT_CONTEXT* certificate);

}  // namespace Orvane
