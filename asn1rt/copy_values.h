// Copies of values into the type heap of a context: what the copy functions of the schema types are made of. A copy
// shares nothing with its source and lives as long as the heap. Each returns 1, or 0 for null arguments and when memory
// runs out; after 0 the destination holds no memory. No failure is recorded in the context.
//
//   ASN1TDynOctStr copy{};
//   if (rtCopyDynOctStr(ctx, &value, &copy) == 0) return STATUS_NO_MEMORY;
//
// The destination is overwritten: what it pointed to before is not freed. It may be the source itself.
#pragma once

#include <cstdint>

#include "asn1rt/context.h"
#include "asn1rt/dlist.h"
#include "asn1rt/types.h"
#include "export.h"

extern "C" {

/// Copies `numbits` bits, in whole octets, into the caller's array, which must have room for them, and stores the
/// count. The two arrays may overlap. No bits: the count is stored and the result is 0, though nothing has failed.
TALLOW_EXPORT int rtCopyBitStr(ASN1CTXT* ctx, std::uint32_t numbits, const std::uint8_t* data,
                               std::uint32_t* numbitsOut, std::uint8_t* dataOut) noexcept;
/// Copies a bit string into new memory. No bits: null data.
TALLOW_EXPORT int rtCopyDynBitStr(ASN1CTXT* ctx, const ASN1TDynBitStr* source, ASN1TDynBitStr* destination) noexcept;

/// Copies `numocts` octets into the caller's array, which must have room for them, and stores the count. The two arrays
/// may overlap. No octets: the count is stored and the result is 0, though nothing has failed.
TALLOW_EXPORT int rtCopyOctStr(ASN1CTXT* ctx, std::uint32_t numocts, const std::uint8_t* data,
                               std::uint32_t* numoctsOut, std::uint8_t* dataOut) noexcept;
/// Copies an octet string into new memory. No octets: null data.
TALLOW_EXPORT int rtCopyDynOctStr(ASN1CTXT* ctx, const ASN1TDynOctStr* source, ASN1TDynOctStr* destination) noexcept;
/// Copies an encoded element into new memory, without looking at it. No octets: null data.
TALLOW_EXPORT int rtCopyOpenType(ASN1CTXT* ctx, const ASN1TOpenType* source, ASN1TOpenType* destination) noexcept;
/// Makes `destination` a new list with a copy of each open-type record of `source`; nodes without a record are left
/// out. The list is empty after 0. rtMemFreeOpenSeqExt frees it.
TALLOW_EXPORT int rtCopyOpenTypeExt(ASN1CTXT* ctx, const _Asn1RTDList* source, _Asn1RTDList* destination) noexcept;

/// Copies NUL-terminated text into new memory and stores its address in `*textOut`; null there when memory runs out. A
/// null `text` gives 0 and leaves `*textOut` unchanged.
TALLOW_EXPORT int rtCopyCharStr(ASN1CTXT* ctx, const char* text, const char** textOut) noexcept;
/// Copies a string of 16-bit characters into new memory. No characters: null data.
TALLOW_EXPORT int rtCopy16BitCharStr(ASN1CTXT* ctx, const ASN1T16BitCharStr* source,
                                     ASN1T16BitCharStr* destination) noexcept;
/// Copies a string of 32-bit characters into new memory. No characters: null data.
TALLOW_EXPORT int rtCopy32BitCharStr(ASN1CTXT* ctx, const ASN1T32BitCharStr* source,
                                     ASN1T32BitCharStr* destination) noexcept;

}  // extern "C"
