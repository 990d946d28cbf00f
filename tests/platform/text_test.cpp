#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <string>
#include <vector>

#include "platform/support/support_service.h"

namespace {

std::wstring widen(const std::string& text, DWORD flags = 0) {
    const int size = MultiByteToWideChar(CP_UTF8, flags, text.data(), static_cast<int>(text.size()), nullptr, 0);
    std::wstring wide(static_cast<size_t>(size), L'#');
    if (size != 0) {
        EXPECT_EQ(MultiByteToWideChar(CP_ACP, flags, text.data(), static_cast<int>(text.size()), wide.data(), size),
                  size);
    }
    return wide;
}

std::string narrow(const std::wstring& text, DWORD flags = 0) {
    const int size =
        WideCharToMultiByte(CP_UTF8, flags, text.data(), static_cast<int>(text.size()), nullptr, 0, nullptr, nullptr);
    std::string narrowed(static_cast<size_t>(size), '#');
    if (size != 0) {
        EXPECT_EQ(WideCharToMultiByte(CP_ACP, flags, text.data(), static_cast<int>(text.size()), narrowed.data(), size,
                                      nullptr, nullptr),
                  size);
    }
    return narrowed;
}

TEST(Text, ConvertsEveryLengthInBothDirections) {
    const std::pair<std::string, std::wstring> rows[] = {
        {"a", L"a"},
        {"\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80", L"\x7F\x80\x7FF\x800"},
        {"\xED\x9F\xBF\xEE\x80\x80", L"\xD7FF\xE000"},
        {"\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", L"\xFFFF\x10000\x10FFFF"},
        {std::string("a\0b", 3), std::wstring(L"a\0b", 3)}};
    for (const auto& [narrowed, widened] : rows) {
        EXPECT_EQ(widen(narrowed, MB_ERR_INVALID_CHARS), widened);
        EXPECT_EQ(narrow(widened, WC_ERR_INVALID_CHARS), narrowed);
    }
}

TEST(Text, ReplacesOrRejectsInvalidText) {
    // Each "?" is a U+FFFD in the result.
    const std::pair<std::string, std::string> rows[] = {
        {"\x80", "?"},           {"q\xFFz", "q?z"},       {"\xC0\x80", "??"},
        {"\xE0\x9F\xBF", "???"}, {"\xED\xA0\x80", "???"}, {"\xF4\x90\x80\x80", "????"},
        {"\xE2\x82", "?"},       {"\xE2\x82z", "?z"},     {"\xF0\x9F\x98", "?"}};
    for (const auto& [text, shown] : rows) {
        std::wstring expected(shown.begin(), shown.end());
        std::replace(expected.begin(), expected.end(), L'?', L'\xFFFD');
        EXPECT_EQ(widen(text), expected);
        SetLastError(0);
        EXPECT_EQ(widen(text, MB_ERR_INVALID_CHARS), L"");
        EXPECT_EQ(GetLastError(), ERROR_NO_UNICODE_TRANSLATION);
    }
    for (const wchar_t unit : {wchar_t{0xD800}, wchar_t{0xDFFF}, wchar_t{0x110000}, wchar_t{-1}}) {
        EXPECT_EQ(narrow({unit}), "\xEF\xBF\xBD");
        EXPECT_EQ(WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, &unit, 1, nullptr, 0, nullptr, nullptr), 0);
    }
}

TEST(Text, ChecksSizes) {
    std::array<wchar_t, 4> wide{9, 9, 9, 9};
    EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, "ab", -1, nullptr, 0), 3);  // the terminator counts
    EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, "ab", -1, wide.data(), 3), 3);
    EXPECT_EQ(std::wstring(wide.data()), L"ab");
    EXPECT_EQ(wide[3], 9);
    EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, "ab", -1, wide.data(), 2), 0);
    EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
    std::array<char, 3> narrow{};
    EXPECT_EQ(WideCharToMultiByte(0, 0, L"ab", -1, narrow.data(), 3, nullptr, nullptr), 3);
    EXPECT_EQ(WideCharToMultiByte(0, 0, L"abc", -1, narrow.data(), 3, nullptr, nullptr), 0);
    EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(WideCharToMultiByte(0, 0, L"\x20AC", 1, narrow.data(), 2, nullptr, nullptr), 0) << "half a character";

    EXPECT_EQ(MultiByteToWideChar(1252, 0, "a", -1, nullptr, 0), 0);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(MultiByteToWideChar(0, 0, "a", 0, nullptr, 0), 0);
    EXPECT_EQ(MultiByteToWideChar(0, 0, nullptr, 1, nullptr, 0), 0);
    EXPECT_EQ(MultiByteToWideChar(0, 0, "a", 1, nullptr, 5), 0);
    EXPECT_EQ(MultiByteToWideChar(0, 0, "a", INT_MIN, nullptr, 0), 0);
    EXPECT_EQ(MultiByteToWideChar(0, 1, "a", 1, nullptr, 0), 0);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_FLAGS);
}

}  // namespace
