#include "platform/support/settings_table.h"

#include <new>

#include "platform/support/support_service.h"

namespace tallow::platform {

long numberOf(const setting::Number& number) noexcept {
    long value = 0;
    const bool isRead = support_registry_get_long(number.path.text(), &value) == 0;
    const bool fits = number.type == SettingType::kAnyNumber || (value >= number.minimum && value <= number.maximum);
    return isRead && fits ? value : number.byDefault.value_or(0);
}

bool flagOf(const setting::Flag& flag, bool whenUnreadable) noexcept {
    int value = 0;
    const int error = support_registry_get_bool(flag.path.text(), &value);
    if (error == static_cast<int>(ERROR_FILE_NOT_FOUND)) {
        return flag.byDefault.value_or(false);
    }
    return error == 0 ? value != 0 : whenUnreadable;
}

TextValue textValueOf(const setting::Text& text) {
    using Source = TextValue::Source;
    const auto read =
        text.type == SettingType::kTexts ? support_registry_get_multi_string : support_registry_get_string;
    constexpr int kMostTries = 100;  // another thread may open files with a longer text between the two reads
    for (int i = 0; i < kMostTries; ++i) {
        std::size_t size = 0;
        if (const int error = read(text.path.text(), &size, nullptr); error != 0) {
            const bool isAbsent = error == static_cast<int>(ERROR_FILE_NOT_FOUND);
            return {isAbsent ? Source::kDefault : Source::kUnreadable,
                    std::string(isAbsent ? text.byDefault.value_or("") : "")};
        }
        std::string value(size, '\0');  // one byte more is there for the last terminator
        const int error = read(text.path.text(), &size, value.data());
        if (error == 0) {
            value.resize(size);  // or with a shorter one
            return {Source::kFile, value};
        }
        if (error == static_cast<int>(ERROR_NOT_ENOUGH_MEMORY)) {
            throw std::bad_alloc();  // stores would pass for unset ones
        }
        if (error != static_cast<int>(ERROR_MORE_DATA)) {
            break;
        }
    }
    return {};
}

std::string textOf(const setting::Text& text) {
    return textValueOf(text).text;
}

}  // namespace tallow::platform
