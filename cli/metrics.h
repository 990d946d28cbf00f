// The result of `check --metrics`: a file in the text format of Prometheus.
#pragma once

#include <array>
#include <map>
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

    /// Names must be unique in the file: a second result with the name of an earlier one gets " (2)" at its end.
    void add(const CheckResult& result);

    /// The results are not complete: `write` leaves the previous file, whose age shows that.
    void keepPrevious() { isUsed_ = false; }

    /// Writes the file. Throws InputError, also when there were more results than a file may have: the previous one
    /// stays then.
    void write();

private:
    // A metric and its lines, which must follow each other.
    struct Family {
        const char* name;
        const char* help;
        std::string lines = {};
    };
    void addLine(std::string_view family, const std::string& labels, const std::string& value);

    bool isUsed_;
    std::size_t size_ = 0;  // of all lines and names in octets
    const std::string path_;
    OutputFile file_;
    std::map<std::string, std::size_t> names_;  // and how often each was there
    std::array<Family, 8> families_;
};

}  // namespace tallow::cli
