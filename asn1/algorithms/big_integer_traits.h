// Big integers in schema records, which hold them as text; serial numbers of certificates use the same form.
#pragma once

#include "asn1/algorithms/big_integer.h"
#include "asn1/codec/codec.h"
#include "schema/generated/certificates.h"

namespace Orvane::ASN1 {

/// The text of BigIntegerToString in memory from `ctxt`.
const char* BigIntegerToASN1String(ASN1CTXT* ctxt, const CBigInteger& value);

/// As StringToBigInteger.
void ASN1StringToBigInteger(const char* text, CBigInteger& value);

/// Four big-endian bytes in the same text form, in memory from `ctxt`. Throws kOutOfMemory when memory is exhausted.
const char* DWORDToASN1BigInteger(ASN1CTXT* ctxt, unsigned int value);

struct ASN1T_CertificateSerialNumber_traits
    : RecordTraits<asn1data::ASN1C_CertificateSerialNumber, asn1data::asn1Copy_CertificateSerialNumber> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CBigInteger& value) {
        record = BigIntegerToASN1String(ctxt, value);
    }
    static void get(const ASN1_T& record, CBigInteger& value) { ASN1StringToBigInteger(record, value); }
};

}  // namespace Orvane::ASN1
