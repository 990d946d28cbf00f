#include "asn1rt/utf8.h"

#include <algorithm>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "tests/asn1rt/runtime_fixture.h"
#include "tests/support/vectors.h"

namespace {

using namespace rttest;

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

TEST(Utf8, TextIsMeasuredWidenedAndNarrowedAsListed) {
    const auto length = [](const std::string& text) { return std::to_string(rtUTF8Len(exactly(text).get())); };
    const auto widen = [](const std::string& row) {
        const std::string text = row.substr(row.find(':') + 1);
        wchar_t wide[10] = {};
        const int count = rtUTF8ToWCS(nullptr, exactly(text).get(), wide, static_cast<std::uint32_t>(std::stoul(row)));
        EXPECT_TRUE(count < 0 || rtUTF8ToWCS(nullptr, text.c_str(), nullptr, 0) == count);
        std::string answer = std::to_string(count);
        for (int i = 0; i < count; ++i) {
            answer += " " + std::to_string(static_cast<long>(wide[i]));
        }
        return answer;
    };
    const auto narrow = [](const std::string& row) {
        std::istringstream in(row.substr(row.find(':') + 1));
        const std::vector<int> numbers(std::istream_iterator<int>(in), {});
        const std::vector<wchar_t> wide(numbers.begin(), numbers.end());
        const auto room = static_cast<std::uint32_t>(std::stoul(row));
        std::vector<char> text(std::max(room, 1U));
        const int answer =
            rtWCSToUTF8(nullptr, wide.data(), static_cast<std::uint32_t>(wide.size()), text.data(), room);
        return std::to_string(answer) + " " + std::string(text.begin(), text.begin() + std::max(answer, 0));
    };
    testkit::expectVectors("asn1rt/utf8.txt", {{"length", length}, {"widen", widen}, {"narrow", narrow}});
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
