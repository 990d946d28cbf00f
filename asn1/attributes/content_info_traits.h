// ContentInfo between value and record: as an object, or as the whole DER.
#pragma once

#include "asn1/attributes/content_info.h"
#include "asn1/codec/codec.h"
#include "schema/generated/cms.h"

namespace Orvane::ASN1 {

struct ASN1T_ContentInfo_traits : RecordTraits<asn1data::ASN1C_ContentInfo, asn1data::asn1Copy_ContentInfo> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CContentInfo& value);
    static void get(const ASN1_T& record, CContentInfo& value);
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CBlob& value);
    static void get(const ASN1_T& record, CBlob& value);
};

}  // namespace Orvane::ASN1
