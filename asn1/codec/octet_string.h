// Bytes in and out of a DER OCTET STRING.
#pragma once

#include "export.h"
#include "foundation/blob.h"

namespace Orvane::ASN1 {

/// The whole OCTET STRING, tag and length included, of the bytes. Throws Asn1Memory when there is no memory
/// to begin with, and Asn1Error when the writer runs out of it.
TALLOW_EXPORT CBlob toOctetString(const CBlob& content);

/// The content of an OCTET STRING. Throws Asn1Error for an empty blob and for one that does not begin with an OCTET
/// STRING; bytes after it are not looked at.
TALLOW_EXPORT CBlob fromOctetString(const CBlob& data);

}  // namespace Orvane::ASN1
