#include "platform/crypto/base/wide_text.h"

#include <stdexcept>

namespace tallow::platform {

std::string narrow(const wchar_t* text) {
    if (text == nullptr || *text == L'\0') {
        return {};
    }
    const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    if (size <= 1) {
        throw std::invalid_argument("not a text");
    }
    std::string result(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, result.data(), size, nullptr, nullptr);
    result.pop_back();
    return result;
}

std::optional<std::wstring> widen(const std::string& text, DWORD flags) {
    const int size = MultiByteToWideChar(CP_UTF8, flags, text.c_str(), -1, nullptr, 0);
    if (size <= 0) {
        return std::nullopt;
    }
    std::wstring result(static_cast<std::size_t>(size), L'\0');
    MultiByteToWideChar(CP_UTF8, flags, text.c_str(), -1, result.data(), size);
    result.pop_back();
    return result;
}

}  // namespace tallow::platform
