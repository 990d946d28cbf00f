// Small private helpers that the text forms of CDateTime share.
#pragma once

#include <ctime>
#include <string>

#include "platform/support/support_service.h"

namespace Orvane {

[[nodiscard]] inline std::tm toTm(const SYSTEMTIME& time) noexcept {
    std::tm fields{};
    fields.tm_sec = time.wSecond;
    fields.tm_min = time.wMinute;
    fields.tm_hour = time.wHour;
    fields.tm_mday = time.wDay;
    fields.tm_mon = time.wMonth - 1;
    fields.tm_year = time.wYear - 1900;
    fields.tm_wday = time.wDayOfWeek;
    return fields;
}

/// Appends a number below 1000 as three digits, to a narrow or a wide text.
template <class Char>
void appendPadded(std::basic_string<Char>& text, unsigned int value) {
    for (const unsigned int unit : {100U, 10U, 1U}) {
        text += static_cast<Char>('0' + value / unit % 10);
    }
}

}  // namespace Orvane
