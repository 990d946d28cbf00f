// Time between value and record, and the holder of CTimeChoice.
#pragma once

#include "asn1/codec/choice_holder.h"
#include "asn1/codec/codec.h"
#include "asn1/text/time_choice.h"
#include "schema/generated/certificates.h"

namespace Orvane::ASN1 {

inline constexpr unsigned int kUtcTime = 1;
inline constexpr unsigned int kGeneralTime = 2;

class CTimeChoiceImpl final : public Choice {
public:
    ~CTimeChoiceImpl() override { destroyValue(); }
    const ChoiceValueTraits* findTraits(unsigned int type) const override;
};

struct ASN1T_Time_traits : RecordTraits<asn1data::ASN1C_Time, asn1data::asn1Copy_Time> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CTimeChoice& value);
    static void get(const ASN1_T& record, CTimeChoice& value);
};

}  // namespace Orvane::ASN1
