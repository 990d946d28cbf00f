#include <gtest/gtest.h>

#include <cstdint>
#include <ctime>
#include <string>

#include "platform/support/support_service.h"

namespace {

FILETIME fileTime(uint64_t ticks) {
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

uint64_t ticks(const FILETIME& time) {
    return static_cast<uint64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}

std::string text(const SYSTEMTIME& time) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%u-%02u-%02u (%u) %02u:%02u:%02u.%03u", time.wYear, time.wMonth, time.wDay,
                  time.wDayOfWeek, time.wHour, time.wMinute, time.wSecond, time.wMilliseconds);
    return buffer;
}

TEST(Time, ConvertsInBothDirections) {
    const std::pair<uint64_t, const char*> rows[] = {{0, "1601-01-01 (1) 00:00:00.000"},
                                                     {116444736000000000, "1970-01-01 (4) 00:00:00.000"},
                                                     {125963423999990000, "2000-02-29 (2) 23:59:59.999"},
                                                     {133536384000000000, "2024-02-29 (4) 00:00:00.000"},
                                                     {0x7FFFFFFFFFFFFFFF, "30828-09-14 (4) 02:48:05.477"}};
    for (const auto& [count, expected] : rows) {
        SYSTEMTIME calendar{};
        const FILETIME time = fileTime(count);
        ASSERT_TRUE(FileTimeToSystemTime(&time, &calendar)) << expected;
        EXPECT_EQ(text(calendar), expected);
        FILETIME back{};
        calendar.wDayOfWeek = 99;  // not read
        if (SystemTimeToFileTime(&calendar, &back)) {
            EXPECT_EQ(ticks(back), count) << expected;
        } else {
            EXPECT_EQ(calendar.wYear, 30828) << "after the last year that can be converted back";
        }
    }
}

TEST(Time, RejectsInvalidTimes) {
    const FILETIME beyond = fileTime(0x8000000000000000);
    SYSTEMTIME calendar{};
    EXPECT_FALSE(FileTimeToSystemTime(&beyond, &calendar));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    for (const SYSTEMTIME& row : {SYSTEMTIME{1600, 1, 0, 1, 0, 0, 0, 0}, SYSTEMTIME{30828, 1, 0, 1, 0, 0, 0, 0},
                                  SYSTEMTIME{2023, 2, 0, 29, 0, 0, 0, 0}, SYSTEMTIME{2023, 0, 0, 1, 0, 0, 0, 0},
                                  SYSTEMTIME{2023, 13, 0, 1, 0, 0, 0, 0}, SYSTEMTIME{2023, 257, 0, 1, 0, 0, 0, 0},
                                  SYSTEMTIME{2023, 1, 0, 0, 0, 0, 0, 0}, SYSTEMTIME{2023, 1, 0, 257, 0, 0, 0, 0},
                                  SYSTEMTIME{2023, 1, 0, 1, 24, 0, 0, 0}, SYSTEMTIME{2023, 1, 0, 1, 0, 60, 0, 0},
                                  SYSTEMTIME{2023, 1, 0, 1, 0, 0, 60, 0}, SYSTEMTIME{2023, 1, 0, 1, 0, 0, 0, 1000}}) {
        SetLastError(0);
        FILETIME time{7, 7};
        EXPECT_FALSE(SystemTimeToFileTime(&row, &time)) << text(row);
        EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER) << text(row);
        EXPECT_EQ(time.dwLowDateTime, 7U) << text(row);
    }
}

}  // namespace
