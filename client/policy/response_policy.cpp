#include "client/policy/response_policy.h"

#include <cstdint>

#include "client/policy/policy_settings.h"

namespace Orvane::PKI::OCSP::Client {

CResponsePolicy::CResponsePolicy() {
    load(ThisUpdateAccuracyUnits, settings::ThisUpdateAccuracyUnits);
    load(ThisUpdateAccuracy, settings::ThisUpdateAccuracy);
    loadThumbprints(NocheckOCSPs, settings::NocheckOCSPs);
}

CDateTime thisUpdateLimit(const CGPString& interval, long units, const CDateTime& reference) {
    // Negated in unsigned arithmetic, where the lowest number has a negative too: itself.
    const auto back = static_cast<std::int32_t>(0U - static_cast<std::uint32_t>(units));
    return DateAddW(interval.c_str(), back, reference);
}

}  // namespace Orvane::PKI::OCSP::Client
