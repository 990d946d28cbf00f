// The one reader of time texts, used by the plain functions and the control classes, and the calendar that both use.
#pragma once

#include "asn1rt/time_text.h"

// The callers, which differ in what they tolerate.
enum class TimeReader {
    kRecord,  // at most 20 digits of fraction are read, and what follows is not
    // Digits of the fraction beyond the 20 are skipped.
    kControl,
    kControlZulu,  // the same; "," and any ending but "Z" are refused
};

// Both leave `time` unchanged when they return false.
bool scanGeneralizedTime(const char* text, TimeReader reader, RtTime& time);
bool scanUtcTime(const char* text, RtTime& time);

bool isLeapYear(int year);
// `month` 1 to 12.
int numDaysOfMonth(int year, int month);
// Whether the date exists; `year` at least 0.
bool isDate(int year, int month, int day);
