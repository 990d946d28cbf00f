// Conversions between UTF-8 and the wide text of the public functions.
#pragma once

#include <optional>
#include <string>

#include "platform/support/support_service.h"

namespace tallow::platform {

// UTF-8 of a wide text; empty for null. Throws std::invalid_argument for a text that cannot be converted, so that a
// proxy is not silently dropped.
std::string narrow(const wchar_t* text);

// Nothing when the text cannot be converted. `flags` as for MultiByteToWideChar.
std::optional<std::wstring> widen(const std::string& text, DWORD flags = 0);

}  // namespace tallow::platform
