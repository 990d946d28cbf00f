// OtherCertID between value and record.
#pragma once

#include "asn1/attributes/other_cert_id.h"
#include "asn1/codec/codec.h"
#include "schema/generated/electronic_signatures.h"

namespace Orvane::ASN1 {

struct ASN1T_OtherCertID_traits : RecordTraits<asn1data::ASN1C_OtherCertID, asn1data::asn1Copy_OtherCertID> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const COtherCertID& value);
    static void get(const ASN1_T& record, COtherCertID& value);
};

}  // namespace Orvane::ASN1
