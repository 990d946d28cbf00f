// Names between value and record, from the single element up.
#pragma once

#include "asn1/codec/codec.h"
#include "asn1/codec/list_traits.h"
#include "asn1/names/name.h"
#include "schema/generated/names.h"

namespace Orvane::ASN1 {

struct ASN1T_AttributeTypeAndValue_traits
    : RecordTraits<asn1data::ASN1C_AttributeTypeAndValue, asn1data::asn1Copy_AttributeTypeAndValue> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CAttributeTypeAndValue& value);
    static void get(const ASN1_T& record, CAttributeTypeAndValue& value);
};

struct ASN1T_RelativeDistinguishedName_traits
    : ListTraits<asn1data::ASN1T_RelativeDistinguishedName, asn1data::ASN1C_RelativeDistinguishedName,
                 ASN1T_AttributeTypeAndValue_traits, CAttributeTypeAndValueSet> {};

/// A whole name, as an object or as its DER.
struct ASN1T_Name_traits : RecordTraits<asn1data::ASN1C_Name, asn1data::asn1Copy_Name> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CName& value);
    static void get(const ASN1_T& record, CName& value);
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CBlob& value);
    static void get(const ASN1_T& record, CBlob& value);
};

}  // namespace Orvane::ASN1
