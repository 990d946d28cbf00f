// Extension and Extensions between value and record.
#pragma once

#include "asn1/codec/codec.h"
#include "asn1/codec/list_traits.h"
#include "asn1/extensions/extensions.h"
#include "schema/generated/certificates.h"

namespace Orvane::ASN1 {

struct ASN1T_Extension_traits : RecordTraits<asn1data::ASN1C_Extension, asn1data::asn1Copy_Extension> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CExtension& value);
    static void get(const ASN1_T& record, CExtension& value);
};

struct ASN1T_Extensions_traits
    : ListTraits<asn1data::ASN1T_Extensions, asn1data::ASN1C_Extensions, ASN1T_Extension_traits, CExtensions> {};

}  // namespace Orvane::ASN1
