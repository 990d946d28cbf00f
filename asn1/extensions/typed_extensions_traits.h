// The types of the typed extensions between value and record.
#pragma once

#include "asn1/codec/codec.h"
#include "asn1/extensions/typed_extensions.h"
#include "schema/generated/certificates.h"
#include "schema/generated/extensions.h"

namespace Orvane::ASN1 {

struct ASN1T_CRLReason_traits {
    using ASN1_T = asn1data::ASN1T_CRLReason;
    using ASN1_C = asn1data::ASN1C_CRLReason;

    static void set(ASN1CTXT* /*ctxt*/, ASN1_T& record, CrlReason value) { record = value; }
    static void get(const ASN1_T& record, CrlReason& value) { value = static_cast<CrlReason>(record); }
    static void copy(ASN1CTXT* /*ctxt*/, const ASN1_T& from, ASN1_T& to) { to = from; }
};

struct ASN1T_PrivateKeyUsagePeriod_traits
    : RecordTraits<asn1data::ASN1C_PrivateKeyUsagePeriod, asn1data::asn1Copy_PrivateKeyUsagePeriod> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CExtPrivateKeyUsagePeriod& value);
    static void get(const ASN1_T& record, CExtPrivateKeyUsagePeriod& value);
};

}  // namespace Orvane::ASN1
