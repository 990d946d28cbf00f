#include <gtest/gtest.h>

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

TEST(Text, ConvertsEveryLengthOfCharacterBothWays) {
    struct Row {
        std::string narrow;
        std::wstring wide;
    };
    for (const Row& row : {Row{"a", L"a"}, Row{"\x7F\xC2\x80", L"\x7F\x80"}, Row{"\xDF\xBF\xE0\xA0\x80", L"\x7FF\x800"},
                           Row{"\xED\x9F\xBF\xEE\x80\x80", L"\xD7FF\xE000"},
                           Row{"\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", L"\xFFFF\x10000\x10FFFF"},
                           Row{std::string("a\0b", 3), std::wstring(L"a\0b", 3)}}) {
        EXPECT_EQ(widen(row.narrow, MB_ERR_INVALID_CHARS), row.wide);
        EXPECT_EQ(narrow(row.wide, WC_ERR_INVALID_CHARS), row.narrow);
    }
}

TEST(Text, ReplacesWhatIsNoTextOrRefusesIt) {
    struct Row {
        std::string text;
        std::wstring expected;
    };
    for (const Row& row : {Row{"\x80", L"\xFFFD"},
                           Row{"a\xFF"
                               "b",
                               L"a\xFFFD"
                               L"b"},
                           Row{"\xC0\x80", L"\xFFFD\xFFFD"}, Row{"\xE0\x9F\xBF", L"\xFFFD\xFFFD\xFFFD"},
                           Row{"\xED\xA0\x80", L"\xFFFD\xFFFD\xFFFD"},
                           Row{"\xF4\x90\x80\x80", L"\xFFFD\xFFFD\xFFFD\xFFFD"}, Row{"\xE2\x82", L"\xFFFD"},
                           Row{"\xE2\x82"
                               "a",
                               L"\xFFFD"
                               L"a"},
                           Row{"\xF0\x9F\x98", L"\xFFFD"}}) {
        EXPECT_EQ(widen(row.text), row.expected);
        SetLastError(0);
        EXPECT_EQ(MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, row.text.data(), static_cast<int>(row.text.size()),
                                      nullptr, 0),
                  0);
        EXPECT_EQ(GetLastError(), ERROR_NO_UNICODE_TRANSLATION);
    }
    for (const wchar_t unit : {wchar_t{0xD800}, wchar_t{0xDFFF}, wchar_t{0x110000}, wchar_t{-1}}) {
        EXPECT_EQ(narrow({unit}), "\xEF\xBF\xBD");
        EXPECT_EQ(WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, &unit, 1, nullptr, 0, nullptr, nullptr), 0);
    }
}

TEST(Text, IsStrictAboutSizes) {
    std::array<wchar_t, 4> wide{9, 9, 9, 9};
    EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, "ab", -1, nullptr, 0), 3);  // the terminator counts
    EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, "ab", -1, wide.data(), 3), 3);
    EXPECT_EQ(std::wstring(wide.data()), L"ab");
    EXPECT_EQ(wide[3], 9);
    EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, "ab", -1, wide.data(), 2), 0);
    EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
    // The path of a setting must fit 100 bytes with its terminator.
    std::array<char, 100> path{};
    EXPECT_EQ(WideCharToMultiByte(0, 0, std::wstring(99, L'p').c_str(), -1, path.data(), 100, nullptr, nullptr), 100);
    EXPECT_EQ(WideCharToMultiByte(0, 0, std::wstring(100, L'p').c_str(), -1, path.data(), 100, nullptr, nullptr), 0);
    EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(WideCharToMultiByte(0, 0, L"\x20AC", 1, path.data(), 2, nullptr, nullptr), 0);  // never half a character

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
