// The objects that the distribution point classes own through their pointers.
#pragma once

#include <memory>

#include "asn1/codec/choice_holder.h"
#include "asn1/codec/owned_ptr.h"
#include "asn1/extensions/distribution_point.h"

namespace Orvane::ASN1 {

inline constexpr unsigned int kFullName = 1;

class CDistributionPointNameImpl final : public Choice {
public:
    ~CDistributionPointNameImpl() override { destroyValue(); }
    const ChoiceValueTraits* findTraits(unsigned int type) const override {
        if (type == kFullName) {
            return &ChoiceValueTraitsT<CGeneralNames, kFullName>::instance;
        }
        return &NoChoiceValue::instance;
    }
};

class CDistributionPointImpl {
public:
    CDistributionPointImpl() = default;
    CDistributionPointImpl(const CDistributionPointImpl& other) {
        copy_to_auto_ptr(distributionPoint, other.distributionPoint.get());
        copy_to_auto_ptr(reasons, other.reasons.get());
        copy_to_auto_ptr(cRLIssuer, other.cRLIssuer.get());
    }
    CDistributionPointImpl& operator=(const CDistributionPointImpl&) = delete;
    ~CDistributionPointImpl() = default;

    // Null when absent.
    std::unique_ptr<CDistributionPointName> distributionPoint;
    std::unique_ptr<CReasonFlags> reasons;
    std::unique_ptr<CGeneralNames> cRLIssuer;
};

}  // namespace Orvane::ASN1
