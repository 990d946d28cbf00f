// GeneralName and GeneralNames between value and record, and the holder of CGeneralName.
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

/// Other alternatives than those that CGeneralName can hold throw kInvalidArgument both ways.
struct ASN1T_GeneralName_traits : RecordTraits<asn1data::ASN1C_GeneralName, asn1data::asn1Copy_GeneralName> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CGeneralName& value);
    static void get(const ASN1_T& record, CGeneralName& value);
};

struct ASN1T_GeneralNames_traits
    : ListTraits<asn1data::ASN1T_GeneralNames, asn1data::ASN1C_GeneralNames, ASN1T_GeneralName_traits, CGeneralNames> {
};

}  // namespace Orvane::ASN1
