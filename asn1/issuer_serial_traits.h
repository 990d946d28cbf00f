// IssuerSerial between value and record.
#pragma once

#include "asn1/codec.h"
#include "asn1/issuer_serial.h"
#include "schema/generated/extensions.h"

namespace Orvane::ASN1 {

struct ASN1T_IssuerSerial_traits {
    using ASN1_T = asn1data::ASN1T_IssuerSerial;
    using ASN1_C = asn1data::ASN1C_IssuerSerial;

    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CIssuerSerial& value);
    static void get(const ASN1_T& record, CIssuerSerial& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
        asn1data::asn1Copy_IssuerSerial(ctxt, &from, &to);
    }
};

}  // namespace Orvane::ASN1
