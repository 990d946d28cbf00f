// The settings that the services read, as constants made from settings_table.inc, and the reads that apply default and
// bounds:
//
//   const long limit = numberOf(setting::max_redirects);
//
// A key cannot be read while the settings file is broken, or when its value has the wrong kind. A bound then keeps its
// default. Directories and files are then empty: a default directory, or the system's own roots, may be just what the
// file is meant to switch off.
#pragma once

#include <climits>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tallow::platform {

// Where the Support service finds a value: "\crypto\max_redirects" for max_redirects of the table [crypto].
class SettingPath {
public:
    constexpr SettingPath(std::string_view table, std::string_view key) {
        append("\\", table);
        append("\\", key);
    }
    constexpr const char* text() const noexcept { return text_; }

private:
    // Writing past the end does not compile: all paths are constants.
    constexpr void append(std::string_view separator, std::string_view names) {
        for (const std::string_view part : {separator, names}) {
            for (const char c : part) {
                text_[size_++] = c == '.' ? '\\' : c;
            }
        }
    }

    char text_[80] = {};
    std::size_t size_ = 0;
};

enum class SettingType { kText, kTexts, kFlag, kNumber, kAnyNumber };

// One row of the table. `byDefault` is empty when absence has a meaning of its own.
template <typename Value>
struct Setting {
    SettingType type;
    SettingPath path;
    std::optional<Value> byDefault;
    long minimum;  // the bounds apply only to a kNumber
    long maximum;
};

namespace setting {

using Text = Setting<std::string_view>;
using Texts = Text;
using Flag = Setting<bool>;
using Number = Setting<long>;
using AnyNumber = Number;

inline constexpr std::nullopt_t absent = std::nullopt;

#define TALLOW_SETTING(table, key, type, byDefault, minimum, maximum, unit, description) \
    inline constexpr type key{SettingType::k##type, {table, #key}, byDefault, minimum, maximum};
#include "platform/support/settings_table.inc"
#undef TALLOW_SETTING

}  // namespace setting

// The value in force. The default when the key is absent, cannot be read, or is out of its bounds; 0 when there is no
// default. Does not allocate.
long numberOf(const setting::Number& number) noexcept;

// `whenUnreadable` is returned for a key that cannot be read.
bool flagOf(const setting::Flag& flag, bool whenUnreadable) noexcept;

// A text, or the texts of an array in order, each with its terminator.
struct TextValue {
    enum class Source { kFile, kDefault, kUnreadable };
    Source source = Source::kUnreadable;
    std::string text;  // empty when it cannot be read, or when it is absent and has no default
};
// Throws std::bad_alloc.
TextValue textValueOf(const setting::Text& text);
std::string textOf(const setting::Text& text);

// Another number whenever settings may read differently: after another file was read, or one turned out to be broken.
unsigned long settingsVersion() noexcept;

}  // namespace tallow::platform
