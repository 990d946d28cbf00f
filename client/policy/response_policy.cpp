#include "client/policy/response_policy.h"

#include <cstdint>

namespace Orvane::PKI::OCSP::Client {

CResponsePolicy::CResponsePolicy() {
    wchar_t sectionText[] = L"ocsppolicy";
    wchar_t* section = sectionText;
    wchar_t* reserved = nullptr;
    ThisUpdateAccuracyUnits.Load(reserved, section, L"ThisUpdateAccuracyUnits", 7);
    ThisUpdateAccuracy.Load(reserved, section, L"ThisUpdateAccuracy");
    NocheckOCSPs.Load(reserved, section, L"NocheckOCSPs", L"NocheckOCSPs", true);
}

CDateTime thisUpdateLimit(const CGPString& interval, long units, const CDateTime& reference) {
    // Negated in unsigned arithmetic, where the lowest number has a negative too: itself.
    const auto back = static_cast<std::int32_t>(0U - static_cast<std::uint32_t>(units));
    return DateAddW(interval.c_str(), back, reference);
}

}  // namespace Orvane::PKI::OCSP::Client
