// ESSCertID and ESSCertIDv2 between value and record.
#pragma once

#include "asn1/attributes/ess_cert_id.h"
#include "asn1/codec/codec.h"
#include "schema/generated/attributes.h"

namespace Orvane::ASN1 {

struct ASN1T_ESSCertID_traits {
    using ASN1_T = asn1data::ASN1T_ESSCertID;
    using ASN1_C = asn1data::ASN1C_ESSCertID;

    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CESSCertID& value);
    static void get(const ASN1_T& record, CESSCertID& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) { asn1data::asn1Copy_ESSCertID(ctxt, &from, &to); }
};

struct ASN1T_ESSCertIDv2_traits {
    using ASN1_T = asn1data::ASN1T_ESSCertIDv2;
    using ASN1_C = asn1data::ASN1C_ESSCertIDv2;

    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CESSCertIDv2& value);
    static void get(const ASN1_T& record, CESSCertIDv2& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
        asn1data::asn1Copy_ESSCertIDv2(ctxt, &from, &to);
    }
};

}  // namespace Orvane::ASN1
