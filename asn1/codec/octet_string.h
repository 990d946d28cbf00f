// Bytes into and out of a DER OCTET STRING (X.690, clause 8.7), for the content of a nonce and the like.
#pragma once

#include "export.h"
#include "foundation/blob.h"

namespace Orvane::ASN1 {

/// The whole OCTET STRING, tag and length included: an empty one for an empty blob. Throws kAsn1Memory when no context
/// can be made, and kAsn1Error when memory is exhausted while writing or the content is too large.
TALLOW_EXPORT CBlob toOctetString(const CBlob& content);

/// The content of an OCTET STRING. Throws kAsn1Error for an empty blob and for one that does not begin with an OCTET
/// STRING; octets after it are ignored.
TALLOW_EXPORT CBlob fromOctetString(const CBlob& data);

}  // namespace Orvane::ASN1
