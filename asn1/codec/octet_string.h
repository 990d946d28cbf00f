// Bytes into and out of a DER OCTET STRING (X.690, clause 8.7), for the content of a nonce and the like.
//
//   CBlob value = ASN1::toOctetString(random);       // 04 10 ..., as the extension of a nonce holds it
//   CBlob octets = ASN1::fromOctetString(value);     // the same octets again
#pragma once

#include "export.h"
#include "foundation/blob.h"

namespace Orvane::ASN1 {

/// The whole OCTET STRING, tag and length included: an empty one for an empty blob.
///
/// Throws kAsn1Memory when no context can be made, kAsn1Error when memory is exhausted while writing or the content is
/// too large, and std::bad_alloc when there is none for the result.
TALLOW_EXPORT CBlob toOctetString(const CBlob& content);

/// The content of an OCTET STRING in primitive form; octets after it are ignored.
///
/// Throws kAsn1Error for an empty blob and for one that does not begin with a primitive OCTET STRING, kAsn1Memory when
/// no context can be made, and std::bad_alloc.
TALLOW_EXPORT CBlob fromOctetString(const CBlob& data);

}  // namespace Orvane::ASN1
