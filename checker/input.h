// Certificates and CRLs from octets that a caller passes. Private to the library.
#pragma once

#include <string>
#include <vector>

#include "checker/checker.h"
#include "foundation/blob.h"
#include "handles/cert_context.h"

namespace tallow {

/// What the octets contain, in order.
struct Contents {
    std::vector<ATL2::CCertContext> certificates;
    std::vector<Bytes> crls;  // DER
    std::string problem;      // of the first part that cannot be used
    bool isBroken = false;    // it is damaged, not only of another kind
};

/// Reads DER, or every block of PEM text. Throws BadInput when they cannot be read at all.
Contents contentsOf(Input input);

/// All certificates, at least one. `what` names the argument in messages. Throws BadInput when there is none, or a
/// damaged one.
std::vector<ATL2::CCertContext> certificatesIn(Input input, const std::string& what);

/// The same for CRLs.
std::vector<Bytes> crlsIn(Input input, const std::string& what);

Orvane::CBlob blobOf(Input input);
Bytes bytesOf(const Orvane::CBlob& blob);
Bytes encodingOf(const ATL2::CCertContext& certificate);

}  // namespace tallow
