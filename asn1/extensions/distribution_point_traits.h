// The types of CRL distribution points between value and record.
#pragma once

#include "asn1/codec/codec.h"
#include "asn1/codec/list_traits.h"
#include "asn1/extensions/distribution_point.h"
#include "schema/generated/extensions.h"

namespace Orvane::ASN1 {

struct ASN1T_ReasonFlags_traits : RecordTraits<asn1data::ASN1C_ReasonFlags, asn1data::asn1Copy_ReasonFlags> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CReasonFlags& value);
    static void get(const ASN1_T& record, CReasonFlags& value);
};

struct ASN1T_DistributionPointName_traits
    : RecordTraits<asn1data::ASN1C_DistributionPointName, asn1data::asn1Copy_DistributionPointName> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CDistributionPointName& value);
    static void get(const ASN1_T& record, CDistributionPointName& value);
};

struct ASN1T_DistributionPoint_traits
    : RecordTraits<asn1data::ASN1C_DistributionPoint, asn1data::asn1Copy_DistributionPoint> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CDistributionPoint& value);
    static void get(const ASN1_T& record, CDistributionPoint& value);
};

struct ASN1T_CRLDistPointsSyntax_traits
    : ListTraits<asn1data::ASN1T_CRLDistPointsSyntax, asn1data::ASN1C_CRLDistPointsSyntax,
                 ASN1T_DistributionPoint_traits, CCRLDistPointsSyntax> {};

}  // namespace Orvane::ASN1
