#include "cli/batch/resume_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "checker/text/safe_text.h"
#include "checker/text/times.h"
#include "cli/batch/flat_object.h"
#include "cli/input_files.h"

namespace tallow::cli {

namespace {

constexpr const char* kSchema = "tallow.resume/1";
constexpr std::chrono::minutes kTolerance(5);  // of a clock that is set back
constexpr std::string_view kRemedy = "; name another file, or remove this one to begin anew";

std::optional<CertificateState> stateNamed(const std::string& name) {
    for (const CertificateState state :
         {CertificateState::kGood, CertificateState::kRevoked, CertificateState::kUnknown}) {
        if (name == nameOf(state)) {
            return state;
        }
    }
    return std::nullopt;
}

std::size_t numberIn(const std::string& text) {
    std::size_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

// Times of this form are in order as texts.
std::string now() {
    return text::iso8601(std::chrono::system_clock::now());
}

// Collects small pieces for a descriptor.
class Writer {
public:
    explicit Writer(int descriptor) : descriptor_(descriptor) {}

    // False, with errno, when writing fails.
    [[nodiscard]] bool add(const std::string& piece) {
        constexpr std::size_t kMost = 65536;
        buffer_ += piece;
        return buffer_.size() < kMost || flush();
    }
    [[nodiscard]] bool flush() {
        std::string_view rest = buffer_;
        while (!rest.empty()) {
            const ssize_t count = ::write(descriptor_, rest.data(), rest.size());
            if (count < 0 && errno != EINTR) {
                return false;
            }
            rest.remove_prefix(count < 0 ? 0 : static_cast<std::size_t>(count));
        }
        buffer_.clear();
        return true;
    }

private:
    const int descriptor_;
    std::string buffer_;
};

}  // namespace

ResumeFile::ResumeFile(std::string path, std::string options) : path_(std::move(path)), options_(std::move(options)) {
    struct stat info {};
    if (::lstat(path_.c_str(), &info) == 0) {
        open(earlier_);
        ahead_ = next(*earlier_);
    } else if (errno != ENOENT) {
        fail(std::string("cannot be read: ") + std::strerror(errno) + "; check the path");
    }
    save();  // so that a directory that cannot be written is reported now
}

void ResumeFile::fail(const std::string& reason) const {
    throw InputError(path_, reason);
}

// Its verdicts count without their proof. Found out of the open file each time, since it may be replaced during the
// run.
void ResumeFile::requireOwn(const struct stat& info) const {
    if (info.st_uid != ::geteuid() || (info.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        fail("belongs to another user, or others may write it" + std::string(kRemedy));
    }
}

void ResumeFile::open(std::optional<ListReader>& file) const {
    file.emplace(path_, std::function<void()>(), InputStream::Kind::kRegularFileNoLink);
    requireOwn(file->status());
    const std::optional<ListLine> line = file->next();
    std::map<std::string, std::string> header;
    try {
        header = flatObject(line ? line->text : std::string());
    } catch (const NotFlat&) {
        header.clear();
    }
    if (header["schema"] != kSchema || header["time"].empty()) {
        fail("is not a file of --resume" + std::string(kRemedy));
    }
    if (header["options"] != options_) {
        fail("records a run with another list, or with other options, settings or stores" + std::string(kRemedy));
    }
    // A verdict would count for too long, and its response would not be accepted.
    if (header["time"] > text::iso8601(std::chrono::system_clock::now() + kTolerance)) {
        fail("was written at " + text::safeLine(header["time"]) + ", and the clock is behind that; set the clock" +
             std::string(kRemedy));
    }
}

std::optional<ResumeFile::Entry> ResumeFile::next(ListReader& file) {
    while (const std::optional<ListLine> line = file.next()) {
        try {
            std::map<std::string, std::string> members = flatObject(line->text, {.mayHaveNumbers = true});
            const std::optional<CertificateState> state = stateNamed(members["status"]);
            const Place place{numberIn(members["line"]), numberIn(members["number"])};
            if (state && place.first != 0) {
                return Entry{place, members["thumbprint"], members["end"], *state};
            }
        } catch (const NotFlat&) {
            // An entry that cannot be read does not count: the certificate is checked again.
        }
    }
    return std::nullopt;
}

std::optional<CertificateState> ResumeFile::recorded(const BatchItem& item) {
    const Place place{item.line, item.number};
    while (ahead_ && ahead_->place < place) {
        ahead_ = next(*earlier_);
    }
    const bool isSame = ahead_ && ahead_->place == place && !item.thumbprint.empty() &&
                        ahead_->thumbprint == item.thumbprint && ahead_->end > now();
    return isSame ? std::optional(ahead_->state) : std::nullopt;
}

void ResumeFile::record(const BatchItem& item, CertificateState state, const std::string& end) {
    if (state == CertificateState::kError || end.empty() || item.thumbprint.empty()) {
        return;
    }
    const std::scoped_lock lock(mutex_);
    const Place place{item.line, item.number};
    kept_.insert_or_assign(place, Entry{place, item.thumbprint, end, state});
}

bool ResumeFile::isDue() {
    constexpr std::size_t kMany = 20000;
    const std::scoped_lock lock(mutex_);
    return kept_.size() >= kMany || std::chrono::steady_clock::now() >= due_;
}

void ResumeFile::write(TemporaryFile& file, const Entries& kept) const {
    Writer out(file.descriptor());
    const auto require = [this](bool isWritten) {
        if (!isWritten) {
            fail(std::string("cannot be written: ") + std::strerror(errno) + "; what it records is as before");
        }
    };
    const std::string time = now();
    require(out.add("{\"schema\":\"" + std::string(kSchema) + "\",\"time\":\"" + time +
                    "\",\"options\":" + quoted(options_) + "}\n"));
    const auto add = [&](const Entry& entry) {
        if (entry.end > time) {
            require(out.add("{\"line\":" + std::to_string(entry.place.first) + ",\"number\":" +
                            std::to_string(entry.place.second) + ",\"thumbprint\":" + quoted(entry.thumbprint) +
                            ",\"status\":\"" + nameOf(entry.state) + "\",\"end\":" + quoted(entry.end) + "}\n"));
        }
    };
    std::optional<ListReader> before;
    std::optional<Entry> old;
    std::error_code error;
    if (std::filesystem::exists(path_, error)) {
        open(before);
        old = next(*before);
    }
    auto fresh = kept.begin();
    while (old || fresh != kept.end()) {
        if (fresh == kept.end() || (old && old->place < fresh->first)) {
            add(*old);
        } else {
            add(fresh->second);
            if (!old || fresh->first < old->place) {
                ++fresh;
                continue;
            }
            ++fresh;
        }
        old = next(*before);
    }
    require(out.flush() && ::fsync(file.descriptor()) == 0);
}

void ResumeFile::save() {
    constexpr int kShare = 20;  // at most one part in so many of the time is spent here
    constexpr std::chrono::seconds kPause{2};
    const auto start = std::chrono::steady_clock::now();
    Entries kept;
    {
        const std::scoped_lock lock(mutex_);
        kept.swap(kept_);
    }
    const std::string directory = std::filesystem::path(path_).parent_path().string();
    try {
        TemporaryFile file(directory.empty() ? "." : directory);
        write(file, kept);
        if (!file.replace(path_)) {
            fail(std::string("cannot be written: ") + std::strerror(errno) + "; check its directory");
        }
    } catch (const std::system_error& error) {
        fail("cannot be written: " + error.code().message() + "; check its directory");
    }
    const auto end = std::chrono::steady_clock::now();
    due_ = end + std::max<std::chrono::steady_clock::duration>(kPause, (end - start) * kShare);
}

void ResumeFile::remove() const {
    ::unlink(path_.c_str());
}

}  // namespace tallow::cli
