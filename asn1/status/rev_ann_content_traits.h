// RevAnnContent between value and record.
#pragma once

#include "asn1/codec/codec.h"
#include "asn1/status/rev_ann_content.h"
#include "schema/generated/cmp.h"

namespace Orvane::ASN1 {

struct ASN1T_RevAnnContent_traits : RecordTraits<asn1data::ASN1C_RevAnnContent, asn1data::asn1Copy_RevAnnContent> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CRevAnnContent& value);
    static void get(const ASN1_T& record, CRevAnnContent& value);
};

}  // namespace Orvane::ASN1
