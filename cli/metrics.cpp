#include "cli/metrics.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <utility>

#include "checker/text/safe_text.h"
#include "cli/deadlines.h"
#include "cli/input_files.h"

namespace tallow::cli {

namespace {

constexpr std::string_view kStatus = "tallow_certificate_status";
constexpr std::string_view kExpiry = "tallow_certificate_not_after_timestamp_seconds";
constexpr std::string_view kThisUpdate = "tallow_response_this_update_timestamp_seconds";
constexpr std::string_view kNextUpdate = "tallow_response_next_update_timestamp_seconds";
constexpr std::string_view kResponder = "tallow_responder_certificate_not_after_timestamp_seconds";
constexpr std::string_view kDuration = "tallow_response_duration_seconds";
constexpr std::string_view kStaple = "tallow_staple_status";
constexpr std::string_view kLastRun = "tallow_last_run_timestamp_seconds";

std::string secondsText(std::chrono::milliseconds duration) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f", std::chrono::duration<double>(duration).count());
    return text;
}

std::string secondsText(Seconds time) {
    return std::to_string(time.time_since_epoch().count());
}

// Some 200,000 certificates. The lines of a list that does not end are not collected for ever.
constexpr std::size_t kLargest = std::size_t{256} << 20;

// A label with its value, which is one line, in quotes.
std::string labelOf(const char* name, const std::string& value) {
    std::string text = std::string(name) + "=\"";
    for (const char c : value) {
        if (c == '\\' || c == '"') {
            text += '\\';
        }
        text += c;
    }
    return text + '"';
}

}  // namespace

Metrics::Metrics(const std::string& path)
    : isUsed_(!path.empty()),
      path_(path),
      file_(path),
      families_{
          {{kStatus.data(), "1 for what is known of the certificate, 0 for the others; error: no verified answer."},
           {kExpiry.data(), "When the certificate expires."},
           {kThisUpdate.data(), "thisUpdate of the response that was verified."},
           {kNextUpdate.data(), "nextUpdate of the response that was verified."},
           {kResponder.data(), "When the certificate expires that signed the response."},
           {kDuration.data(), "How long the responder took to answer."},
           {kStaple.data(), "1 for the state of the response that the server stapled, 0 for the others."},
           {kLastRun.data(), "When the checks ended."}}} {}

void Metrics::addLine(std::string_view family, const std::string& labels, const std::string& value) {
    const auto found =
        std::find_if(families_.begin(), families_.end(), [family](const Family& each) { return each.name == family; });
    const std::string line = std::string(family) + (labels.empty() ? "" : "{" + labels + "}") + " " + value + "\n";
    found->lines += line;
    size_ += line.size();
}

void Metrics::add(const CheckResult& result) {
    if (!isUsed_ || size_ > kLargest) {
        return;
    }
    // As it is written: different names may become equal.
    const std::string file = text::safeLine(result.file);
    std::string name = file;
    while (const std::size_t before = names_[name]++) {
        name = file + " (" + std::to_string(before + 1) + ")";
    }
    size_ += name.size();
    const std::string label = labelOf("certificate", name);
    for (const CertificateState state :
         {CertificateState::kGood, CertificateState::kRevoked, CertificateState::kUnknown, CertificateState::kError}) {
        addLine(kStatus, label + "," + labelOf("status", nameOf(state)), state == result.state ? "1" : "0");
    }
    const Deadlines deadlines = deadlinesOf(result);
    const auto addTime = [&](std::string_view family, const std::optional<Seconds>& time) {
        if (time) {
            addLine(family, label, secondsText(*time));
        }
    };
    addTime(kExpiry, deadlines.certificate);
    if (const std::optional<Time>& thisUpdate = result.verdict.thisUpdate; thisUpdate && !result.thisUpdate.empty()) {
        addTime(kThisUpdate, std::chrono::floor<std::chrono::seconds>(*thisUpdate));
    }
    addTime(kNextUpdate, deadlines.nextUpdate);
    addTime(kResponder, deadlines.responder);
    if (deadlines.responseTime) {
        addLine(kDuration, label, secondsText(*deadlines.responseTime));
    }
    if (result.staple) {
        for (const char* state :
             {"good", "revoked", "unknown", "missing", "expired", "wrong certificate", "not proven"}) {
            addLine(kStaple, label + "," + labelOf("status", state), result.staple->state == state ? "1" : "0");
        }
    }
}

void Metrics::write() {
    if (!isUsed_) {
        return;
    }
    if (size_ > kLargest) {
        throw InputError(path_, "was not written, since the metrics of so many certificates take more than " +
                                    std::to_string(kLargest >> 20U) + " MiB; divide the list");
    }
    addLine(kLastRun, "", secondsText(std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now())));
    std::string text;
    for (Family& family : families_) {
        if (!family.lines.empty()) {
            const std::string name = family.name;
            text.append("# HELP ").append(name).append(" ").append(family.help);
            text.append("\n# TYPE ").append(name).append(" gauge\n");
            text += std::exchange(family.lines, {});
        }
    }
    file_.write(reinterpret_cast<const unsigned char*>(text.data()), text.size());
}

}  // namespace tallow::cli
