#include "client/policy/policy_settings.h"

#include <array>
#include <cstddef>

#include "client/policy/settings_scope.h"
#include "platform/support/support_service.h"

namespace Orvane::PKI::OCSP::Client {

namespace {

// Load takes its texts as references to pointers that it could change.
template <typename Value, typename... Rest>
void loadOfPolicy(Value& value, const wchar_t* name, Rest... rest) {
    wchar_t sectionText[] = L"ocsppolicy";
    wchar_t* section = sectionText;
    wchar_t* reserved = nullptr;
    value.Load(reserved, section, name, rest...);
}

// The key Name of [config.Basalt] is \config\Basalt\Name in the settings store. No memory is allocated: settings are
// also read where nothing may be thrown.
class Path {
public:
    Path(const char* table, const wchar_t* name) noexcept {
        append('\\');
        for (; *table != '\0'; ++table) {
            append(*table == '.' ? '\\' : *table);
        }
        append('\\');
        for (; *name != L'\0'; ++name) {
            append(static_cast<char>(*name));  // keys are ASCII
        }
    }
    const char* c_str() const noexcept { return text_.data(); }

private:
    void append(char c) noexcept { text_.at(size_++) = c; }

    std::array<char, 100> text_{};
    std::size_t size_ = 0;
};

}  // namespace

void load(CGPLong& value, const settings::Number& setting) {
    loadOfPolicy(value, setting.name, setting.byDefault.value());
}

void load(CGPBool& value, const settings::Flag& setting) {
    loadOfPolicy(value, setting.name, setting.byDefault);
}

void load(CGPString& value, const settings::Text& setting) {
    loadOfPolicy(value, setting.name);
}

void load(CGPStrings& value, const settings::Texts& setting) {
    loadOfPolicy(value, setting.name, setting.name, false);
}

void loadThumbprints(CGPStrings& value, const settings::Texts& setting) {
    loadOfPolicy(value, setting.name, setting.name, true);
}

std::optional<long> readNumber(const settings::Number& setting) noexcept {
    long value = 0;
    const bool isRead =
        !isPolicyIgnored() && support_registry_get_long(Path(setting.table, setting.name).c_str(), &value) == 0;
    return isRead && value >= setting.minimum && value <= setting.maximum ? value : setting.byDefault;
}

}  // namespace Orvane::PKI::OCSP::Client
