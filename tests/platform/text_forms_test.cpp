#include <gtest/gtest.h>

#include <map>
#include <string>

#include "platform/crypto/crypto_service.h"
#include "tests/support/bytes.h"
#include "tests/support/vectors.h"

namespace testkit {
namespace {

constexpr DWORD kPlain = CRYPT_STRING_BASE64 | CRYPT_STRING_NOCRLF;

std::wstring base64(const Bytes& bytes, DWORD flags) {
    DWORD size = 0;
    if (CryptBinaryToStringW(bytes.data(), static_cast<DWORD>(bytes.size()), flags, nullptr, &size) == FALSE) {
        return L"<failed>";
    }
    std::wstring text(size, L'#');
    DWORD written = size;
    EXPECT_TRUE(CryptBinaryToStringW(bytes.data(), static_cast<DWORD>(bytes.size()), flags, text.data(), &written));
    EXPECT_EQ(written, size - 1);  // the second step leaves the terminator out
    EXPECT_EQ(text.back(), L'\0');
    text.pop_back();
    return text;
}

TEST(TextForms, WritesBase64) {
    const std::pair<std::string_view, const wchar_t*> rows[] = {
        {"", L""}, {"f", L"Zg=="}, {"fo", L"Zm8="}, {"foo", L"Zm9v"}, {"\xFB\xFF\xBF", L"+/+/"}};
    for (const auto& [bytes, expected] : rows) {
        EXPECT_EQ(base64(bytesOf(bytes), kPlain), expected);
    }
    const Bytes lineAndMore(49, 0);
    const std::wstring line(64, L'A');
    EXPECT_EQ(base64(lineAndMore, CRYPT_STRING_BASE64), line + L"\r\nAA==\r\n");
    EXPECT_EQ(base64(lineAndMore, CRYPT_STRING_BASE64 | CRYPT_STRING_NOCR), line + L"\nAA==\n");
    EXPECT_EQ(base64(Bytes(48, 0), CRYPT_STRING_BASE64 | CRYPT_STRING_NOCR), line + L"\n");
    EXPECT_EQ(base64(lineAndMore, CRYPT_STRING_BINARY), L"<failed>");
    EXPECT_EQ(GetLastError(), NTE_BAD_FLAGS);
    wchar_t small[4] = {L'#', L'#', L'#', L'#'};
    DWORD size = 4;
    EXPECT_FALSE(CryptBinaryToStringW(lineAndMore.data(), 3, kPlain, small, &size));
    EXPECT_EQ(GetLastError(), ERROR_MORE_DATA);
    EXPECT_EQ(size, 5U);
    EXPECT_EQ(small[0], L'#');
}

// "form text": the octets in hexadecimal, the form found and where it begins.
std::string readForm(const std::string& row) {
    static const std::map<std::string, DWORD> kForms = {{"pem", CRYPT_STRING_BASE64HEADER},
                                                        {"base64", CRYPT_STRING_BASE64},
                                                        {"base64-or-pem", CRYPT_STRING_BASE64_ANY},
                                                        {"any", CRYPT_STRING_ANY}};
    const std::string text = row.substr(row.find(' ') + 1);
    Bytes bytes(64);
    DWORD size = 64;
    DWORD skip = 99;
    DWORD met = 99;
    if (!CryptStringToBinaryA(text.c_str(), 0, kForms.at(row.substr(0, row.find(' '))), bytes.data(), &size, &skip,
                              &met)) {
        EXPECT_EQ(GetLastError(), ERROR_INVALID_DATA);
        return "failed";
    }
    bytes.resize(size);
    const char* const found = met == CRYPT_STRING_BINARY ? "octets" : met == CRYPT_STRING_BASE64 ? "base64" : "pem";
    return toHex(bytes) + " " + found + " @" + std::to_string(skip);
}

TEST(TextForms, ReadsThePermittedForms) {
    expectVectors("platform/text_forms.txt", {{"read", readForm}});
}

}  // namespace
}  // namespace testkit
