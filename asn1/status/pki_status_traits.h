// PKIStatusInfo, PKIFailureInfo and PKIFreeText between value and record.
#pragma once

#include "asn1/codec/codec.h"
#include "asn1/status/pki_status.h"
#include "schema/generated/cmp.h"

namespace Orvane::ASN1 {

/// Fills the record with the texts, each preceded by its language, in memory from `ctxt`. Throws kAsn1Error for a
/// character that has no UTF-8 form.
void CPKIFreeText_Encode(ASN1CTXT* ctxt, asn1data::ASN1T_PKIFreeText& record, const CPKIFreeText& text);

/// Appends the texts of the record; languages may repeat. Throws kBadUtf8 for a text that is not UTF-8, and
/// kInvalidArgument for a language without its end mark, with the texts before appended.
void CPKIFreeText_Parse(ASN1CTXT* ctxt, CPKIFreeText& text, const asn1data::ASN1T_PKIFreeText& record);

struct ASN1T_PKIFailureInfo_traits : RecordTraits<asn1data::ASN1C_PKIFailureInfo, asn1data::asn1Copy_PKIFailureInfo> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CPKIFailureInfo& value);
    static void get(const ASN1_T& record, CPKIFailureInfo& value);
};

struct ASN1T_PKIStatusInfo_traits : RecordTraits<asn1data::ASN1C_PKIStatusInfo, asn1data::asn1Copy_PKIStatusInfo> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CPKIStatusInfo& value);
    static void get(const ASN1_T& record, CPKIStatusInfo& value);
};

}  // namespace Orvane::ASN1
