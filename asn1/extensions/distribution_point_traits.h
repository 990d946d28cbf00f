// The types of CRL distribution points between value and record.
#pragma once

#include "asn1/codec/codec.h"
#include "asn1/codec/list_traits.h"
#include "asn1/extensions/distribution_point.h"
#include "schema/generated/extensions.h"

namespace Orvane::ASN1 {

struct ASN1T_ReasonFlags_traits {
    using ASN1_T = asn1data::ASN1T_ReasonFlags;
    using ASN1_C = asn1data::ASN1C_ReasonFlags;

    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CReasonFlags& value);
    static void get(const ASN1_T& record, CReasonFlags& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
        asn1data::asn1Copy_ReasonFlags(ctxt, &from, &to);
    }
};

struct ASN1T_DistributionPointName_traits {
    using ASN1_T = asn1data::ASN1T_DistributionPointName;
    using ASN1_C = asn1data::ASN1C_DistributionPointName;

    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CDistributionPointName& value);
    static void get(const ASN1_T& record, CDistributionPointName& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
        asn1data::asn1Copy_DistributionPointName(ctxt, &from, &to);
    }
};

struct ASN1T_DistributionPoint_traits {
    using ASN1_T = asn1data::ASN1T_DistributionPoint;
    using ASN1_C = asn1data::ASN1C_DistributionPoint;

    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CDistributionPoint& value);
    static void get(const ASN1_T& record, CDistributionPoint& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
        asn1data::asn1Copy_DistributionPoint(ctxt, &from, &to);
    }
};

struct ASN1T_CRLDistPointsSyntax_traits
    : ASN1TSeqOfList_traits<asn1data::ASN1T_DistributionPoint, ASN1T_DistributionPoint_traits, CDistributionPoint,
                            CCRLDistPointsSyntax> {
    using ASN1_T = asn1data::ASN1T_CRLDistPointsSyntax;
    using ASN1_C = asn1data::ASN1C_CRLDistPointsSyntax;
};

}  // namespace Orvane::ASN1
