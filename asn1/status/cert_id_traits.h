// CertId between value and record.
#pragma once

#include "asn1/codec/codec.h"
#include "asn1/status/cert_id.h"
#include "schema/generated/crmf.h"

namespace Orvane::ASN1 {

struct ASN1T_CertId_traits : RecordTraits<asn1data::ASN1C_CertId, asn1data::asn1Copy_CertId> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CCertId& value);
    static void get(const ASN1_T& record, CCertId& value);
};

}  // namespace Orvane::ASN1
