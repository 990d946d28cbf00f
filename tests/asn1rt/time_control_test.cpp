#include "asn1rt/time_control.h"

#include <gmock/gmock.h>

#include <climits>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "asn1rt/status.h"
#include "tests/support/vectors.h"

namespace {

// A control over a text of its own, in an array large enough for any text.
template <typename Control>
struct Holder {
    explicit Holder(const std::string& start = "", bool force = false) : control(text, sizeof area, force) {
        start.copy(area, sizeof area - 1);
    }
    char area[40] = {};
    const char* text = area;
    Control control;
};
using Generalized = Holder<ASN1CGeneralizedTime>;
using Utc = Holder<ASN1CUTCTime>;

// Local time of the process for the length of a test.
class Zone {
public:
    explicit Zone(const char* zone) {
        setenv("TZ", zone, 1);
        tzset();
    }
    ~Zone() {
        unsetenv("TZ");
        tzset();
    }
};

TEST(TimeControl, FieldsAreReadFromTheTextOnDemand) {
    Generalized t("20240229120105.0250-0330");
    EXPECT_EQ((std::vector<int>{t.control.getYear(), t.control.getMonth(), t.control.getDay(), t.control.getHour(),
                                t.control.getMinute(), t.control.getSecond(), t.control.getFraction(),
                                t.control.getDiff(), t.control.getUTC(), t.control.getCentury()}),
              (std::vector<int>{2024, 2, 29, 12, 1, 5, 250, -210, 0, 20}));
    EXPECT_EQ(t.control.getDiffHour(), -3);
    EXPECT_EQ(t.control.getDiffMinute(), -30);
    EXPECT_EQ(Generalized("20240229120105.123456789123456789123456789Z").control.getFraction(), 123456789);
    EXPECT_EQ(Utc("491231235959Z").control.getYear(), 2049);
}

TEST(TimeControl, GettersAndSettersReportABadText) {
    const std::pair<const char*, bool> rows[] = {{"20230229120000Z", false}, {"x", false},
                                                 {"20240101", false},        {"20240229120000,5Z", true},
                                                 {"20240229120000", true},   {"20240229120000+0100", true}};
    for (const auto& [text, isZuluForced] : rows) {
        Generalized t(text, isZuluForced);
        EXPECT_EQ(t.control.getYear(), STATUS_BAD_DATETIME) << text;
        EXPECT_EQ(t.control.getTime(), STATUS_BAD_DATETIME);
        EXPECT_EQ(t.control.setYear(2024), STATUS_BAD_DATETIME);
        EXPECT_EQ(t.control.getCtxtPtr()->errInfo.status, STATUS_BAD_DATETIME);
        EXPECT_STREQ(t.text, text);
        EXPECT_FALSE(t.control == t.control);
    }
    EXPECT_EQ(Generalized("20240229120000.5Z", true).control.getYear(), 2024);
}

TEST(TimeControl, NothingIsSetWithoutText) {
    const char* none = nullptr;
    ASN1CGeneralizedTime t(none);
    EXPECT_EQ(t.getYear(), ASN1CTime::kNotSet);
    EXPECT_EQ(t.getTimeStringLen(), 0);
    EXPECT_EQ(t.compileString(), STATUS_BAD_DATETIME);
    EXPECT_EQ(t.getTime(), STATUS_BAD_DATETIME);
    EXPECT_FALSE(t <= t);
    EXPECT_TRUE(t != t);
    char area[40];
    EXPECT_EQ(t.getTimeString(area, sizeof area), nullptr);
}

TEST(TimeControl, TheTextAppearsWithTheLastFieldItNeeds) {
    Generalized zulu("", true);
    EXPECT_EQ(zulu.control.setUTC(true), 0);
    EXPECT_EQ(zulu.control.setYear(2024), 0);
    EXPECT_EQ(zulu.control.setMonth(2), 0);
    EXPECT_EQ(zulu.control.setDay(29), 0);
    EXPECT_STREQ(zulu.text, "");
    EXPECT_EQ(zulu.control.setHour(0), 0);
    EXPECT_STREQ(zulu.text, "20240229000000Z");
    EXPECT_EQ(zulu.text, zulu.area);

    const char* loose = nullptr;
    ASN1CUTCTime utc(loose);
    EXPECT_EQ(utc.setYear(49), 0);
    EXPECT_EQ(utc.setMonth(12), 0);
    EXPECT_EQ(utc.setDay(31), 0);
    EXPECT_EQ(utc.setHour(23), 0);
    EXPECT_STREQ(loose, "4912312300Z");
    EXPECT_EQ(utc.setSecond(7), 0);
    EXPECT_STREQ(loose, "491231230007Z");
    char copy[14];
    EXPECT_EQ(utc.getTimeString(copy, 13), nullptr);
    EXPECT_EQ(utc.getTimeString(copy, 14), copy);
    EXPECT_STREQ(copy, "491231230007Z");
}

TEST(TimeControl, WritesAndComparesAsListed) {
    const auto write = [](const std::string& row) {
        std::istringstream in(row);
        std::string before;
        int fraction = 0;
        int hours = 0;
        int minutes = 0;
        in >> before >> fraction >> hours >> minutes;
        Generalized t(before);
        EXPECT_EQ(t.control.setFraction(fraction), 0);
        EXPECT_EQ(t.control.setDiff(hours, minutes), 0);
        return std::string(t.text);
    };
    const auto compare = [](const std::string& row) {
        const Generalized a(row.substr(0, row.find(' ')));
        const Generalized b(row.substr(row.find(' ') + 1));
        const bool isEqual = a.control == b.control;
        const bool isLess = a.control < b.control;
        EXPECT_EQ(a.control != b.control, !isEqual);
        EXPECT_EQ(a.control <= b.control, isEqual || isLess);
        EXPECT_EQ(a.control >= b.control, !isLess);
        EXPECT_EQ(b.control > a.control, isLess);
        return std::string(isEqual ? "equal" : isLess ? "less" : "greater");
    };
    testkit::expectVectors("asn1rt/time_control.txt", {{"write", write}, {"compare", compare}});
    EXPECT_TRUE(Utc("240229120000Z").control == Generalized("20240229120000Z").control);
}

TEST(TimeControl, AUtcTimeKeepsItsInstantWhenItsZoneChanges) {
    Utc utc("240229120000-0130");
    EXPECT_EQ(utc.control.setUTC(false), 0);
    EXPECT_STREQ(utc.text, "2402291200-0130");
    EXPECT_EQ(utc.control.setUTC(true), 0);
    EXPECT_STREQ(utc.text, "2402291330Z");
    EXPECT_EQ(utc.control.setUTC(false), 0);
    EXPECT_EQ(utc.control.getUTC(), 1);
}

TEST(TimeControl, ValuesOutOfRangeChangeNothing) {
    Generalized t("20240229120000Z");
    ASN1CGeneralizedTime& control = t.control;
    EXPECT_THAT((std::vector<int>{control.setYear(2023), control.setYear(-1), control.setYear(10000),
                                  control.setMonth(13), control.setMonth(0), control.setDay(30), control.setDay(0),
                                  control.setHour(24), control.setMinute(60), control.setSecond(-1),
                                  control.setFraction(1000000000), control.setDiffHour(13), control.setDiff(1, 60),
                                  control.setDiff(INT_MIN, 0),  // has no absolute value
                                  control.setDiff(721), control.setCentury(100)}),
                testing::Each(STATUS_BAD_DATETIME));
    EXPECT_STREQ(t.text, "20240229120000Z");
    Generalized edge("99991231230000Z");
    EXPECT_EQ(edge.control.setDiff(-2, 0), STATUS_BAD_DATETIME);
    EXPECT_EQ(edge.control.getDiff(), 0);
    EXPECT_STREQ(edge.text, "99991231230000Z");
    Generalized leap("20000229120000Z");
    EXPECT_EQ(leap.control.setCentury(19), STATUS_BAD_DATETIME);  // 1900 was no leap year
    EXPECT_EQ(leap.control.setCentury(16), 0);
    EXPECT_STREQ(leap.text, "1600022912Z");
    Utc utc("240229120000Z");
    EXPECT_EQ(utc.control.setFraction(5), STATUS_NOT_SUPPORTED);
    for (const int year : {2050, 1949, 23}) {
        EXPECT_EQ(utc.control.setYear(year), STATUS_BAD_DATETIME) << year;
    }
    EXPECT_EQ(utc.control.setYear(52), 0);
    EXPECT_EQ(utc.control.getYear(), 1952);
}

TEST(TimeControl, SecondsAreLocalTime) {
    const Zone zone("XXX-3");  // three hours east of Greenwich
    Generalized t;
    EXPECT_EQ(t.control.setTime(1709208000, false), 0);  // 2024-02-29 12:00:00 UTC
    EXPECT_STREQ(t.text, "2024022915");
    EXPECT_EQ(t.control.getTime(), 1709208000);
    EXPECT_EQ(t.control.setTime(1709208000, true), 0);
    EXPECT_STREQ(t.text, "2024022915+03");
    EXPECT_EQ(t.control.getTime(), 1709208000 + 3 * 3600);  // the offset is added on top of local time
    Generalized zulu("", true);
    EXPECT_EQ(zulu.control.setTime(1709208000, false), 0);
    EXPECT_STREQ(zulu.text, "20240229120000Z");
    Utc utc;
    EXPECT_EQ(utc.control.setTime(1709208000, false), 0);
    EXPECT_STREQ(utc.text, "2402291500+0300");
    EXPECT_EQ(utc.control.setTime(4102444800, false), STATUS_BAD_DATETIME);  // 2100
    EXPECT_STREQ(utc.text, "2402291500+0300");
}

TEST(TimeControl, RereadsATextReplacedByADecoder) {
    Generalized t("20240229120000Z");
    EXPECT_EQ(t.control.getHour(), 12);
    t.text = "20250101010000Z";
    EXPECT_EQ(t.control.getHour(), 1);
    EXPECT_EQ(t.control.setMinute(5), 0);
    EXPECT_STREQ(t.text, "202501010105Z");
    EXPECT_EQ(t.text, t.area);
    t.text = "20250101010203Z";
    EXPECT_EQ(t.control.compileString(), 0);  // of the text that is there now
    EXPECT_STREQ(t.area, "20250101010203Z");
    t.text = nullptr;
    EXPECT_EQ(t.control.getHour(), ASN1CTime::kNotSet);
    EXPECT_EQ(t.control.setMinute(5), 0);
    EXPECT_EQ(t.control.getMinute(), 5);
    EXPECT_EQ(t.control.compileString(), STATUS_BAD_DATETIME);
    t.control.clear();
    EXPECT_STREQ(t.area, "");
    EXPECT_EQ(t.control.getMinute(), ASN1CTime::kNotSet);
}

}  // namespace
