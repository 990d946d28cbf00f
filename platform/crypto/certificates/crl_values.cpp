#include "platform/crypto/certificates/crl_values.h"

#include <algorithm>
#include <chrono>
#include <cstring>

namespace tallow::platform {

bool isTime(const DerElement& element) {
    return element.tagClass == V_ASN1_UNIVERSAL && !element.constructed &&
           (element.tag == V_ASN1_UTCTIME || element.tag == V_ASN1_GENERALIZEDTIME);
}

std::optional<long long> secondsOf(const DerElement& time) {
    const bool isShort = time.tag == V_ASN1_UTCTIME;
    const std::size_t digits = isShort ? 12 : 14;
    if (time.content.size() != digits + 1 || time.content.back() != 'Z' ||
        !std::all_of(time.content.begin(), time.content.end() - 1, [](BYTE c) { return c >= '0' && c <= '9'; })) {
        return std::nullopt;
    }
    const auto pair = [&](std::size_t fromEnd) {
        const BYTE* const at = &time.content[digits - fromEnd];
        return (at[0] - '0') * 10 + (at[1] - '0');
    };
    const int century = !isShort ? pair(14) * 100 : pair(12) >= 50 ? 1900 : 2000;
    const std::chrono::year_month_day date{std::chrono::year(century + pair(12)),
                                           std::chrono::month(static_cast<unsigned>(pair(10))),
                                           std::chrono::day(static_cast<unsigned>(pair(8)))};
    if (!date.ok() || pair(6) > 23 || pair(4) > 59 || pair(2) > 59) {
        return std::nullopt;
    }
    const long long days = std::chrono::sys_days(date).time_since_epoch().count();
    return days * 86400 + pair(6) * 3600 + pair(4) * 60 + pair(2);
}

ByteView integerContent(ByteView content) noexcept {
    while (content.size() > 1 &&
           ((content[0] == 0x00 && content[1] < 0x80) || (content[0] == 0xFF && content[1] >= 0x80))) {
        content = content.subspan(1);
    }
    return content;
}

int compareNumbers(ByteView left, ByteView right) noexcept {
    // Of two numbers that are not negative the one with more octets is larger, a leading zero octet included.
    if (left.size() != right.size()) {
        return left.size() < right.size() ? -1 : 1;
    }
    return left.empty() ? 0 : std::memcmp(left.data(), right.data(), left.size());
}

}  // namespace tallow::platform
