// Object identifiers of the runtime to and from dotted decimal text.
#pragma once

#include "asn1rt/object_id.h"
#include "foundation/blob.h"
#include "foundation/string_proxy.h"

namespace Orvane::ASN1 {

/// Throws kInvalidArgument for a text that str2oid rejects.
ASN1OBJID toASN1OBJID(const char* oid);

CStringProxy toOID(const ASN1OBJID& oid);

/// 0 on success, 1 on failure: no digits in a part, more than 128 arcs, a last arc of 0xFFFFFFFF or above, or anything
/// but white space after a number. A single arc is legal text, though no legal identifier. Null fails.
[[nodiscard]] int str2oid(const char* text, ASN1OBJID* oid);

/// Replaces `text` by the dotted text with its terminator; just that for an identifier without arcs. Always 1.
int oid2str(CBlob& text, const ASN1OBJID* oid);

}  // namespace Orvane::ASN1
