// CertificateValues between value and record.
#pragma once

#include "asn1/algorithms/certificate_traits.h"
#include "asn1/attributes/certificate_values.h"
#include "asn1/codec/list_traits.h"
#include "schema/generated/electronic_signatures.h"

namespace Orvane::ASN1 {

/// One certificate of the list, as an object.
struct CertificateValueTraits : ASN1T_Certificate_traits {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CCertificateValue& value) {
        ASN1T_Certificate_traits::set(ctxt, record, value.get_certificate());
    }
    static void get(const ASN1_T& record, CCertificateValue& value) {
        value = CCertificateValue(valueOf<ASN1T_Certificate_traits, CBlob>(record));
    }
};

struct ASN1T_CertificateValues_traits : ListTraits<asn1data::ASN1T_CertificateValues, asn1data::ASN1C_CertificateValues,
                                                   CertificateValueTraits, CCertificateValues> {};

}  // namespace Orvane::ASN1
