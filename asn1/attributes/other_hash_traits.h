// OtherHash and OtherHashAlgAndValue between value and record, and the holder of COtherHash.
#pragma once

#include "asn1/attributes/other_hash.h"
#include "asn1/codec/choice_holder.h"
#include "asn1/codec/codec.h"
#include "schema/generated/electronic_signatures.h"

namespace Orvane::ASN1 {

inline constexpr unsigned int kSha1Hash = 1;
inline constexpr unsigned int kOtherHash = 2;

class COtherHashImpl final : public Choice {
public:
    ~COtherHashImpl() override { destroyValue(); }
    const ChoiceValueTraits* findTraits(unsigned int type) const override;
};

struct ASN1T_OtherHashAlgAndValue_traits
    : RecordTraits<asn1data::ASN1C_OtherHashAlgAndValue, asn1data::asn1Copy_OtherHashAlgAndValue> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const COtherHashAlgAndValue& value);
    static void get(const ASN1_T& record, COtherHashAlgAndValue& value);
};

struct ASN1T_OtherHash_traits : RecordTraits<asn1data::ASN1C_OtherHash, asn1data::asn1Copy_OtherHash> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const COtherHash& value);
    static void get(const ASN1_T& record, COtherHash& value);
};

}  // namespace Orvane::ASN1
