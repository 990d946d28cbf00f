// Lists of InfoTypeAndValue between value and record.
#pragma once

#include "asn1/codec/codec.h"
#include "asn1/status/info_type_and_value.h"
#include "schema/generated/cmp.h"

namespace Orvane::ASN1 {

/// Fills an empty record list, an element for each item in order, with memory from the buffer's context. Throws
/// kInvalidArgument for an identifier that is not dotted decimal text, and kAsn1Error for a value that does not fit it.
void ASN1TavList_Encode(const CInfoTypeAndValueList& values, ASN1TSeqOfList& list, ASN1MessageBufferIF& buffer);

/// Replaces `values`.
void ASN1TavList_Parse(const ASN1TSeqOfList& list, CInfoTypeAndValueList& values);

}  // namespace Orvane::ASN1
