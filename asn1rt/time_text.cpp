#include "asn1rt/time_text.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "asn1rt/time_scan.h"
#include "asn1rt/utf8.h"

extern "C" {

const std::uint8_t OS_daysInMonth[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

// clang-format off
const std::uint8_t rtCtypeTable[256] = {
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    4, 4, 4, 4, 4, 4, 4, 4, 4, 4,
};
// clang-format on

}  // extern "C"

namespace {

constexpr std::uint8_t kDigitBit = 0x04;
constexpr std::size_t kMaxFraction = sizeof(RtTime::fraction) - 1;
constexpr int kMaxDiffHour = 12;

bool isDigit(char c) {
    return (rtCtypeTable[static_cast<std::uint8_t>(c)] & kDigitBit) != 0;
}
bool isBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// Gives access to any position of a text: beyond its end it reads as NUL.
class TimeText {
public:
    explicit TimeText(const char* text) : text_(text), size_(std::strlen(text)) {}
    [[nodiscard]] char at(std::size_t i) const { return i < size_ ? text_[i] : '\0'; }
    [[nodiscard]] bool digitAt(std::size_t i) const { return isDigit(at(i)); }
    // The one or two digits from position `i`, if there is one.
    [[nodiscard]] int number(std::size_t i) const {
        const int first = at(i) - '0';
        return digitAt(i + 1) ? first * 10 + (at(i + 1) - '0') : first;
    }

private:
    const char* text_;
    std::size_t size_;
};

// A number of at most `width` characters. Leading blanks are skipped and a sign is accepted, as in a formatted read;
// the fixed positions of what follows then reject most such texts.
bool readNumber(const TimeText& text, std::size_t& i, int width, int& value) {
    while (isBlank(text.at(i))) {
        ++i;
    }
    const bool minus = text.at(i) == '-';
    if (minus || text.at(i) == '+') {
        ++i;
        --width;
    }
    if (width == 0 || !text.digitAt(i)) {
        return false;
    }
    value = 0;
    for (; width > 0 && text.digitAt(i); --width, ++i) {
        value = value * 10 + (text.at(i) - '0');
    }
    value = minus ? -value : value;
    return true;
}

bool readDate(const TimeText& text, int yearWidth, int& year, int& month, int& day) {
    std::size_t i = 0;
    return readNumber(text, i, yearWidth, year) && readNumber(text, i, 2, month) && readNumber(text, i, 2, day);
}

// A number of up to two digits at `i`, below `limit`.
bool readField(const TimeText& text, std::size_t i, int limit, std::int16_t& field) {
    if (!text.digitAt(i)) {
        return false;
    }
    const int value = text.number(i);
    field = static_cast<std::int16_t>(value);
    return value < limit;
}

// The digits after a point at `i`; `i` moves after what was read.
bool readFraction(const TimeText& text, std::size_t& i, TimeReader reader, RtTime& time) {
    if (!text.digitAt(++i)) {
        return false;
    }
    // Leading zeros are not kept, so ".05" becomes "5".
    while (text.at(i) == '0') {
        ++i;
    }
    std::size_t length = 0;
    for (; length < kMaxFraction && text.digitAt(i); ++i) {
        time.fraction[length++] = text.at(i);
    }
    while (reader != TimeReader::kRecord && text.digitAt(i)) {
        ++i;
    }
    return true;
}

void applySign(char sign, RtTime& time) {
    if (sign == '-') {
        time.diffHour = static_cast<std::int16_t>(-time.diffHour);
        time.diffMin = static_cast<std::int16_t>(-time.diffMin);
    }
}

bool isSign(char c) {
    return c == '+' || c == '-';
}

// The ending of a GeneralizedTime; anything unknown means local time, whatever it is.
bool readOpenEnding(const TimeText& text, std::size_t i, RtTime& time) {
    const char c = text.at(i);
    if (c == 'Z') {
        time.utcFlag = 1;
        return text.at(i + 1) == '\0';
    }
    if (!isSign(c) || !text.digitAt(i + 1)) {
        return true;
    }
    if (!readField(text, i + 1, kMaxDiffHour + 1, time.diffHour)) {
        return false;
    }
    if (text.digitAt(i + 2) && text.digitAt(i + 3) && text.digitAt(i + 4) &&
        !readField(text, i + 3, 60, time.diffMin)) {
        return false;
    }
    applySign(c, time);
    return true;
}

// The ending of a UTCTime, which must be there and complete.
bool readStrictEnding(const TimeText& text, std::size_t i, RtTime& time) {
    const char c = text.at(i);
    if (c == 'Z') {
        time.utcFlag = 1;
        return text.at(i + 1) == '\0';
    }
    if (!isSign(c) || !text.digitAt(i + 2) || !text.digitAt(i + 4) || text.at(i + 5) != '\0' ||
        !readField(text, i + 1, kMaxDiffHour + 1, time.diffHour) || !readField(text, i + 3, 60, time.diffMin)) {
        return false;
    }
    applySign(c, time);
    return true;
}

void setDate(RtTime& time, int year, int month, int day) {
    time.year = static_cast<std::int16_t>(year);
    time.month = static_cast<std::int16_t>(month);
    time.day = static_cast<std::int16_t>(day);
}

bool isBelow(int value, int limit) {
    return value >= 0 && value < limit;
}

bool isValid(const RtTime& t) {
    return isBelow(t.year, 10000) && isDate(t.year, t.month, t.day) && isBelow(t.hour, 24) && isBelow(t.minute, 60) &&
           isBelow(t.second, 60) && std::abs(t.diffHour) <= kMaxDiffHour && std::abs(t.diffMin) < 60;
}

int fail(ASN1CTXT* ctx, int status) {
    return ctx == nullptr ? status : rtErrSetData(&ctx->errInfo, status, nullptr, 0);
}

}  // namespace

bool isLeapYear(int year) {
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

int numDaysOfMonth(int year, int month) {
    return OS_daysInMonth[month - 1] + (month == 2 && isLeapYear(year) ? 1 : 0);
}

bool isDate(int year, int month, int day) {
    return month >= 1 && month <= 12 && day >= 1 && day <= numDaysOfMonth(year, month);
}

bool scanGeneralizedTime(const char* text, TimeReader reader, RtTime& time) {
    if (text == nullptr) {
        return false;
    }
    const TimeText t(text);
    RtTime result;
    int year = 0;
    int month = 0;
    int day = 0;
    if (!readDate(t, 4, year, month, day) || year < 0 || !isDate(year, month, day) ||
        !readField(t, 8, 24, result.hour)) {
        return false;
    }
    setDate(result, year, month, day);
    std::size_t i = 10;
    bool hasSeconds = false;
    if (t.digitAt(i)) {
        if (!readField(t, i, 60, result.minute)) {
            return false;
        }
        i += 2;
        hasSeconds = t.digitAt(i);
        if (hasSeconds && !readField(t, i, 60, result.second)) {
            return false;
        }
        i += hasSeconds ? 2 : 0;
    }
    const bool strict = reader == TimeReader::kControlZulu;
    if (t.at(i) == '.' || t.at(i) == ',') {
        if (!hasSeconds || (strict && t.at(i) == ',') || !readFraction(t, i, reader, result)) {
            return false;
        }
    }
    if (!readOpenEnding(t, i, result) || (strict && result.utcFlag == 0)) {
        return false;
    }
    time = result;
    return true;
}

bool scanUtcTime(const char* text, RtTime& time) {
    if (text == nullptr) {
        return false;
    }
    const TimeText t(text);
    RtTime result;
    int year = 0;
    int month = 0;
    int day = 0;
    if (!readDate(t, 2, year, month, day)) {
        return false;
    }
    year += year < 50 ? 2000 : 1900;
    if (!isDate(year, month, day) || !readField(t, 6, 24, result.hour) || !readField(t, 8, 60, result.minute)) {
        return false;
    }
    setDate(result, year, month, day);
    std::size_t i = 10;
    if (t.digitAt(i)) {
        if (!readField(t, i, 60, result.second)) {
            return false;
        }
        i = 12;
    }
    if (!readStrictEnding(t, i, result)) {
        return false;
    }
    time = result;
    return true;
}

extern "C" {

int rtParseGeneralizedTime(ASN1CTXT* ctx, const char* text, RtTime* record) noexcept {
    if (record == nullptr || !scanGeneralizedTime(text, TimeReader::kRecord, *record)) {
        return fail(ctx, STATUS_BAD_DATETIME);
    }
    return 0;
}

int rtParseUTCTime(ASN1CTXT* ctx, const char* text, RtTime* record) noexcept {
    if (record == nullptr || !scanUtcTime(text, *record)) {
        return fail(ctx, STATUS_BAD_DATETIME);
    }
    return 0;
}

int rtMakeGeneralizedTime(ASN1CTXT* ctx, const RtTime* record, char** text, std::uint32_t capacity) noexcept {
    if (record == nullptr || text == nullptr || (capacity != 0 && *text == nullptr)) {
        return fail(ctx, STATUS_BAD_ARGUMENT);
    }
    const RtTime& t = *record;
    if (!isValid(t)) {
        return fail(ctx, STATUS_BAD_DATETIME);
    }
    char area[64];
    int length = std::snprintf(area, sizeof area, "%.4d%.2d%.2d%.2d%.2d%.2d", t.year, t.month, t.day, t.hour, t.minute,
                               t.second);
    if (t.fraction[0] != '\0') {
        length +=
            std::snprintf(area + length, sizeof area - length, ".%.*s", static_cast<int>(kMaxFraction), t.fraction);
    }
    if (t.utcFlag != 0) {
        length += std::snprintf(area + length, sizeof area - length, "Z");
    } else if (t.diffHour != 0 || t.diffMin != 0) {
        const char sign = t.diffHour < 0 || t.diffMin < 0 ? '-' : '+';
        length += std::snprintf(area + length, sizeof area - length, "%c%02d%02d", sign, std::abs(t.diffHour),
                                std::abs(t.diffMin));
    }
    if (capacity == 0) {
        *text = rtUTF8Strdup(ctx, area);
        return *text != nullptr ? 0 : fail(ctx, STATUS_NO_MEMORY);
    }
    if (static_cast<std::uint32_t>(length) >= capacity) {
        return fail(ctx, STATUS_STRING_OVERFLOW);
    }
    std::copy_n(area, length + 1, *text);
    return 0;
}

}  // extern "C"
