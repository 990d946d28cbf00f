// SignerInfo from record to value, and not back: the value has no place for the attributes.
#pragma once

#include "asn1/attributes/signer_info.h"
#include "asn1/codec/codec.h"
#include "schema/generated/cms.h"

namespace Orvane::ASN1 {

/// Throws kAsn1Error for a signer who is not named by issuer and serial number.
void ASN1T_SignerInfo_get(CSignerInfo& value, const asn1data::ASN1T_SignerInfo& record);

struct ASN1T_SignerInfo_traits : RecordTraits<asn1data::ASN1C_SignerInfo, asn1data::asn1Copy_SignerInfo> {
    static void get(const ASN1_T& record, CSignerInfo& value) { ASN1T_SignerInfo_get(value, record); }
};

}  // namespace Orvane::ASN1
