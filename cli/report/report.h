// The result of `check --report`: one HTML page that needs nothing else.
#pragma once

#include <array>
#include <map>
#include <string>
#include <vector>

#include "cli/check_result.h"
#include "cli/output_file.h"
#include "cli/report/report_page.h"

namespace tallow::cli {

/// Collects results and writes them as one file, which is replaced as a whole. Its memory is bounded: of the good
/// certificates, and of the others, at most kMostRows and kMostOctets of HTML are kept; the rest is only counted, and
/// the page says so.
class Report {
public:
    static constexpr std::size_t kMostRows = 10000;
    static constexpr std::size_t kMostOctets = 64U << 20U;

    /// Finds out whether the file can be written; nothing happens for an empty path. Throws InputError.
    explicit Report(const std::string& path);

    void add(const CheckResult& result);

    /// `mistake` says why the run ended early; empty: it did not. Written again, only a regular file is replaced.
    /// Throws InputError.
    void write(int exitStatus, bool isMonitoring, const std::string& mistake);

    /// The page, for tests: it depends only on the results, these times and the exit status.
    void add(const CheckResult& result, Seconds now);
    [[nodiscard]] std::string page(const ReportRun& run);

private:
    struct Row {
        std::size_t line;  // in the list; 0: there is none
        Mark mark;
        HtmlWriter html;
    };
    struct Kept {
        std::size_t numRows = 0, sizeHtml = 0;
    };

    const std::string path_;
    OutputFile file_;
    bool isWritten_ = false;
    const Seconds begin_;
    ReportSummary summary_;
    std::array<Kept, 2> kept_;  // good, and others
    std::vector<Row> rows_;
};

}  // namespace tallow::cli
