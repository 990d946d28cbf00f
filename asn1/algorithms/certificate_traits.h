// Certificates and CRLs are held as DER; these traits convert them to and from records.
#pragma once

#include "asn1/codec/codec.h"
#include "schema/generated/certificates.h"

namespace Orvane::ASN1 {

struct ASN1T_Certificate_traits : RecordTraits<asn1data::ASN1C_Certificate, asn1data::asn1Copy_Certificate> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CBlob& value) {
        asn1DecodeT<ASN1T_Certificate_traits>(value, ctxt, record);
    }
    static void get(const ASN1_T& record, CBlob& value) { value = asn1EncodeT<ASN1T_Certificate_traits>(record); }
};

struct ASN1T_CertificateList_traits
    : RecordTraits<asn1data::ASN1C_CertificateList, asn1data::asn1Copy_CertificateList> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CBlob& value) {
        asn1DecodeT<ASN1T_CertificateList_traits>(value, ctxt, record);
    }
    static void get(const ASN1_T& record, CBlob& value) { value = asn1EncodeT<ASN1T_CertificateList_traits>(record); }
};

}  // namespace Orvane::ASN1
