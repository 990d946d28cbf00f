// PolicyInformation between value and record.
#pragma once

#include "asn1/codec/codec.h"
#include "asn1/codec/list_traits.h"
#include "asn1/extensions/policy_information.h"
#include "schema/generated/extensions.h"

namespace Orvane::ASN1 {

struct ASN1T_PolicyInformation_traits
    : RecordTraits<asn1data::ASN1C_PolicyInformation, asn1data::asn1Copy_PolicyInformation> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CPolicyInformation& value);
    static void get(const ASN1_T& record, CPolicyInformation& value);
};

using PolicyInformationListTraits =
    ASN1TSeqOfList_traits<asn1data::ASN1T_PolicyInformation, ASN1T_PolicyInformation_traits, CPolicyInformation,
                          CPolicyInformationList>;

}  // namespace Orvane::ASN1
