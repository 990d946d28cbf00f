// The order of SET OF members in DER (X.690, clause 11.6): ascending by their octets, a shorter member before a longer
// one that starts with it.
#pragma once

#include "asn1rt/context.h"
#include "asn1rt/slist.h"
#include "export.h"

extern "C" {

/// Puts the members that were just written into canonical order. `list` holds an ASN1BufLocDescr for each member, from
/// the type heap, in the order of writing; together they are the first octets of what has been written. Descriptors and
/// nodes are freed. Returns the octets of all members, 0 for an empty list, STATUS_NO_MEMORY, or STATUS_BAD_VALUE for
/// descriptors that do not describe what was written last.
[[nodiscard]] TALLOW_EXPORT int xe_derCanonicalSort(ASN1CTXT* ctx, rtSList* list) noexcept;

}  // extern "C"
