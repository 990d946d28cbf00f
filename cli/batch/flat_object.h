// JSON objects whose members are texts and whole numbers: lines of lists and of resume files.
#pragma once

#include <functional>
#include <map>
#include <stdexcept>
#include <string>

namespace tallow::cli {

/// Not such an object; what() says why in one line.
class NotFlat : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct FlatRules {
    bool mayHaveNumbers = false;
    /// Called with each name before its value is read; what it throws passes through.
    std::function<void(const std::string& name)> onName = {};
};

/// The members by name, numbers as decimal text if there may be any. Throws NotFlat for anything else, also for a name
/// that occurs twice.
std::map<std::string, std::string> flatObject(const std::string& text, const FlatRules& rules = {});

/// The text as a JSON string with its quotes; all but ASCII is escaped.
std::string quoted(const std::string& text);

}  // namespace tallow::cli
