// ContentInfo between value and record: as an object, or as the whole DER.
#pragma once

#include "asn1/attributes/content_info.h"
#include "asn1/codec/codec.h"
#include "schema/generated/cms.h"

namespace Orvane::ASN1 {

struct ASN1T_ContentInfo_traits {
    using ASN1_T = asn1data::ASN1T_ContentInfo;
    using ASN1_C = asn1data::ASN1C_ContentInfo;

    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CContentInfo& value);
    static void get(const ASN1_T& record, CContentInfo& value);
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CBlob& value);
    static void get(const ASN1_T& record, CBlob& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
        asn1data::asn1Copy_ContentInfo(ctxt, &from, &to);
    }
};

}  // namespace Orvane::ASN1
