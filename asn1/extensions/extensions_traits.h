// Extension and Extensions between value and record.
#pragma once

#include "asn1/codec/codec.h"
#include "asn1/codec/list_traits.h"
#include "asn1/extensions/extensions.h"
#include "schema/generated/certificates.h"

namespace Orvane::ASN1 {

struct ASN1T_Extension_traits {
    using ASN1_T = asn1data::ASN1T_Extension;
    using ASN1_C = asn1data::ASN1C_Extension;

    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CExtension& value);
    static void get(const ASN1_T& record, CExtension& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) { asn1data::asn1Copy_Extension(ctxt, &from, &to); }
};

struct ASN1T_Extensions_traits
    : ASN1TSeqOfList_traits<asn1data::ASN1T_Extension, ASN1T_Extension_traits, CExtension, CExtensions> {
    using ASN1_T = asn1data::ASN1T_Extensions;
    using ASN1_C = asn1data::ASN1C_Extensions;
};

}  // namespace Orvane::ASN1
