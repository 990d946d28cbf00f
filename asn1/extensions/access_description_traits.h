// AccessDescription and AuthorityInfoAccessSyntax between value and record.
#pragma once

#include "asn1/codec/codec.h"
#include "asn1/codec/list_traits.h"
#include "asn1/extensions/access_description.h"
#include "schema/generated/extensions.h"

namespace Orvane::ASN1 {

struct ASN1T_AccessDescription_traits
    : RecordTraits<asn1data::ASN1C_AccessDescription, asn1data::asn1Copy_AccessDescription> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CAccessDescription& value);
    static void get(const ASN1_T& record, CAccessDescription& value);
};

struct ASN1T_AuthorityInfoAccessSyntax_traits
    : ListTraits<asn1data::ASN1T_AuthorityInfoAccessSyntax, asn1data::ASN1C_AuthorityInfoAccessSyntax,
                 ASN1T_AccessDescription_traits, CAuthorityInfoAccessSyntax> {};

}  // namespace Orvane::ASN1
