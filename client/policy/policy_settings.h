// The rows of policy_settings.inc as constants, and how to load them. A key's name and default are written there only.
//
//   CGPLong length;
//   load(length, settings::NonceLength);   // 8 when the key is absent
#pragma once

#include <optional>

#include "client/policy/policy_values.h"

namespace Orvane::PKI::OCSP::Client {

/// One row. `Default` is what an absent key stands for.
template <typename Default>
struct PolicySetting {
    const char* table;
    const wchar_t* name;
    Default byDefault;
    long minimum;
    long maximum;
};

namespace settings {

inline constexpr std::nullopt_t absent = std::nullopt;

using Number = PolicySetting<std::optional<long>>;
using Flag = PolicySetting<bool>;
using Text = PolicySetting<std::optional<const char*>>;
using Texts = PolicySetting<std::nullopt_t>;

// A constant for each key, under its name.
#define TALLOW_POLICY_SETTING(table, key, type, default, minimum, maximum, unit, description) \
    inline constexpr type key{table, L"" #key, default, minimum, maximum};
#include "client/policy/policy_settings.inc"
#undef TALLOW_POLICY_SETTING

}  // namespace settings

/// Load a setting of the table config.cades.ocsppolicy. Numbers and flags take the default of the row when the key is
/// absent, a text keeps its value, a list becomes empty. They throw as Load of the value does.
void load(CGPLong& value, const settings::Number& setting);
void load(CGPBool& value, const settings::Flag& setting);
void load(CGPString& value, const settings::Text& setting);
void load(CGPStrings& value, const settings::Texts& setting);
/// As above, with each element in the form in which thumbprints are looked up.
void loadThumbprints(CGPStrings& value, const settings::Texts& setting);

/// A number of any table, or its default when the key is absent, out of range or not a number.
[[nodiscard]] std::optional<long> readNumber(const settings::Number& setting) noexcept;

}  // namespace Orvane::PKI::OCSP::Client
