// AccessDescription and AuthorityInfoAccessSyntax between value and record.
#pragma once

#include "asn1/codec/codec.h"
#include "asn1/codec/list_traits.h"
#include "asn1/extensions/access_description.h"
#include "schema/generated/extensions.h"

namespace Orvane::ASN1 {

struct ASN1T_AccessDescription_traits {
    using ASN1_T = asn1data::ASN1T_AccessDescription;
    using ASN1_C = asn1data::ASN1C_AccessDescription;

    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CAccessDescription& value);
    static void get(const ASN1_T& record, CAccessDescription& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
        asn1data::asn1Copy_AccessDescription(ctxt, &from, &to);
    }
};

struct ASN1T_AuthorityInfoAccessSyntax_traits
    : ASN1TSeqOfList_traits<asn1data::ASN1T_AccessDescription, ASN1T_AccessDescription_traits, CAccessDescription,
                            CAuthorityInfoAccessSyntax> {
    using ASN1_T = asn1data::ASN1T_AuthorityInfoAccessSyntax;
    using ASN1_C = asn1data::ASN1C_AuthorityInfoAccessSyntax;
};

}  // namespace Orvane::ASN1
