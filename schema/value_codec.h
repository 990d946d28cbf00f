// Encoding, decoding, copying and freeing of any value by its TypeInfo: what asn1E_T, asn1D_T, asn1Copy_T, asn1Free_T,
// asn1ETC_T and asn1DTC_T of every type call.
//
// `value` always points to the storage of the value: the record of a SEQUENCE, SET, CHOICE or list, the variable of an
// alias of a primitive (std::uint32_t*, char const**, ASN1TDynOctStr*). Failures are negative numbers; the first one
// stays in the context's errInfo. Memory comes from the type heap of the context. After a failed decode the value is
// partly filled and only good for being abandoned with its context.
#pragma once

#include "schema/record.h"

namespace schema {

/// Writes the value in front of what the buffer holds; the answer is the number of octets, or negative. A CHOICE
/// ignores `tagType`. std::bad_alloc when no memory is left for sorting a SET OF.
[[nodiscard]] int encodeValue(ASN1CTXT* ctxt, const TypeInfo& type, void* value, ASN1TagType tagType);

/// Reads the value at the current position. With TAG_IMPLICIT, `length` is the length that the caller has read. Types
/// nested more than 64 deep give STATUS_BAD_VALUE.
[[nodiscard]] int decodeValue(ASN1CTXT* ctxt, const TypeInfo& type, void* value, ASN1TagType tagType, int length);

/// Copies into the type heap of `ctxt`; nothing when both are the same value. Members that find no memory are left
/// empty; std::bad_alloc when the alternative of a CHOICE or a typed open value finds none.
void copyValue(ASN1CTXT* ctxt, const TypeInfo& type, const void* from, void* to);

/// Frees what the value owns, members first, and leaves the value empty. Memory that may belong to the input (a context
/// in zero-copy mode) stays until the heap goes.
void freeValue(ASN1CTXT* ctxt, const TypeInfo& type, void* value);

/// Writes the decoded form of the open values of a type with a table constraint into its raw octets. The buffer of
/// `ctxt` is rebound on the way and left so; encodeValue saves and restores it.
[[nodiscard]] int encodeTable(ASN1CTXT* ctxt, const TypeInfo& type, void* value);

/// Reads the raw octets of the open values into their decoded form where the key is known; 0 where it is not. The
/// buffer of `ctxt` is rebound likewise.
[[nodiscard]] int decodeTable(ASN1CTXT* ctxt, const TypeInfo& type, void* value);

}  // namespace schema
