// The order of SET OF members in DER (X.690, clause 11.6): ascending by their octets, a shorter member before a longer
// one that starts with it. A writer notes each member and sorts once at the end:
//
//   length = write(member);                                        // for each member of the set
//   xe_getBufLocDescr(ctx, length, descriptor);                    // descriptor: new, from the type heap
//   rtSListAppend(&list, descriptor);
//   ...
//   int total = xe_tag_len(ctx, kTagSet, xe_derCanonicalSort(ctx, &list));
#pragma once

#include "asn1rt/context.h"
#include "asn1rt/slist.h"
#include "export.h"

extern "C" {

/// Puts the members that were just written into canonical order. `list` holds an ASN1BufLocDescr for each member, from
/// the type heap, in the order of writing; together they are the first octets of what has been written, with nothing
/// between them. The message keeps its length.
///
/// Returns the octets of all members, 0 for an empty list, or a negative status; then the message is to be abandoned:
/// - STATUS_NO_MEMORY: the heap had no room to sort.
/// - STATUS_BAD_VALUE: the descriptors do not describe what was written last.
///
/// Descriptors and nodes are freed and the list is empty afterward, unless the heap had no room at the very start. The
/// type heap frees them then.
[[nodiscard]] TALLOW_EXPORT int xe_derCanonicalSort(ASN1CTXT* ctx, rtSList* list) noexcept;

}  // extern "C"
