// ESSCertID and ESSCertIDv2 between value and record.
#pragma once

#include "asn1/attributes/ess_cert_id.h"
#include "asn1/codec/codec.h"
#include "schema/generated/attributes.h"

namespace Orvane::ASN1 {

struct ASN1T_ESSCertID_traits : RecordTraits<asn1data::ASN1C_ESSCertID, asn1data::asn1Copy_ESSCertID> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CESSCertID& value);
    static void get(const ASN1_T& record, CESSCertID& value);
};

struct ASN1T_ESSCertIDv2_traits : RecordTraits<asn1data::ASN1C_ESSCertIDv2, asn1data::asn1Copy_ESSCertIDv2> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CESSCertIDv2& value);
    static void get(const ASN1_T& record, CESSCertIDv2& value);
};

}  // namespace Orvane::ASN1
