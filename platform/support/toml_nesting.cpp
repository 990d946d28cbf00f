#include "platform/support/toml_nesting.h"

#include <algorithm>
#include <array>

namespace tallow::platform {

namespace {

constexpr size_t kMaximumNesting = 32;  // the settings nest three tables

// The size of the string that begins at the front of `text`, its quotes included; up to the end when it is not closed.
size_t sizeOfString(std::string_view text) noexcept {
    const char quote = text[0];
    const bool isLong = text.size() >= 3 && text[1] == quote && text[2] == quote;
    const size_t sizeQuotes = isLong ? 3 : 1;
    for (size_t i = sizeQuotes; i < text.size(); ++i) {
        if (text[i] == '\\' && quote == '"') {
            ++i;
        } else if (text[i] == '\n' && !isLong) {
            return i;
        } else if (text[i] == quote && (!isLong || text.substr(i, 3).find_first_not_of(quote) >= 3)) {
            // Up to two quotes may precede the closing three.
            size_t end = i + sizeQuotes;
            while (isLong && end < text.size() && end < i + 5 && text[end] == quote) {
                ++end;
            }
            return end;
        }
    }
    return text.size();
}

// The dots of the current keys, for each open bracket, and their sum.
class Nesting {
public:
    bool open() noexcept { return ++depth_ < dots_.size() && grow(); }
    void close() noexcept {
        nextKey();
        depth_ -= depth_ > 0 ? 1 : 0;
        sum_ -= sum_ > 0 ? 1 : 0;
    }
    bool dot() noexcept {
        ++dots_[depth_];
        return grow();
    }
    void nextKey() noexcept {
        sum_ -= dots_[depth_];
        dots_[depth_] = 0;
    }
    bool isOutside() const noexcept { return depth_ == 0; }

private:
    bool grow() noexcept { return ++sum_ <= kMaximumNesting; }

    std::array<size_t, kMaximumNesting + 1> dots_{};
    size_t depth_ = 0;
    size_t sum_ = 0;
};

}  // namespace

bool nestsTooDeep(std::string_view toml) noexcept {
    Nesting nesting;
    for (size_t i = 0; i < toml.size(); ++i) {
        bool fits = true;
        switch (toml[i]) {
            case '"':
            case '\'':
                i += sizeOfString(toml.substr(i)) - 1;
                break;
            case '#':
                i = std::min(toml.find('\n', i), toml.size()) - 1;
                break;
            case '[':
            case '{':
                fits = nesting.open();
                break;
            case ']':
            case '}':
                nesting.close();
                break;
            case '.':
                fits = nesting.dot();
                break;
            case ',':
                nesting.nextKey();
                break;
            case '\n':
                if (nesting.isOutside()) {
                    nesting.nextKey();
                }
                break;
            default:
                break;
        }
        if (!fits) {
            return true;
        }
    }
    return false;
}

}  // namespace tallow::platform
