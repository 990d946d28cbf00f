#include "cli/report/report.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <system_error>
#include <utility>

#include "cli/report/certificate_rows.h"

namespace tallow::cli {

namespace {

Seconds systemTime() {
    return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
}

void keepEarlier(std::optional<Seconds>& earliest, const std::optional<Seconds>& time) {
    if (time && (!earliest || *time < *earliest)) {
        earliest = time;
    }
}

}  // namespace

Report::Report(const std::string& path) : path_(path), file_(path), begin_(systemTime()) {}

void Report::add(const CheckResult& result) {
    if (!path_.empty()) {
        add(result, systemTime());
    }
}

void Report::add(const CheckResult& result, Seconds now) {
    const Mark mark = markOf(result);
    ++summary_.counts[static_cast<std::size_t>(mark)];
    const Deadlines deadlines = deadlinesOf(result);
    keepEarlier(summary_.nextUpdate, deadlines.nextUpdate);
    keepEarlier(summary_.nextExpiry, deadlines.certificate);
    Kept& kept = kept_[mark == Mark::kGood ? 0 : 1];
    if (kept.numRows >= kMostRows || kept.sizeHtml >= kMostOctets) {
        ++summary_.numNotShown;
        return;
    }
    HtmlWriter html;
    addCertificateRows(html, result, now);
    ++kept.numRows;
    kept.sizeHtml += html.html().size();
    rows_.push_back({result.line, mark, html});  // a copy has no room for more
}

std::string Report::page(const ReportRun& run) {
    summary_.run = run;
    HtmlWriter html;
    constexpr std::size_t kAround = 1U << 16U;  // the page without certificates
    constexpr std::size_t kAroundRows = 128;
    html.reserve(kAround + kept_[0].sizeHtml + kept_[1].sizeHtml + rows_.size() * kAroundRows);
    addPageBegin(html, summary_);
    // Those of a list arrive in the order in which responders answer.
    std::stable_sort(rows_.begin(), rows_.end(), [](const Row& a, const Row& b) { return a.line < b.line; });
    std::uint64_t number = 0;
    for (const Row& row : rows_) {
        html.raw("<tbody class=\"")
            .raw(classOf(row.mark))
            .raw("\" role=\"rowgroup\"><tr role=\"row\"><td role=\"cell\">")
            .number(++number)
            .raw("</td>");
        html.add(row.html).raw("</tbody>\n");
    }
    addPageEnd(html);
    return html.take();
}

void Report::write(int exitStatus, bool isMonitoring, const std::string& mistake) {
    std::error_code error;
    if (path_.empty() || (isWritten_ && !std::filesystem::is_regular_file(path_, error))) {
        return;
    }
    const std::string text = page({begin_, systemTime(), exitStatus, isMonitoring, mistake});
    OutputFile again(isWritten_ ? path_ : std::string());
    OutputFile& file = std::exchange(isWritten_, true) ? again : file_;
    file.write(reinterpret_cast<const unsigned char*>(text.data()), text.size());
}

}  // namespace tallow::cli
