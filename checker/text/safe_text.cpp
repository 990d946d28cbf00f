#include "checker/text/safe_text.h"

#include <algorithm>
#include <cstdio>

#include "client/policy/address_text.h"
#include "platform/support/support_service.h"

namespace tallow::text {

namespace {

bool isHarmful(wchar_t c) {
    const auto code = static_cast<char32_t>(c);
    return code < 0x20 || (code >= 0x7F && code < 0xA0)  // controls of ASCII and Latin-1
           || code == 0x00AD || code == 0x061C || code == 0x180E ||
           (code >= 0x200B && code <= 0x200F)     // invisible characters, and direction marks
           || (code >= 0x2028 && code <= 0x202E)  // line breaks, and direction overrides
           || (code >= 0x2060 && code <= 0x206F) || code == 0xFEFF || (code >= 0xE0000 && code <= 0xE007F);
}

// Characters that look like blanks or like nothing: two names would look the same. Spaces are none of them, and neither
// are variation selectors, which names in Japanese need.
bool isBlank(wchar_t c) {
    const auto code = static_cast<char32_t>(c);
    return code == 0x034F || (code >= 0x115F && code <= 0x1160) || (code >= 0x17B4 && code <= 0x17B5) ||
           (code >= 0x180B && code <= 0x180F) || code == 0x2800 || code == 0x3164 || code == 0xFFA0 ||
           (code >= 0xFFF9 && code <= 0xFFFB) || (code >= 0x1D173 && code <= 0x1D17A);
}

}  // namespace

std::string withoutLogin(std::string_view url) {
    return utf8(Orvane::PKI::OCSP::Client::withoutCredentials(wide(url)));
}

std::string safeUrl(std::string_view url) {
    return safeLine(withoutLogin(url));
}

std::string utf8(std::wstring_view text) {
    if (text.empty()) {
        return {};
    }
    const int size =
        WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0, nullptr, nullptr);
    std::string result(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), result.data(), size, nullptr, nullptr);
    return result;
}

std::wstring wide(std::string_view text) {
    if (text.empty()) {
        return {};
    }
    const int size = MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
    std::wstring result(static_cast<std::size_t>(size), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), result.data(), size);
    return result;
}

std::string safeLine(std::string_view text) {
    std::wstring line;
    for (const wchar_t c : wide(text)) {
        if (!isHarmful(c) && !isBlank(c)) {
            line += c;
            continue;
        }
        char escape[16];
        std::snprintf(escape, sizeof escape, "\\u{%lX}", static_cast<unsigned long>(c));
        line += wide(escape);
    }
    return utf8(line);
}

}  // namespace tallow::text
