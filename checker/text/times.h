// Times: between the clock of the standard library and that of the library, and as text.
#pragma once

#include <chrono>
#include <string>

#include "export.h"
#include "foundation/date_time.h"

namespace tallow::text {

using Time = std::chrono::system_clock::time_point;

Orvane::CDateTime dateOf(Time time);  ///< the same moment in UTC
/// A date that Time cannot express becomes its first or last one.
Time timeOf(const Orvane::CDateTime& date);

/// "2026-01-02T03:04:05Z"; null gives an empty text.
TALLOW_EXPORT std::string iso8601(const Orvane::CDateTime* time);
TALLOW_EXPORT std::string iso8601(Time time);

/// The time between two dates in its two largest units: "3 days 4 h", "2 min 10 s", "less than a second".
std::string between(const Orvane::CDateTime& one, const Orvane::CDateTime& other);

}  // namespace tallow::text
