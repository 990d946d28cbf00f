#include "cli/batch/list_reader.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "cli/input_files.h"
#include "handles/status.h"

namespace tallow::cli {

namespace {

// A device such as /dev/zero has lines without an end.
constexpr std::size_t kLongestRest = std::size_t{64} << 20;

std::string trimmed(std::string_view text) {
    constexpr std::string_view kBlank = " \t\r";
    const std::size_t first = std::min(text.find_first_not_of(kBlank), text.size());
    const std::size_t last = text.find_last_not_of(kBlank);
    return std::string(text.substr(first, last == std::string_view::npos ? 0 : last + 1 - first));
}

}  // namespace

ListReader::ListReader(std::string path, std::function<void()> waiting, InputStream::Kind kind)
    : stream_(std::move(path), kind), waiting_(std::move(waiting)) {}

// False at the end.
bool ListReader::fill() {
    constexpr std::size_t kPiece = 65536;
    buffer_.erase(0, at_);
    at_ = 0;
    const std::size_t before = buffer_.size();
    buffer_.resize(before + kPiece);
    const std::size_t count =
        stream_.read(buffer_.data() + before, kPiece, " after line " + std::to_string(number_), waiting_);
    buffer_.resize(before + count);
    return count > 0;
}

bool ListReader::readLine(std::string& line, bool& isTooLong) {
    line.clear();
    isTooLong = false;
    std::size_t sizeLine = 0;
    for (;;) {
        const std::size_t end = buffer_.find('\n', at_);
        const std::size_t size = std::min(end, buffer_.size()) - at_;
        sizeLine += size;
        isTooLong = sizeLine > kLongestLine;
        if (sizeLine > kLongestRest) {
            throw InputError(path(), "is no list: line " + std::to_string(number_ + 1) + " has more than 64 MiB",
                             status::kInvalidData);
        }
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
    const auto size = static_cast<double>(stream_.size());
    return size == 0 ? std::nullopt : std::optional(std::min(1.0, static_cast<double>(numReturned_) / size));
}

}  // namespace tallow::cli
