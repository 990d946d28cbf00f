#include "asn1rt/utf8.h"

#include <cstring>
#include <memory>
#include <string>

#include "tests/asn1rt/runtime_fixture.h"

namespace {

using namespace rttest;

// The text in a block of exactly its size, so that AddressSanitizer sees any step over its NUL.
std::unique_ptr<char[]> exactly(const std::string& text) {
    auto block = std::make_unique<char[]>(text.size() + 1);
    std::memcpy(block.get(), text.c_str(), text.size() + 1);
    return block;
}

TEST(Utf8, CharactersOfEverySizeSurviveARoundTrip) {
    const std::int32_t edges[] = {0,       0x7F,     0x80,     0x7FF,    0x800,     0xD800,    0xFFFF,
                                  0x10000, 0x10FFFF, 0x1FFFFF, 0x200000, 0x3FFFFFF, 0x4000000, 0x7FFFFFFF};
    for (const std::int32_t character : edges) {
        std::uint8_t octets[6];
        const int size = rtUTF8CharSize(character);
        ASSERT_EQ(rtUTF8EncodeChar(character, octets, static_cast<std::uint32_t>(size)), size) << character;
        EXPECT_EQ(rtUTF8EncodeChar(character, octets, static_cast<std::uint32_t>(size - 1)), -1) << character;
        std::uint32_t used = 6;
        EXPECT_EQ(rtUTF8DecodeChar(nullptr, octets, &used), character);
        EXPECT_EQ(used, static_cast<std::uint32_t>(size));
        used = static_cast<std::uint32_t>(size - 1);
        EXPECT_EQ(rtUTF8DecodeChar(nullptr, octets, &used), STATUS_BAD_UTF8) << character;
    }
}

TEST(Utf8, LengthLooksAtLeadsAndStopsAtTheNul) {
    const std::pair<std::string, int> rows[] = {
        {"", 0},
        {"\xC3\xA4z", 2},
        {"\xC3\x28", 1},
        {"\xFC", 1},
        {"a\xE2", 2},
        {"\x80", STATUS_BAD_UTF8},
        {"a\xFE", STATUS_BAD_UTF8},
    };
    for (const auto& [text, length] : rows) {
        EXPECT_EQ(rtUTF8Len(exactly(text).get()), length) << testing::PrintToString(text);
    }
}

TEST(Utf8, WideTextIsCountedFilledOrRefused) {
    struct Row {
        std::string text;
        std::uint32_t capacity;
        int answer;
    };
    const Row rows[] = {
        {"a\xC3\xA4\xF0\x9F\x98\x80", 4, 3},
        {"abc", 3, 3},
        {"abc", 2, -1},
        {"", 0, 0},
        {"a\xC3\x28", 9, STATUS_BAD_UTF8},
        {"a\xBF", 9, STATUS_BAD_UTF8},
        {"a\xE2\x82", 9, 2},  // cut short by the end: taken with the bits it has
    };
    for (const Row& row : rows) {
        wchar_t wide[10] = {};
        EXPECT_EQ(rtUTF8ToWCS(nullptr, exactly(row.text).get(), wide, row.capacity), row.answer)
            << testing::PrintToString(row.text);
        EXPECT_TRUE(row.answer < 0 || rtUTF8ToWCS(nullptr, row.text.c_str(), nullptr, 0) == row.answer);
    }
    wchar_t wide[5];
    ASSERT_EQ(rtUTF8ToWCS(nullptr, rows[0].text.c_str(), wide, 5), 3);
    EXPECT_EQ(std::wstring(wide), L"a\u00E4\U0001F600");
}

TEST(Utf8, TheLastOctetOfTheDestinationStaysFree) {
    const std::tuple<std::wstring, std::uint32_t, int> rows[] = {
        {L"A\u00E4", 3, -1},
        {L"A\u00E4", 4, 3},
        {L"", 0, 0},
        {L"A", 0, -1},
        {std::wstring(1, static_cast<wchar_t>(-5)), 9, STATUS_BAD_UTF8},
    };
    for (const auto& [text, capacity, answer] : rows) {
        char narrow[10];
        EXPECT_EQ(rtWCSToUTF8(nullptr, text.data(), static_cast<std::uint32_t>(text.size()), narrow, capacity), answer)
            << capacity;
    }
}

TEST(Utf8, FilteringKeepsWhatRangeAndListAllow) {
    Context ctx;
    const std::uint32_t list[] = {'b', 'd', 'z'};
    const RtCharacterSet set{3, list, 'a', 'f'};
    const RtCharacterSet range{0, nullptr, 'b', 'c'};
    ASN1T32BitCharStr string{};
    ASSERT_EQ(rtCToUCSString(ctx, "abcdz\xE4", &string, &set), 0);
    EXPECT_EQ(std::u32string(string.data, string.data + string.nchars), U"bd");
    ASSERT_EQ(rtWCSToUCSString(ctx, L"abcd", &string, &range), 0);
    EXPECT_EQ(std::u32string(string.data, string.data + string.nchars), U"bc");
    ASSERT_EQ(rtCToUCSString(ctx, "\xE4", &string, nullptr), 0);
    EXPECT_EQ(string.data[0], 0xE4U);
}

TEST(Utf8, CharactersAboveSixteenBitsAreDroppedAndTheNulNeedsRoom) {
    std::uint32_t characters[] = {'a', 0x10000, 'b'};
    const ASN1T32BitCharStr string{3, characters};
    for (const std::uint32_t room : {3U, 2U}) {
        wchar_t wide[] = L"###";
        rtUCSToWCSString(&string, wide, room);
        EXPECT_EQ(std::wstring(wide), room == 3 ? L"ab" : L"ab#");
    }
}

}  // namespace
