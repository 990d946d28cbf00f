// CertId between value and record.
#pragma once

#include "asn1/codec/codec.h"
#include "asn1/status/cert_id.h"
#include "schema/generated/crmf.h"

namespace Orvane::ASN1 {

struct ASN1T_CertId_traits {
    using ASN1_T = asn1data::ASN1T_CertId;
    using ASN1_C = asn1data::ASN1C_CertId;

    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CCertId& value);
    static void get(const ASN1_T& record, CCertId& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) { asn1data::asn1Copy_CertId(ctxt, &from, &to); }
};

}  // namespace Orvane::ASN1
