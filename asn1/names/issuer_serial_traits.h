// IssuerSerial between value and record.
#pragma once

#include "asn1/codec/codec.h"
#include "asn1/names/issuer_serial.h"
#include "schema/generated/extensions.h"

namespace Orvane::ASN1 {

struct ASN1T_IssuerSerial_traits : RecordTraits<asn1data::ASN1C_IssuerSerial, asn1data::asn1Copy_IssuerSerial> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CIssuerSerial& value);
    static void get(const ASN1_T& record, CIssuerSerial& value);
};

}  // namespace Orvane::ASN1
