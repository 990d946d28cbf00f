// GeneralName and GeneralNames between value and record, and the holder behind CGeneralName.
#pragma once

#include "asn1/codec/choice_holder.h"
#include "asn1/codec/codec.h"
#include "asn1/codec/list_traits.h"
#include "asn1/names/general_name.h"
#include "schema/generated/extensions.h"

namespace Orvane::ASN1 {

class CGeneralNameImpl final : public Choice {
public:
    ~CGeneralNameImpl() override { destroyValue(); }
    const ChoiceValueTraits* findTraits(unsigned int type) const override;
};

/// Other alternatives than those that CGeneralName can hold throw InvalidArgument both ways.
struct ASN1T_GeneralName_traits {
    using ASN1_T = asn1data::ASN1T_GeneralName;
    using ASN1_C = asn1data::ASN1C_GeneralName;

    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CGeneralName& value);
    static void get(const ASN1_T& record, CGeneralName& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
        asn1data::asn1Copy_GeneralName(ctxt, &from, &to);
    }
};

struct ASN1T_GeneralNames_traits
    : ASN1TSeqOfList_traits<asn1data::ASN1T_GeneralName, ASN1T_GeneralName_traits, CGeneralName, CGeneralNames> {
    using ASN1_T = asn1data::ASN1T_GeneralNames;
    using ASN1_C = asn1data::ASN1C_GeneralNames;
};

}  // namespace Orvane::ASN1
