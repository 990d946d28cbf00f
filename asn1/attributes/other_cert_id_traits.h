// OtherCertID between value and record.
#pragma once

#include "asn1/attributes/other_cert_id.h"
#include "asn1/codec/codec.h"
#include "schema/generated/electronic_signatures.h"

namespace Orvane::ASN1 {

struct ASN1T_OtherCertID_traits {
    using ASN1_T = asn1data::ASN1T_OtherCertID;
    using ASN1_C = asn1data::ASN1C_OtherCertID;

    static void set(ASN1CTXT* ctxt, ASN1_T& record, const COtherCertID& value);
    static void get(const ASN1_T& record, COtherCertID& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
        asn1data::asn1Copy_OtherCertID(ctxt, &from, &to);
    }
};

}  // namespace Orvane::ASN1
