#include <gtest/gtest.h>

#include <string>

#include "platform/crypto/crypto_service.h"
#include "tests/support/bytes.h"

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

TEST(TextForms, ReadsThePermittedForms) {
    const std::string pem = toPem(fromHex("3003020105"), "CERTIFICATE");
    struct Row {
        const char* name;
        std::string text;
        DWORD form;
        std::string expected;  // hexadecimal, "-" for a failure
        DWORD met;
    };
    for (const Row& row :
         {Row{"PEM", pem, CRYPT_STRING_BASE64HEADER, "3003020105", CRYPT_STRING_BASE64HEADER},
          Row{"PEM behind text", "Subject: x\n" + pem, CRYPT_STRING_ANY, "3003020105", CRYPT_STRING_BASE64HEADER},
          Row{"PEM where it is not allowed", pem, CRYPT_STRING_BASE64, "-", 0},
          Row{"broken PEM", "-----BEGIN X-----\n!!!\n-----END X-----\n", CRYPT_STRING_ANY, "-", 0},
          Row{"base64", "MAMC\r\nAQU=\n", CRYPT_STRING_BASE64_ANY, "3003020105", CRYPT_STRING_BASE64},
          Row{"two octets", "AQI=", CRYPT_STRING_BASE64, "0102", CRYPT_STRING_BASE64},
          Row{"one octet", "AQ==", CRYPT_STRING_BASE64, "01", CRYPT_STRING_BASE64},
          Row{"no base64", "AQ=", CRYPT_STRING_BASE64, "-", 0}, Row{"nothing", " ", CRYPT_STRING_BASE64, "-", 0},
          Row{"bytes", "0\x03\x02\x01\x05", CRYPT_STRING_ANY, "3003020105", CRYPT_STRING_BINARY}}) {
        SCOPED_TRACE(row.name);
        Bytes bytes(64);
        DWORD size = 64;
        DWORD skip = 99;
        DWORD met = 99;
        const BOOL read = CryptStringToBinaryA(row.text.c_str(), 0, row.form, bytes.data(), &size, &skip, &met);
        ASSERT_EQ(read != FALSE, row.expected != "-");
        if (!read) {
            EXPECT_EQ(GetLastError(), ERROR_INVALID_DATA);
            continue;
        }
        bytes.resize(size);
        EXPECT_EQ(toHex(bytes), row.expected);
        EXPECT_EQ(met, row.met);
        EXPECT_EQ(skip, row.met == CRYPT_STRING_BASE64HEADER ? row.text.find("-----") : 0U);
    }
}

}  // namespace
}  // namespace testkit
