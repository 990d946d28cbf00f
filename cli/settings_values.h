// Values of settings that have the right type and yet cannot be meant.
#pragma once

#include <string>

#include "cli/settings_table.h"

namespace tallow::cli {

/// What is wrong with a value, continuing the name of its key, and what to do; both empty when nothing is.
struct ValueFault {
    std::string text;
    std::string suggestion;
};

/// Examines the value in force of a setting that is set and has the right type: the range of a number, and the form of
/// addresses, thumbprints, object identifiers and directories. A login in an address is not shown.
ValueFault faultOf(const Setting& setting);

}  // namespace tallow::cli
