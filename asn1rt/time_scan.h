// The one reader of time texts, used by the plain functions and the control classes, and the calendar both rest on.
#pragma once

#include "asn1rt/time_text.h"

// Who reads: each tolerates something else.
enum class TimeReader {
    kRecord,       // at most 20 digits of fraction are read, and what follows is not
    kControl,      // digits of the fraction beyond the 20 are passed over
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
