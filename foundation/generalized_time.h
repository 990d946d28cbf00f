// The parser of every date and span that is read from text. Private: the public form is GeneralizedTimeToTm.
#pragma once

#include <string_view>

namespace Orvane {

/// The fields as written in the text; those that the text is too short for are 0.
struct GeneralizedTimeFields {
    unsigned int year = 0;   // up to 9999
    unsigned int month = 0;  // up to 99, and so on
    unsigned int day = 0;
    unsigned int hour = 0;
    unsigned int minute = 0;
    unsigned int second = 0;
    unsigned int microseconds = 0;  // up to 999999
};

/// Throws 0x8007076D for a character other than a digit inside a field. No allocation.
[[nodiscard]] GeneralizedTimeFields readGeneralizedTime(std::string_view text);

}  // namespace Orvane
