#include "foundation/date_time_text.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>

#include "foundation/generalized_time.h"
#include "foundation/time_records.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace Orvane {
namespace {

constexpr unsigned int kMicrosecondDigits = 6;

bool isDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

// A field that the text does not contain completely is 0.
unsigned int readField(std::string_view text, std::size_t offset, std::size_t length) {
    if (text.size() < offset + length) {
        return 0;
    }
    unsigned int value = 0;
    for (const char c : text.substr(offset, length)) {
        if (!isDigit(c)) {
            ATL::AtlThrowImpl(status::kInvalidTime);
        }
        value = value * 10 + static_cast<unsigned int>(c - '0');
    }
    return value;
}

// The fraction begins after the character at offset 14, which may be anything. Missing digits of the six count as
// zeros, further ones are ignored.
unsigned int readMicroseconds(std::string_view text) {
    constexpr std::size_t kFractionOffset = 15;
    if (text.size() <= kFractionOffset) {
        return 0;
    }
    std::string_view fraction = text.substr(kFractionOffset);
    if (fraction.back() == 'Z') {
        fraction.remove_suffix(1);
    }
    fraction = fraction.substr(0, kMicrosecondDigits);
    unsigned int value = readField(fraction, 0, fraction.size());
    for (std::size_t i = fraction.size(); i < kMicrosecondDigits; ++i) {
        value *= 10;
    }
    return value;
}

// The offset of a zone from UTC, read from "+HH:MM".
CDateTimeSpan readOffset(const char* text) {
    char sign = '\0';
    int hours = 0;
    int minutes = 0;
    if (std::sscanf(text, "%c%2d:%2d", &sign, &hours, &minutes) != 3 || hours < 0 || minutes < 0) {
        ATL::AtlThrowImpl(status::kInvalidTime);
    }
    const CDateTimeSpan offset = CDateTimeSpan::OneHour() * static_cast<unsigned int>(hours) +
                                 CDateTimeSpan::OneMinute() * static_cast<unsigned int>(minutes);
    if (offset > CDateTimeSpan::OneHour() * 14) {
        ATL::AtlThrowImpl(status::kInvalidTime);
    }
    return offset;
}

// The text after the seconds in two parts: the fraction, and the zone.
struct XsdTail {
    std::string text;
    CDateTimeSpan offset;
    bool isWestOfUtc = false;  // the offset is to be added
};

XsdTail splitTail(std::string_view whole) {
    XsdTail tail{std::string(whole), {}, false};
    if (whole.find_first_of("Zz") != std::string_view::npos) {
        const std::size_t colon = whole.rfind(':');
        if (colon != std::string_view::npos && whole.size() - colon == 3) {
            tail.text.erase(colon, 1);
        }
        return tail;
    }
    // A '-' is used before a '+', whatever their order.
    const std::size_t minus = whole.find('-');
    const std::size_t sign = minus != std::string_view::npos ? minus : whole.find('+');
    if (sign != std::string_view::npos) {
        tail.offset = readOffset(tail.text.c_str() + sign);
        tail.isWestOfUtc = minus != std::string_view::npos;
        tail.text.resize(sign);
    }
    return tail;
}

}  // namespace

GeneralizedTimeFields readGeneralizedTime(std::string_view text) {
    GeneralizedTimeFields fields;
    fields.year = readField(text, 0, 4);
    fields.month = readField(text, 4, 2);
    fields.day = readField(text, 6, 2);
    fields.hour = readField(text, 8, 2);
    fields.minute = readField(text, 10, 2);
    fields.second = readField(text, 12, 2);
    fields.microseconds = readMicroseconds(text);
    return fields;
}

std::tm GeneralizedTimeToTm(const std::string& text, unsigned int& microseconds, bool span) {
    const GeneralizedTimeFields fields = readGeneralizedTime(text);
    microseconds = fields.microseconds;
    std::tm time{};
    time.tm_sec = static_cast<int>(fields.second);
    time.tm_min = static_cast<int>(fields.minute);
    time.tm_hour = static_cast<int>(fields.hour);
    time.tm_mday = static_cast<int>(fields.day);
    time.tm_mon = static_cast<int>(fields.month) - (span ? 0 : 1);
    time.tm_year = static_cast<int>(fields.year) - (span ? 0 : 1900);
    return time;
}

CStringProxy toXsdDateTimeString(const CDateTime& time) {
    std::array<char, 256> buffer{};
    const std::tm fields = toTm(time.getSystemTime());
    const std::size_t size = std::strftime(buffer.data(), buffer.size(), "%Y-%m-%dT%H:%M:%S", &fields);
    if (size == 0) {
        return {""};
    }
    std::string text(buffer.data(), size);
    if (const unsigned int millisecond = time.millisecond(); millisecond != 0) {
        appendPadded(text += '.', millisecond);
    }
    text += 'Z';
    return CStringProxy(std::move(text));
}

CDateTime fromXsdDateTimeString(const char* text) {
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int sizeRead = 0;
    std::array<char, 32> tail{};
    if (std::sscanf(text, "%4d-%2d-%2dT%2d:%2d:%2d%31s%n", &year, &month, &day, &hour, &minute, &second, tail.data(),
                    &sizeRead) != 7) {
        ATL::AtlThrowImpl(status::kInvalidTime);
    }
    // A tail that does not fit would lose its zone, so it is rejected.
    if (std::strlen(tail.data()) == tail.size() - 1 && text[sizeRead] != '\0') {
        ATL::AtlThrowImpl(status::kInvalidTime);
    }
    try {
        const XsdTail parts = splitTail(tail.data());
        std::array<char, 80> digits{};
        std::snprintf(digits.data(), digits.size(), "%04d%02d%02d%02d%02d%02d", year, month, day, hour, minute, second);
        const CDateTime local((digits.data() + parts.text).c_str());
        return parts.isWestOfUtc ? local + parts.offset : local - parts.offset;
    } catch (const std::bad_alloc&) {
        ATL::AtlThrowImpl(status::kCryptoMemory);
    }
}

}  // namespace Orvane
