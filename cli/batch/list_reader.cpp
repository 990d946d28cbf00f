#include "cli/batch/list_reader.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>

#include "cli/input_files.h"
#include "handles/status.h"

namespace tallow::cli {

namespace {

constexpr int kPauseMs = 200;

std::string trimmed(std::string_view text) {
    constexpr std::string_view kBlank = " \t\r";
    const std::size_t first = std::min(text.find_first_not_of(kBlank), text.size());
    const std::size_t last = text.find_last_not_of(kBlank);
    return std::string(text.substr(first, last == std::string_view::npos ? 0 : last + 1 - first));
}

}  // namespace

ListReader::ListReader(std::string path, std::function<void()> waiting)
    : path_(std::move(path)), waiting_(std::move(waiting)) {
    isOwned_ = path_ != "-";
    file_ = isOwned_ ? ::open(path_.c_str(), O_RDONLY | O_CLOEXEC) : STDIN_FILENO;
    if (file_ < 0) {
        throw InputError(path_, std::string("cannot be opened: ") + std::strerror(errno) + "; name a list that exists",
                         status::kFileNotFound);
    }
    struct stat info {};
    if (::fstat(file_, &info) == 0 && S_ISREG(info.st_mode)) {
        size_ = static_cast<std::uint64_t>(info.st_size);
    }
}

ListReader::~ListReader() {
    if (isOwned_) {
        ::close(file_);
    }
}

// False at the end.
bool ListReader::fill() {
    constexpr std::size_t kPiece = 65536;
    buffer_.erase(0, at_);
    at_ = 0;
    pollfd readable{file_, POLLIN, 0};
    while (::poll(&readable, 1, kPauseMs) == 0) {
        waiting_();
    }
    const std::size_t before = buffer_.size();
    buffer_.resize(before + kPiece);
    ssize_t count = 0;
    do {
        count = ::read(file_, buffer_.data() + before, kPiece);
    } while (count < 0 && errno == EINTR);
    buffer_.resize(before + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    if (count < 0) {
        throw InputError(path_,
                         "cannot be read after line " + std::to_string(number_) + ": " + std::strerror(errno) +
                             "; check the list, and check the rest of it again",
                         status::kFileCorrupt);
    }
    return count > 0;
}

bool ListReader::readLine(std::string& line, bool& isTooLong) {
    line.clear();
    isTooLong = false;
    for (;;) {
        const std::size_t end = buffer_.find('\n', at_);
        const std::size_t size = std::min(end, buffer_.size()) - at_;
        isTooLong = isTooLong || line.size() + size > kLongestLine;
        if (!isTooLong) {
            line.append(buffer_, at_, size);
        }
        at_ += size;
        numReturned_ += size;
        if (end != std::string::npos) {
            ++at_;
            ++numReturned_;
            return true;
        }
        if (!fill()) {
            return !line.empty() || isTooLong;
        }
    }
}

std::optional<ListLine> ListReader::next() {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    std::string text;
    bool isTooLong = false;
    while (readLine(text, isTooLong)) {
        ++number_;
        if (number_ == 1 && text.starts_with(kByteOrderMark)) {
            text.erase(0, kByteOrderMark.size());
        }
        ListLine line{number_, trimmed(text), ""};
        if (isTooLong) {
            line.text.clear();
            line.fault = "is longer than " + std::to_string(kLongestLine) + " octets; name a file instead";
        } else if (text.find('\0') != std::string::npos) {
            line.text.clear();
            line.fault = "contains the octet 0, as binary files and UTF-16 do; write the list in UTF-8";
        } else if (line.text.empty() || line.text.front() == '#') {
            continue;
        }
        return line;
    }
    return std::nullopt;
}

std::optional<double> ListReader::part() const {
    return size_ == 0 ? std::nullopt
                      : std::optional(std::min(1.0, static_cast<double>(numReturned_) / static_cast<double>(size_)));
}

}  // namespace tallow::cli
