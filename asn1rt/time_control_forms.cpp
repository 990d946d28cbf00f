// The two forms of time text: what each reads, writes and rejects.
#include "asn1rt/time_control.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "asn1rt/status.h"
#include "asn1rt/time_scan.h"

namespace {

constexpr int kFirstUtcTimeYear = 1950;
constexpr int kLastUtcTimeYear = 2049;

// A text under construction in an area that holds the longest one.
class TextWriter {
public:
    template <typename... Values>
    void add(const char* format, Values... values) {
        const int written = std::snprintf(area_ + used_, sizeof area_ - used_, format, values...);
        used_ = std::min(used_ + static_cast<std::size_t>(std::max(written, 0)), sizeof area_ - 1);
    }
    [[nodiscard]] const char* text() const { return area_; }

private:
    char area_[ASN1CTime::kTextSize] = {};
    std::size_t used_ = 0;
};

void addOffset(TextWriter& writer, int hours, int minutes, bool alwaysMinutes) {
    writer.add("%c%.2d", hours < 0 || minutes < 0 ? '-' : '+', std::abs(hours));
    if (minutes != 0 || alwaysMinutes) {
        writer.add("%.2d", std::abs(minutes));
    }
}

}  // namespace

ASN1CGeneralizedTime::ASN1CGeneralizedTime(const char*& text, std::int32_t size, bool forceUTC)
    : ASN1CTime(text, size, forceUTC) {}

ASN1CGeneralizedTime::ASN1CGeneralizedTime(ASN1MessageBufferIF& buffer, const char*& text, std::int32_t size,
                                           bool forceUTC)
    : ASN1CTime(buffer, text, size, forceUTC) {}

ASN1CGeneralizedTime::ASN1CGeneralizedTime(ASN1Context& context, const char*& text, std::int32_t size, bool forceUTC)
    : ASN1CTime(context, text, size, forceUTC) {}

int ASN1CGeneralizedTime::getCentury() const {
    const int year = getYear();
    return year < 0 ? year : year / 100;
}

int ASN1CGeneralizedTime::setCentury(int century) {
    if (century < 0 || century > 99) {
        return fail(STATUS_BAD_DATETIME);
    }
    const int status = ensureParsed();
    return status != 0 ? status : setYear(century * 100 + std::max<int>(mFields.year, 0) % 100);
}

int ASN1CGeneralizedTime::setTime(std::time_t time, bool diff) {
    return changeToLocal(time, diff || mForceUTC);
}

int ASN1CGeneralizedTime::parseString(const char* text) {
    RtTime time;
    if (!scanGeneralizedTime(text, mForceUTC ? TimeReader::kControlZulu : TimeReader::kControl, time)) {
        return fail(STATUS_BAD_DATETIME);
    }
    assign(time);
    return 0;
}

int ASN1CGeneralizedTime::compileString() {
    const int status = prepareText();
    if (status != 0) {
        return status;
    }
    const Fields& f = mFields;
    const bool seconds = mForceUTC || f.second > 0 || f.fraction > 0;
    TextWriter writer;
    writer.add("%.4d%.2d%.2d%.2d", f.year, f.month, f.day, f.hour);
    if (seconds || f.minute > 0) {
        writer.add("%.2d", std::max<int>(f.minute, 0));
    }
    if (seconds) {
        writer.add("%.2d", std::max<int>(f.second, 0));
    }
    if (f.fraction > 0) {
        writer.add(".%d", f.fraction);
    }
    if (isZulu()) {
        writer.add("%c", 'Z');
    } else if (f.diffHour != 0 || f.diffMin != 0) {
        addOffset(writer, f.diffHour, f.diffMin, false);
    }
    store(writer.text());
    return 0;
}

ASN1CUTCTime::ASN1CUTCTime(const char*& text, std::int32_t size, bool forceUTC) : ASN1CTime(text, size, forceUTC) {}

ASN1CUTCTime::ASN1CUTCTime(ASN1MessageBufferIF& buffer, const char*& text, std::int32_t size, bool forceUTC)
    : ASN1CTime(buffer, text, size, forceUTC) {}

ASN1CUTCTime::ASN1CUTCTime(ASN1Context& context, const char*& text, std::int32_t size, bool forceUTC)
    : ASN1CTime(context, text, size, forceUTC) {}

int ASN1CUTCTime::setYear(int year) {
    if (year >= 0 && year < 100) {
        year += year < 50 ? 2000 : 1900;
    }
    if (year < kFirstUtcTimeYear || year > kLastUtcTimeYear) {
        return fail(STATUS_BAD_DATETIME);
    }
    return ASN1CTime::setYear(year);
}

int ASN1CUTCTime::getFraction() const {
    return 0;
}

int ASN1CUTCTime::setFraction(int /*fraction*/) {
    mFields.fraction = 0;
    return STATUS_NOT_SUPPORTED;
}

int ASN1CUTCTime::setUTC(bool utc) {
    return utc || getDiff() != 0 ? ASN1CTime::setUTC(utc) : 0;
}

int ASN1CUTCTime::setTime(std::time_t time, bool /*diff*/) {
    return changeToLocal(time, true);
}

int ASN1CUTCTime::parseString(const char* text) {
    RtTime time;
    if (!scanUtcTime(text, time)) {
        return fail(STATUS_BAD_DATETIME);
    }
    assign(time);
    return 0;
}

int ASN1CUTCTime::compileString() {
    const int status = prepareText();
    if (status != 0) {
        return status;
    }
    const Fields& f = mFields;
    if (f.year < kFirstUtcTimeYear || f.year > kLastUtcTimeYear) {
        return fail(STATUS_BAD_DATETIME);
    }
    TextWriter writer;
    writer.add("%.2d%.2d%.2d%.2d%.2d", f.year % 100, f.month, f.day, f.hour, std::max<int>(f.minute, 0));
    if (mForceUTC || f.second > 0) {
        writer.add("%.2d", std::max<int>(f.second, 0));
    }
    if (isZulu() || (f.diffHour == 0 && f.diffMin == 0)) {
        writer.add("%c", 'Z');
    } else {
        addOffset(writer, f.diffHour, f.diffMin, true);
    }
    store(writer.text());
    return 0;
}
