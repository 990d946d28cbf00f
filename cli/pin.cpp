#include "cli/pin.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "cli/input_files.h"
#include "cli/input_stream.h"
#include "platform/support/support_service.h"

namespace tallow::cli {

namespace {

constexpr std::size_t kLongestLine = 1024;

// A buffer for the line, wiped on every way out. Nothing else keeps a copy.
class Line {
public:
    Line() = default;
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;
    ~Line() { explicit_bzero(room_, sizeof room_); }

    // The first line without its end. Throws InputError.
    std::string_view read(const std::string& path, const char* what);

private:
    void fill(InputStream& stream);

    char room_[kLongestLine + 1] = {};
    std::size_t size_ = 0;
};

void Line::fill(InputStream& stream) {
    while (size_ < sizeof room_ && std::find(room_, room_ + size_, '\n') == room_ + size_) {
        const std::size_t count = stream.read(room_ + size_, sizeof room_ - size_);
        if (count == 0) {
            return;
        }
        size_ += count;
    }
}

std::string_view Line::read(const std::string& path, const char* what) {
    InputStream stream(path);
    fill(stream);
    std::string_view line(room_, size_);
    line = line.substr(0, line.find('\n'));
    if (line.ends_with('\r')) {
        line.remove_suffix(1);
    }
    if (line.empty() || line.size() > kLongestLine) {
        throw InputError(path, std::string("its first line is no ") + what + ": it is empty or too long",
                         status::kInvalidData);
    }
    return line;
}

}  // namespace

Pin::Pin(const std::string& path, const char* what) {
    Line line;
    const std::string_view pin = line.read(path, what);
    const auto size = static_cast<int>(pin.size());
    text_.resize(pin.size() + 1);  // never grows, so that no copy is left in freed memory
    if (MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, pin.data(), size, text_.data(), size) == 0) {
        throw InputError(path, std::string("its first line is no ") + what + ": it is not UTF-8", status::kInvalidData);
    }
}

Pin::~Pin() {
    if (!text_.empty()) {
        explicit_bzero(text_.data(), text_.size() * sizeof(wchar_t));
    }
}

}  // namespace tallow::cli
