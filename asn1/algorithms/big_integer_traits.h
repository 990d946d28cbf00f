// Big integers in schema records, which hold them as text, and the form that travels as a certificate's serial number.
#pragma once

#include "asn1/algorithms/big_integer.h"
#include "asn1/codec/codec.h"
#include "schema/generated/certificates.h"

namespace Orvane::ASN1 {

/// The text of BigIntegerToString in memory from `ctxt`.
const char* BigIntegerToASN1String(ASN1CTXT* ctxt, const CBigInteger& value);

/// As StringToBigInteger.
void ASN1StringToBigInteger(const char* text, CBigInteger& value);

/// Four big-endian bytes in the same text form, in memory from `ctxt`. Throws OutOfMemory when there is none.
const char* DWORDToASN1BigInteger(ASN1CTXT* ctxt, unsigned int value);

struct ASN1T_CertificateSerialNumber_traits {
    using ASN1_T = asn1data::ASN1T_CertificateSerialNumber;
    using ASN1_C = asn1data::ASN1C_CertificateSerialNumber;

    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CBigInteger& value) {
        record = BigIntegerToASN1String(ctxt, value);
    }
    static void get(const ASN1_T& record, CBigInteger& value) { ASN1StringToBigInteger(record, value); }
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
        asn1data::asn1Copy_CertificateSerialNumber(ctxt, &from, &to);
    }
};

}  // namespace Orvane::ASN1
