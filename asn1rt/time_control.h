// ASN1CTime and its two kinds, ASN1CGeneralizedTime and ASN1CUTCTime: the single fields of a time text.
//
//   char area[32] = "";
//   char const* text = area;
//   ASN1CGeneralizedTime time(text, sizeof area, true);
//   time.setYear(2024); time.setMonth(2); time.setDay(29); time.setHour(12);   // text: "20240229120000Z"
//
// Text and fields follow each other lazily: the first getter reads the text, every setter writes it again once year,
// month, day and hour are known. A field that neither the text nor a setter has given reads kNotSet. An absent or empty
// text is a time of which nothing is set.
//
// Getters are const but may read the text: even const objects belong to one thread at a time. Failures are recorded in
// the context.
#pragma once

#include <cstdint>
#include <ctime>

#include "asn1rt/control_type.h"
#include "asn1rt/time_text.h"
#include "export.h"

/// What both kinds have in common. Times are compared and printed as they are written: leap seconds do not exist here,
/// and years are those of the Gregorian calendar, 0 to 9999.
class TALLOW_EXPORT ASN1CTime : public ASN1CType {
public:
    /// What a getter returns for a field that nothing has set.
    static constexpr int kNotSet = -3;
    /// The longest text with its NUL, in octets. An array of this size or more is written in place (see the
    /// constructors).
    static constexpr std::int32_t kTextSize = 30;

    ASN1CTime(const ASN1CTime&) = delete;
    ASN1CTime& operator=(const ASN1CTime&) = delete;
    ~ASN1CTime() override;

    // The fields in the ranges of the setters below; the offset counts positive east of Greenwich. A getter that must
    // read the text and cannot returns STATUS_BAD_DATETIME and records it in the context; kNotSet is no failure and is
    // not recorded. Both are negative. No field is, except the parts of the offset: for these, check getYear() first.
    [[nodiscard]] virtual int getYear() const;
    [[nodiscard]] virtual int getMonth() const;
    [[nodiscard]] virtual int getDay() const;
    [[nodiscard]] virtual int getHour() const;
    [[nodiscard]] virtual int getMinute() const;
    [[nodiscard]] virtual int getSecond() const;
    /// The digits after the point taken as a number: 5 for ".5" and for ".05", 500 for ".500". At most nine digits are
    /// read. 0 without a fraction. Do not compute with it where the difference matters.
    [[nodiscard]] virtual int getFraction() const;
    [[nodiscard]] virtual int getDiffHour() const;
    [[nodiscard]] virtual int getDiffMinute() const;
    /// The whole offset in minutes, 0 without one; UTC is the time of the fields minus the offset.
    [[nodiscard]] virtual int getDiff() const;
    /// 1 when the text ends in "Z", else 0.
    [[nodiscard]] virtual int getUTC() const;
    /// Seconds since 1970: the fields taken as local time of this process, plus the offset. Meant for texts in local
    /// time; a text with "Z" or an offset comes out right only where local time is UTC and the offset is zero.
    /// STATUS_BAD_DATETIME for a time that is not set or cannot be represented.
    virtual std::time_t getTime() const;

    // Setters return 0, or STATUS_BAD_DATETIME for a value out of range and for a text that cannot be read; nothing is
    // changed then. Set the year before the month and the month before the day, so that each day can be checked.
    /// Whether the text ends in "Z". Set with an offset, the fields are moved to UTC and the offset becomes zero.
    /// Cleared, the text has its offset or no ending. No effect on the text when the value is always shown in Zulu
    /// form.
    [[nodiscard]] virtual int setUTC(bool utc);
    /// 0 to 9999; 1950 to 2049 for UTCTime. 29 February must exist in the new year.
    [[nodiscard]] virtual int setYear(int year);
    /// 1 to 12. The day is not checked, so that a date can be changed field by field.
    [[nodiscard]] virtual int setMonth(int month);
    /// Within the month, as far as month and year are set.
    [[nodiscard]] virtual int setDay(int day);
    /// 0 to 23, and 0 to 59 for the next two. Minutes and seconds that are not set count as 0.
    [[nodiscard]] virtual int setHour(int hour);
    [[nodiscard]] virtual int setMinute(int minute);
    [[nodiscard]] virtual int setSecond(int second);
    /// The digits after the point, 0 (none) to 999,999,999. Leading zeros cannot be given: 5 is half a second, and so
    /// are 50 and 500.
    [[nodiscard]] virtual int setFraction(int fraction);
    /// The fields from seconds since 1970, as local time of this process; with `diff`, or when the value is always
    /// shown in Zulu form, with its offset. There is no fraction then. STATUS_BAD_DATETIME for a year outside 0 to
    /// 9999, or an offset of more than 12 hours that is to be shown.
    [[nodiscard]] virtual int setTime(std::time_t time, bool diff) = 0;
    /// Hours of the offset, -12 to 12; its minutes stay as they are, sign included.
    [[nodiscard]] virtual int setDiffHour(int hours);
    /// Hours -12 to 12, minutes -59 to 59; the minutes take the sign of the hours.
    [[nodiscard]] virtual int setDiff(int hours, int minutes);
    /// -720 to 720 minutes.
    [[nodiscard]] virtual int setDiff(int minutes);

    /// Reads the fields from a NUL-terminated text, which need not be the caller's. Returns 0, or STATUS_BAD_DATETIME
    /// for null or a malformed text, with the fields unchanged. The caller's text stays; compileString writes the new
    /// one.
    [[nodiscard]] virtual int parseString(const char* text) = 0;
    /// Unsets all fields and empties the text. The caller's pointer becomes null unless it points to a writable array.
    virtual void clear();

    // Compare the instants, offsets taken into account, to the millisecond. A time that is not set or cannot be read is
    // unequal to every time, itself included, and neither before nor after any: so `!(a < b)` does not mean `a >= b`. A
    // time without "Z" or offset is compared as if it were UTC.
    [[nodiscard]] virtual bool equals(const ASN1CTime& other) const;
    virtual bool operator==(const ASN1CTime& other) const;
    virtual bool operator!=(const ASN1CTime& other) const;
    virtual bool operator>(const ASN1CTime& other) const;
    virtual bool operator<(const ASN1CTime& other) const;
    virtual bool operator>=(const ASN1CTime& other) const;
    virtual bool operator<=(const ASN1CTime& other) const;

    /// Writes the text from the fields to where the caller's pointer finds it. Setters do so themselves; needed after
    /// parseString only. STATUS_BAD_DATETIME, with the old text in place, when year, month, day or hour is not set, or
    /// the move to UTC leaves the years 0 to 9999.
    [[nodiscard]] virtual int compileString() = 0;

    /// The length of the text in octets without NUL, 0 when there is none.
    [[nodiscard]] int getTimeStringLen() const;
    /// Copies the text with its NUL and returns `destination`; null, with nothing written, when there is no text or it
    /// does not fit `capacity`, which is in octets and counts the NUL.
    char* getTimeString(char* destination, std::uint32_t capacity) const;

protected:
    // `text` is the caller's pointer to the text, often a member of a value record; pointer and text must outlive this
    // object. With `size` of 30 and more, the pointer must point to a writable array of `size` octets, where the text
    // is rewritten in place. Otherwise the pointer is made to point into this object: copy the text before it goes.
    ASN1CTime(const char*& text, std::int32_t size, bool forceUTC);
    ASN1CTime(ASN1MessageBufferIF& buffer, const char*& text, std::int32_t size, bool forceUTC);
    ASN1CTime(ASN1Context& context, const char*& text, std::int32_t size, bool forceUTC);
    /// The parts of a time; kNotSet for one that is absent.
    struct Fields {
        std::int16_t year = kNotSet;
        std::int16_t month = kNotSet;
        std::int16_t day = kNotSet;
        std::int16_t hour = kNotSet;
        std::int16_t minute = kNotSet;
        std::int16_t second = kNotSet;
        std::int16_t diffHour = 0;
        std::int16_t diffMin = 0;
        std::int32_t fraction = 0;
        bool isUTC = false;
    };

    /// Reads the text unless the fields are known. 0 also when there is no text.
    int ensureParsed() const;
    /// Takes over what a reader found.
    void assign(const RtTime& time);
    /// Whether year, month, day and hour are set.
    [[nodiscard]] bool isComplete() const;
    /// Whether the text ends in "Z".
    [[nodiscard]] bool isZulu() const { return mForceUTC || mFields.isUTC; }
    /// STATUS_BAD_DATETIME unless the date exists, as far as it is set.
    [[nodiscard]] int checkDate(int day, int month, int year) const;
    /// Takes over changed fields and writes the text once enough is set; leaves everything as it was on failure.
    int change(const Fields& fields);
    /// Moves the fields to UTC when the text ends in "Z". STATUS_BAD_DATETIME when it cannot be written.
    int prepareText();
    /// The fields of `time` as local time, with the offset of local time when requested.
    int changeToLocal(std::time_t time, bool withOffset);
    /// Stores a finished text where the caller's pointer will find it.
    void store(const char* text);
    /// The place for a text: the caller's array if it is large enough, otherwise the area of this object.
    char* checkCapacity();

    /// The instant in UTC: days since the beginning of the year 0, and milliseconds since midnight.
    [[nodiscard]] std::int64_t getDaysNum() const;
    [[nodiscard]] std::int64_t getMillisNum() const;
    /// Adds to the time of day, in whole seconds, and carries into the date.
    static void addMilliseconds(Fields& fields, std::int64_t milliseconds);
    /// Adds to the date and carries into month and year.
    static void addDays(Fields& fields, std::int64_t days);

    static const std::int16_t daysInMonth[13];     // of a common year, from index 1
    static const std::int16_t daysAfterMonth[13];  // days of a common year before the month, from index 1

    mutable Fields mFields;                     // filled by the first getter, hence changed in const objects too
    mutable bool mParsed = false;               // the fields are known
    bool mForceUTC;                             // always shown in Zulu form
    const char** mpTimeStr;                     // the caller's pointer
    char* mpArray = nullptr;                    // the caller's array when it is large enough for any text
    mutable const char* mpKnownText = nullptr;  // where the text was when it was read or written last

private:
    void attach(std::int32_t size);
    template <typename Value>
    int get(Value Fields::*field) const;
    [[nodiscard]] std::int64_t totalMillis() const;
    bool compare(const ASN1CTime& other, std::int64_t& order) const;
    int setField(std::int16_t Fields::*field, int value, int low, int high);

    char mArea[kTextSize] = {};
};

/// GeneralizedTime, X.680 46. Minutes and seconds are written when they are not zero, or always in Zulu form.
///
/// With `forceUTC` the text always has minutes, seconds and "Z", as DER requires (X.690, clause 11.7), and one with
/// another ending or with "," is rejected. A fraction, which RFC 5280 section 4.1.2.5.2 forbids, is accepted even then.
class TALLOW_EXPORT ASN1CGeneralizedTime : public ASN1CTime {
public:
    /// See the protected constructors of ASN1CTime for `text` and `size`, which is in octets; size 0 rewrites the
    /// pointer instead of the text.
    explicit ASN1CGeneralizedTime(const char*& text, std::int32_t size = 0, bool forceUTC = false);
    ASN1CGeneralizedTime(ASN1MessageBufferIF& buffer, const char*& text, std::int32_t size = 0, bool forceUTC = false);
    ASN1CGeneralizedTime(ASN1Context& context, const char*& text, std::int32_t size = 0, bool forceUTC = false);

    /// The year divided by 100; negative as getYear() is.
    [[nodiscard]] int getCentury() const;
    /// 0 to 99; the last two digits of the year stay, or are 00 when none is set. 29 February must exist in the new
    /// year.
    [[nodiscard]] int setCentury(int century);

    [[nodiscard]] int setTime(std::time_t time, bool diff) override;
    [[nodiscard]] int parseString(const char* text) override;
    [[nodiscard]] int compileString() override;
};

/// UTCTime, X.680 47: two digits of year, which mean 1950 to 2049 (RFC 5280 section 4.1.2.5.1), and no fraction. A text
/// always ends in "Z" or an offset. With `forceUTC` it is written in Zulu form with seconds; texts with an offset are
/// still read.
class TALLOW_EXPORT ASN1CUTCTime : public ASN1CTime {
public:
    /// See the protected constructors of ASN1CTime for `text` and `size`, as for GeneralizedTime.
    explicit ASN1CUTCTime(const char*& text, std::int32_t size = 0, bool forceUTC = false);
    ASN1CUTCTime(ASN1MessageBufferIF& buffer, const char*& text, std::int32_t size = 0, bool forceUTC = false);
    ASN1CUTCTime(ASN1Context& context, const char*& text, std::int32_t size = 0, bool forceUTC = false);

    /// 0 to 99, which is completed to 2000 to 2049 and 1950 to 1999, or one of those years.
    [[nodiscard]] int setYear(int year) override;
    /// Always 0.
    int getFraction() const override;
    /// Returns STATUS_NOT_SUPPORTED; the value has no fraction afterward.
    [[nodiscard]] int setFraction(int fraction) override;
    /// Clearing the flag acts only when there is an offset, since a text needs one of the two endings.
    [[nodiscard]] int setUTC(bool utc) override;

    /// The offset is always taken, for the same reason.
    [[nodiscard]] int setTime(std::time_t time, bool diff) override;
    [[nodiscard]] int parseString(const char* text) override;
    [[nodiscard]] int compileString() override;
};
