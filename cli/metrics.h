// The result of `check --metrics`: a file in the text format of Prometheus.
#pragma once

#include <array>
#include <set>
#include <string>
#include <string_view>

#include "cli/check_result.h"
#include "cli/output_file.h"

namespace tallow::cli {

/// Collects results and writes them as one file, which is replaced as a whole: its reader never sees half of it, and
/// after a failure the previous one stays.
class Metrics {
public:
    /// Finds out whether the file can be written; nothing for an empty path. Throws InputError.
    explicit Metrics(const std::string& path);

    /// A second result with the name of an earlier one is left out, since names must be unique in the file.
    void add(const CheckResult& result);

    /// Writes the file. Throws InputError.
    void write();

private:
    // A metric and its lines, which must follow each other.
    struct Family {
        const char* name;
        const char* help;
        std::string lines = {};
    };
    void addLine(std::string_view family, const std::string& labels, const std::string& value);

    OutputFile file_;
    std::set<std::string> names_;
    std::array<Family, 8> families_;
};

}  // namespace tallow::cli
