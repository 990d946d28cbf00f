#include "asn1rt/time_control.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "asn1rt/status.h"
#include "asn1rt/time_scan.h"

namespace {

constexpr std::int64_t kMillisPerMinute = 60'000;
constexpr std::int64_t kMillisPerDay = 86'400'000;
constexpr int kMaxYear = 9999;
constexpr int kMaxFraction = 999'999'999;
constexpr int kMaxFractionDigits = 9;
constexpr int kMaxDiffHour = 12;
constexpr int kMaxDiffMinutes = 720;

std::int16_t narrow(int value) {
    return static_cast<std::int16_t>(value);
}

// A fraction holds the digits after the point: 5, 50 and 500 are all half a second.
int fractionMillis(int fraction) {
    if (fraction < 10) {
        return fraction * 100;
    }
    if (fraction < 100) {
        return fraction * 10;
    }
    while (fraction >= 1000) {
        fraction /= 10;
    }
    return fraction;
}

std::int64_t floorDivide(std::int64_t value, std::int64_t divisor) {
    return value / divisor - (value % divisor < 0 ? 1 : 0);
}

}  // namespace

const std::int16_t ASN1CTime::daysInMonth[13] = {0, 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
const std::int16_t ASN1CTime::daysAfterMonth[13] = {0, 0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};

ASN1CTime::ASN1CTime(const char*& text, std::int32_t size, bool forceUTC) : mForceUTC(forceUTC), mpTimeStr(&text) {
    attach(size);
}

ASN1CTime::ASN1CTime(ASN1MessageBufferIF& buffer, const char*& text, std::int32_t size, bool forceUTC)
    : ASN1CType(buffer), mForceUTC(forceUTC), mpTimeStr(&text) {
    attach(size);
}

ASN1CTime::ASN1CTime(ASN1Context& context, const char*& text, std::int32_t size, bool forceUTC)
    : ASN1CType(context), mForceUTC(forceUTC), mpTimeStr(&text) {
    attach(size);
}

ASN1CTime::~ASN1CTime() = default;

void ASN1CTime::attach(std::int32_t size) {
    // A given size means that the array is writable.
    mpArray = size >= kTextSize ? const_cast<char*>(*mpTimeStr) : nullptr;
}

int ASN1CTime::ensureParsed() const {
    // A decoding into the caller's record puts another text there.
    if (mParsed && mpKnownText == *mpTimeStr) {
        return 0;
    }
    if (*mpTimeStr == nullptr || **mpTimeStr == '\0') {
        // The fields come from a text that was replaced.
        mFields = Fields();
        mParsed = false;
        return 0;
    }
    return const_cast<ASN1CTime*>(this)->parseString(*mpTimeStr);
}

void ASN1CTime::assign(const RtTime& time) {
    int fraction = 0;
    for (int i = 0; i < kMaxFractionDigits && time.fraction[i] != '\0'; ++i) {
        fraction = fraction * 10 + (time.fraction[i] - '0');
    }
    mFields = {time.year,   time.month,    time.day,     time.hour, time.minute,
               time.second, time.diffHour, time.diffMin, fraction,  time.utcFlag != 0};
    mParsed = true;
    mpKnownText = *mpTimeStr;
}

bool ASN1CTime::isComplete() const {
    return mFields.year >= 0 && mFields.month >= 0 && mFields.day >= 0 && mFields.hour >= 0;
}

int ASN1CTime::checkDate(int day, int month, int year) const {
    if (day == kNotSet) {
        return 0;
    }
    int last = daysInMonth[1];
    if (month != kNotSet) {
        // A leap day is accepted until the year is known.
        const bool leapDay = month == 2 && (year == kNotSet || isLeapYear(year));
        last = daysInMonth[month] + (leapDay ? 1 : 0);
    }
    return day >= 1 && day <= last ? 0 : fail(STATUS_BAD_DATETIME);
}

int ASN1CTime::change(const Fields& fields) {
    const Fields before = mFields;
    const bool parsedBefore = mParsed;
    mFields = fields;
    mParsed = true;
    mpKnownText = *mpTimeStr;
    const int status = isComplete() ? compileString() : 0;
    if (status != 0) {
        mFields = before;
        mParsed = parsedBefore;
    }
    return status;
}

int ASN1CTime::prepareText() {
    const int status = ensureParsed();
    if (status != 0) {
        return status;
    }
    if (!isComplete()) {
        return fail(STATUS_BAD_DATETIME);
    }
    const int offset = mFields.diffHour * 60 + mFields.diffMin;
    if (!isZulu() || offset == 0) {
        return 0;
    }
    Fields moved = mFields;
    addMilliseconds(moved, -offset * kMillisPerMinute);
    if (moved.year < 0 || moved.year > kMaxYear) {
        return fail(STATUS_BAD_DATETIME);
    }
    moved.diffHour = 0;
    moved.diffMin = 0;
    mFields = moved;
    return 0;
}

int ASN1CTime::changeToLocal(std::time_t time, bool withOffset) {
    std::tm local = {};
    std::tm utc = {};
    if (localtime_r(&time, &local) == nullptr || gmtime_r(&time, &utc) == nullptr || local.tm_year < -1900 ||
        local.tm_year > kMaxYear - 1900) {
        return fail(STATUS_BAD_DATETIME);
    }
    Fields fields = mFields;
    fields.year = narrow(local.tm_year + 1900);
    fields.month = narrow(local.tm_mon + 1);
    fields.day = narrow(local.tm_mday);
    fields.hour = narrow(local.tm_hour);
    fields.minute = narrow(local.tm_min);
    fields.second = narrow(std::min(local.tm_sec, 59));
    fields.fraction = 0;
    fields.diffHour = 0;
    fields.diffMin = 0;
    if (withOffset) {
        // Both are read as local time with the same daylight saving, so their difference is the offset.
        utc.tm_isdst = local.tm_isdst;
        const auto minutes = static_cast<int>((std::mktime(&local) - std::mktime(&utc)) / 60);
        if (std::abs(minutes / 60) > kMaxDiffHour && !isZulu()) {
            return fail(STATUS_BAD_DATETIME);
        }
        fields.diffHour = narrow(minutes / 60);
        fields.diffMin = narrow(minutes % 60);
    } else {
        fields.isUTC = false;
    }
    return change(fields);
}

char* ASN1CTime::checkCapacity() {
    return mpArray != nullptr ? mpArray : mArea;
}

void ASN1CTime::store(const char* text) {
    char* place = checkCapacity();
    std::memcpy(place, text, std::strlen(text) + 1);
    *mpTimeStr = place;
    mpKnownText = place;
}

template <typename Value>
int ASN1CTime::get(Value Fields::*field) const {
    const int status = ensureParsed();
    return status != 0 ? status : static_cast<int>(mFields.*field);
}

int ASN1CTime::getYear() const {
    return get(&Fields::year);
}
int ASN1CTime::getMonth() const {
    return get(&Fields::month);
}
int ASN1CTime::getDay() const {
    return get(&Fields::day);
}
int ASN1CTime::getHour() const {
    return get(&Fields::hour);
}
int ASN1CTime::getMinute() const {
    return get(&Fields::minute);
}
int ASN1CTime::getSecond() const {
    return get(&Fields::second);
}
int ASN1CTime::getFraction() const {
    return get(&Fields::fraction);
}
int ASN1CTime::getDiffHour() const {
    return get(&Fields::diffHour);
}
int ASN1CTime::getDiffMinute() const {
    return get(&Fields::diffMin);
}

int ASN1CTime::getDiff() const {
    const int status = ensureParsed();
    return status != 0 ? status : mFields.diffHour * 60 + mFields.diffMin;
}

int ASN1CTime::getUTC() const {
    return get(&Fields::isUTC);
}

std::time_t ASN1CTime::getTime() const {
    const int status = ensureParsed();
    if (status != 0) {
        return status;
    }
    if (!isComplete()) {
        return fail(STATUS_BAD_DATETIME);
    }
    std::tm fields = {};
    fields.tm_year = mFields.year - 1900;
    fields.tm_mon = mFields.month - 1;
    fields.tm_mday = mFields.day;
    fields.tm_hour = mFields.hour;
    fields.tm_min = std::max<int>(mFields.minute, 0);
    fields.tm_sec = std::max<int>(mFields.second, 0);
    fields.tm_isdst = -1;
    // The offset is added, not subtracted, and "Z" is ignored: the header says when the result is right.
    return std::mktime(&fields) + std::time_t{60} * (mFields.diffHour * 60 + mFields.diffMin);
}

int ASN1CTime::setField(std::int16_t Fields::*field, int value, int low, int high) {
    if (value < low || value > high) {
        return fail(STATUS_BAD_DATETIME);
    }
    const int status = ensureParsed();
    if (status != 0) {
        return status;
    }
    Fields fields = mFields;
    fields.*field = narrow(value);
    return change(fields);
}

int ASN1CTime::setUTC(bool utc) {
    const int status = ensureParsed();
    if (status != 0) {
        return status;
    }
    Fields fields = mFields;
    fields.isUTC = utc;
    return change(fields);
}

int ASN1CTime::setYear(int year) {
    int status = ensureParsed();
    if (status == 0 && year >= 0) {
        status = checkDate(mFields.day, mFields.month == 2 ? 2 : kNotSet, year);
    }
    return status != 0 ? status : setField(&Fields::year, year, 0, kMaxYear);
}

int ASN1CTime::setMonth(int month) {
    return setField(&Fields::month, month, 1, 12);
}

int ASN1CTime::setDay(int day) {
    int status = ensureParsed();
    if (status == 0 && day >= 1) {
        status = checkDate(day, mFields.month, mFields.year);
    }
    return status != 0 ? status : setField(&Fields::day, day, 1, 31);
}

int ASN1CTime::setHour(int hour) {
    return setField(&Fields::hour, hour, 0, 23);
}
int ASN1CTime::setMinute(int minute) {
    return setField(&Fields::minute, minute, 0, 59);
}
int ASN1CTime::setSecond(int second) {
    return setField(&Fields::second, second, 0, 59);
}

int ASN1CTime::setFraction(int fraction) {
    if (fraction < 0 || fraction > kMaxFraction) {
        return fail(STATUS_BAD_DATETIME);
    }
    const int status = ensureParsed();
    if (status != 0) {
        return status;
    }
    Fields fields = mFields;
    fields.fraction = fraction;
    return change(fields);
}

int ASN1CTime::setDiffHour(int hours) {
    return setField(&Fields::diffHour, hours, -kMaxDiffHour, kMaxDiffHour);
}

int ASN1CTime::setDiff(int hours, int minutes) {
    if (hours < -kMaxDiffHour || hours > kMaxDiffHour || minutes <= -60 || minutes >= 60) {
        return fail(STATUS_BAD_DATETIME);
    }
    const int status = ensureParsed();
    if (status != 0) {
        return status;
    }
    Fields fields = mFields;
    fields.diffHour = narrow(hours);
    fields.diffMin = narrow(hours == 0 ? minutes : (hours < 0 ? -std::abs(minutes) : std::abs(minutes)));
    return change(fields);
}

int ASN1CTime::setDiff(int minutes) {
    if (minutes < -kMaxDiffMinutes || minutes > kMaxDiffMinutes) {
        return fail(STATUS_BAD_DATETIME);
    }
    return setDiff(minutes / 60, minutes % 60);
}

void ASN1CTime::clear() {
    mFields = Fields();
    mParsed = false;
    if (mpArray != nullptr) {
        *mpArray = '\0';
    }
    *mpTimeStr = mpArray;
    mpKnownText = mpArray;
}

std::int64_t ASN1CTime::totalMillis() const {
    const Fields& f = mFields;
    const std::int64_t years = f.year;
    std::int64_t days = years * 365 + (years + 3) / 4 - (years + 99) / 100 + (years + 399) / 400;
    days += daysAfterMonth[f.month] + (f.month > 2 && isLeapYear(f.year) ? 1 : 0) + f.day - 1;
    const std::int64_t minutes = f.hour * 60 + std::max<int>(f.minute, 0) - (f.diffHour * 60 + f.diffMin);
    return days * kMillisPerDay + minutes * kMillisPerMinute + std::max<int>(f.second, 0) * 1000 +
           fractionMillis(f.fraction);
}

std::int64_t ASN1CTime::getDaysNum() const {
    return floorDivide(totalMillis(), kMillisPerDay);
}

std::int64_t ASN1CTime::getMillisNum() const {
    return totalMillis() - getDaysNum() * kMillisPerDay;
}

void ASN1CTime::addMilliseconds(Fields& fields, std::int64_t milliseconds) {
    std::int64_t seconds = (fields.hour * 60 + std::max<int>(fields.minute, 0)) * 60 + std::max<int>(fields.second, 0);
    seconds += milliseconds / 1000;
    const std::int64_t days = floorDivide(seconds, kMillisPerDay / 1000);
    const auto rest = static_cast<int>(seconds - days * (kMillisPerDay / 1000));
    fields.hour = narrow(rest / 3600);
    fields.minute = narrow(rest / 60 % 60);
    fields.second = narrow(rest % 60);
    addDays(fields, days);
}

void ASN1CTime::addDays(Fields& fields, std::int64_t days) {
    std::int64_t day = fields.day + days;
    int month = fields.month;
    int year = fields.year;
    const auto length = [&] { return daysInMonth[month] + (month == 2 && isLeapYear(year) ? 1 : 0); };
    while (day < 1) {
        month = month == 1 ? 12 : month - 1;
        year -= month == 12 ? 1 : 0;
        day += length();
    }
    while (day > length()) {
        day -= length();
        month = month == 12 ? 1 : month + 1;
        year += month == 1 ? 1 : 0;
    }
    fields.day = narrow(static_cast<int>(day));
    fields.month = narrow(month);
    fields.year = narrow(year);
}

// The order of the instants; false when one of them is unknown.
bool ASN1CTime::compare(const ASN1CTime& other, std::int64_t& order) const {
    if (ensureParsed() != 0 || other.ensureParsed() != 0 || !isComplete() || !other.isComplete()) {
        return false;
    }
    order = getDaysNum() - other.getDaysNum();
    if (order == 0) {
        order = getMillisNum() - other.getMillisNum();
    }
    return true;
}

bool ASN1CTime::equals(const ASN1CTime& other) const {
    std::int64_t order = 0;
    return compare(other, order) && order == 0;
}

bool ASN1CTime::operator==(const ASN1CTime& other) const {
    return equals(other);
}
bool ASN1CTime::operator!=(const ASN1CTime& other) const {
    return !equals(other);
}

bool ASN1CTime::operator>(const ASN1CTime& other) const {
    std::int64_t order = 0;
    return compare(other, order) && order > 0;
}

bool ASN1CTime::operator<(const ASN1CTime& other) const {
    std::int64_t order = 0;
    return compare(other, order) && order < 0;
}

bool ASN1CTime::operator>=(const ASN1CTime& other) const {
    std::int64_t order = 0;
    return compare(other, order) && order >= 0;
}

bool ASN1CTime::operator<=(const ASN1CTime& other) const {
    std::int64_t order = 0;
    return compare(other, order) && order <= 0;
}

int ASN1CTime::getTimeStringLen() const {
    return *mpTimeStr == nullptr ? 0 : static_cast<int>(std::strlen(*mpTimeStr));
}

char* ASN1CTime::getTimeString(char* destination, std::uint32_t capacity) const {
    const int length = getTimeStringLen();
    if (destination == nullptr || length == 0 || static_cast<std::uint32_t>(length) >= capacity) {
        return nullptr;
    }
    std::memcpy(destination, *mpTimeStr, static_cast<std::size_t>(length) + 1);
    return destination;
}
