#include "cli/safe_text.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

#include "platform/support/support_service.h"

namespace tallow::cli {

namespace {

bool isHarmful(wchar_t c) {
    const auto code = static_cast<char32_t>(c);
    return code < 0x20 || (code >= 0x7F && code < 0xA0)  // controls of ASCII and Latin-1
           || code == 0x00AD || code == 0x061C || code == 0x180E ||
           (code >= 0x200B && code <= 0x200F)     // invisible, and marks of direction
           || (code >= 0x2028 && code <= 0x202E)  // line breaks, and overrides of direction
           || (code >= 0x2060 && code <= 0x206F) || code == 0xFEFF || (code >= 0xE0000 && code <= 0xE007F);
}

// Where the name and password of a URL begin: behind the scheme and the slashes of either kind, where there are any.
std::size_t beginOfLogin(std::string_view url) {
    constexpr std::string_view kSlashes = "/\\";
    const auto isScheme = [](std::string_view text) {
        return !text.empty() && std::all_of(text.begin(), text.end(), [](unsigned char c) {
            return std::isalnum(c) != 0 || c == '+' || c == '-' || c == '.' || c == ' ';
        });
    };
    const auto isHttp = [](std::string_view text) {
        std::string scheme(text);
        std::transform(scheme.begin(), scheme.end(), scheme.begin(), [](unsigned char c) { return std::tolower(c); });
        return scheme.ends_with("http") || scheme.ends_with("https");
    };
    const std::size_t colon = url.find(':');
    const std::string_view scheme = url.substr(0, colon);
    const bool hasSlashes = colon != std::string_view::npos && url.substr(colon + 1).starts_with("//");
    const bool hasScheme = colon != std::string_view::npos && isScheme(scheme) && (hasSlashes || isHttp(scheme));
    return std::min(url.find_first_not_of(kSlashes, hasScheme ? colon + 1 : 0), url.size());
}

}  // namespace

std::string withoutPassword(std::string_view url) {
    const std::size_t begin = beginOfLogin(url);
    // The colons of an IPv6 address stand in brackets.
    const std::size_t bracket = url.substr(begin).starts_with('[') ? url.find(']', begin) : begin;
    const std::size_t colon = url.find(':', bracket);
    const std::size_t at = url.rfind('@');
    if (colon == std::string_view::npos || at == std::string_view::npos || at < colon) {
        return std::string(url);
    }
    return std::string(url.substr(0, colon + 1)) + "***" + std::string(url.substr(at));
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
        if (!isHarmful(c)) {
            line += c;
            continue;
        }
        char escape[16];
        std::snprintf(escape, sizeof escape, "\\u{%lX}", static_cast<unsigned long>(c));
        line += wide(escape);
    }
    return utf8(line);
}

}  // namespace tallow::cli
