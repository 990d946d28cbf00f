// Names between value and record, from the single element up.
#pragma once

#include "asn1/codec/codec.h"
#include "asn1/codec/list_traits.h"
#include "asn1/names/name.h"
#include "schema/generated/names.h"

namespace Orvane::ASN1 {

struct ASN1T_AttributeTypeAndValue_traits {
    using ASN1_T = asn1data::ASN1T_AttributeTypeAndValue;
    using ASN1_C = asn1data::ASN1C_AttributeTypeAndValue;

    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CAttributeTypeAndValue& value);
    static void get(const ASN1_T& record, CAttributeTypeAndValue& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
        asn1data::asn1Copy_AttributeTypeAndValue(ctxt, &from, &to);
    }
};

struct ASN1T_RelativeDistinguishedName_traits
    : ASN1TSeqOfList_traits<asn1data::ASN1T_AttributeTypeAndValue, ASN1T_AttributeTypeAndValue_traits,
                            CAttributeTypeAndValue, CAttributeTypeAndValueSet> {
    using ASN1_T = asn1data::ASN1T_RelativeDistinguishedName;
    using ASN1_C = asn1data::ASN1C_RelativeDistinguishedName;
};

/// A whole name, as an object or as its DER.
struct ASN1T_Name_traits {
    using ASN1_T = asn1data::ASN1T_Name;
    using ASN1_C = asn1data::ASN1C_Name;

    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CName& value);
    static void get(const ASN1_T& record, CName& value);
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CBlob& value);
    static void get(const ASN1_T& record, CBlob& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) { asn1data::asn1Copy_Name(ctxt, &from, &to); }
};

}  // namespace Orvane::ASN1
