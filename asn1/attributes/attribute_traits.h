// Attribute and Attributes between value and record.
#pragma once

#include "asn1/attributes/attribute.h"
#include "asn1/codec/codec.h"
#include "asn1/codec/list_traits.h"
#include "schema/generated/certificates.h"

namespace Orvane::ASN1 {

struct ASN1T_Attribute_traits : RecordTraits<asn1data::ASN1C_Attribute, asn1data::asn1Copy_Attribute> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CAttribute& value);
    static void get(const ASN1_T& record, CAttribute& value);
};

struct ASN1T_Attributes_traits : ListTraits<asn1data::ASN1T__SetOfAttribute, asn1data::ASN1C__SetOfAttribute,
                                            ASN1T_Attribute_traits, CAttributes> {};

}  // namespace Orvane::ASN1
