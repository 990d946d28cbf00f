// The table "Resource limits" of docs/security.md.
#pragma once

#include <string>
#include <vector>

#include "proof/limits/driver.h"

namespace proof {

struct LimitRow {
    std::string input, limit;
};

/// Throws when the document has no such table.
std::vector<LimitRow> readLimits(const std::string& path);

/// Rows without a driver, drivers without a row, and numbers that no driver looks at, one sentence each.
std::vector<std::string> disagreements(const std::vector<LimitRow>& rows, const std::vector<Driver>& drivers);

}  // namespace proof
