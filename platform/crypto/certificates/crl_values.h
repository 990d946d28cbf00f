// Values inside CRLs: times and numbers.
#pragma once

#include <limits>
#include <optional>

#include "platform/crypto/base/der_reader.h"

namespace tallow::platform {

// A time that is malformed counts as newer than any other.
constexpr long long kMalformedTime = std::numeric_limits<long long>::max();

bool isTime(const DerElement& element);

// Seconds since 1970; empty unless the time has the one form that RFC 5280 allows: YYMMDDHHMMSSZ, or YYYYMMDDHHMMSSZ.
std::optional<long long> secondsOf(const DerElement& time);

// The content of an INTEGER without redundant leading octets, so that equal numbers have equal bytes.
ByteView integerContent(ByteView content) noexcept;

// Compares two numbers as integerContent() gives them: negative when `left` is less than `right`, 0 when they are
// equal. Negative numbers have some place in the order as well.
int compareNumbers(ByteView left, ByteView right) noexcept;
inline bool isLess(ByteView left, ByteView right) noexcept {
    return compareNumbers(left, right) < 0;
}

}  // namespace tallow::platform
