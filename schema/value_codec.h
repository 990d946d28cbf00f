// Encode, decode, copy and free any value by its TypeInfo. asn1E_T, asn1D_T, asn1Copy_T, asn1Free_T, asn1ETC_T and
// asn1DTC_T of every type call these functions.
//
// `value` points to the record of a SEQUENCE, SET, CHOICE or list, or to the variable of an alias of a primitive
// (std::uint32_t*, const char**, ASN1TDynOctStr*). Failures are negative numbers; the context's errInfo keeps the first
// one. Memory comes from the type heap of the context. After a failed decode the value is partly filled: do not use or
// free it; its memory is released with the context.
#pragma once

#include "schema/record.h"

namespace schema {

/// Writes the value in front of the buffer's contents. Returns the number of octets, or a negative status. A CHOICE
/// ignores `tagType`. Throws std::bad_alloc when there is no memory for sorting a SET OF.
[[nodiscard]] int encodeValue(ASN1CTXT* ctxt, const TypeInfo& type, void* value, ASN1TagType tagType);

/// Reads the value at the current position. With TAG_IMPLICIT, `length` is the length that the caller has read. Returns
/// STATUS_BAD_VALUE for more than 64 levels of nesting.
[[nodiscard]] int decodeValue(ASN1CTXT* ctxt, const TypeInfo& type, void* value, ASN1TagType tagType, int length);

/// Copies into the type heap of `ctxt`; does nothing when both are the same value. Members that cannot be allocated are
/// left empty. Throws std::bad_alloc when the alternative of a CHOICE or a typed open value cannot be allocated.
void copyValue(ASN1CTXT* ctxt, const TypeInfo& type, const void* from, void* to);

/// Frees what the value owns, members first, and leaves the value empty. In zero-copy mode, memory that may belong to
/// the input is left to the heap.
void freeValue(ASN1CTXT* ctxt, const TypeInfo& type, void* value);

/// Writes the decoded form of the open values of a type with a table constraint into its raw octets. Leaves
/// the context bound to another buffer; encodeValue saves and restores it.
[[nodiscard]] int encodeTable(ASN1CTXT* ctxt, const TypeInfo& type, void* value);

/// Decodes the raw octets of open values whose key is known; returns 0 for an unknown key. Rebinds the context as
/// encodeTable does.
[[nodiscard]] int decodeTable(ASN1CTXT* ctxt, const TypeInfo& type, void* value);

}  // namespace schema
