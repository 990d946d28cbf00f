// Certificates and CRLs travel as their DER; these traits take them into records and out of them.
#pragma once

#include "asn1/codec/codec.h"
#include "schema/generated/certificates.h"

namespace Orvane::ASN1 {

struct ASN1T_Certificate_traits {
    using ASN1_T = asn1data::ASN1T_Certificate;
    using ASN1_C = asn1data::ASN1C_Certificate;

    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CBlob& value) {
        asn1DecodeT<ASN1T_Certificate_traits>(value, ctxt, record);
    }
    static void get(const ASN1_T& record, CBlob& value) { value = asn1EncodeT<ASN1T_Certificate_traits>(record); }
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
        asn1data::asn1Copy_Certificate(ctxt, &from, &to);
    }
};

struct ASN1T_CertificateList_traits {
    using ASN1_T = asn1data::ASN1T_CertificateList;
    using ASN1_C = asn1data::ASN1C_CertificateList;

    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CBlob& value) {
        asn1DecodeT<ASN1T_CertificateList_traits>(value, ctxt, record);
    }
    static void get(const ASN1_T& record, CBlob& value) { value = asn1EncodeT<ASN1T_CertificateList_traits>(record); }
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
        asn1data::asn1Copy_CertificateList(ctxt, &from, &to);
    }
};

}  // namespace Orvane::ASN1
