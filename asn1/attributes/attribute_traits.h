// Attribute and Attributes between value and record.
#pragma once

#include "asn1/attributes/attribute.h"
#include "asn1/codec/codec.h"
#include "asn1/codec/list_traits.h"
#include "schema/generated/certificates.h"

namespace Orvane::ASN1 {

struct ASN1T_Attribute_traits {
    using ASN1_T = asn1data::ASN1T_Attribute;
    using ASN1_C = asn1data::ASN1C_Attribute;

    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CAttribute& value);
    static void get(const ASN1_T& record, CAttribute& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) { asn1data::asn1Copy_Attribute(ctxt, &from, &to); }
};

struct ASN1T_Attributes_traits
    : ASN1TSeqOfList_traits<asn1data::ASN1T_Attribute, ASN1T_Attribute_traits, CAttribute, CAttributes> {
    using ASN1_T = asn1data::ASN1T__SetOfAttribute;
    using ASN1_C = asn1data::ASN1C__SetOfAttribute;
};

}  // namespace Orvane::ASN1
