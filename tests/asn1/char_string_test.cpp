#include "asn1/text/char_string.h"

#include <gmock/gmock.h>

#include "asn1/codec/octet_string.h"
#include "asn1rt/memory_heap.h"
#include "handles/status.h"
#include "tests/asn1/blobs.h"
#include "tests/support/status_matcher.h"

namespace {

using namespace Orvane::ASN1;
using namespace testkit;

TEST(CharString, WritesEachTypeAndReadsItBack) {
    const struct {
        const wchar_t* text;
        StringType type;
        const char* expected;
    } rows[] = {
        {L"a\u0416", kStringTypeUTF8, "0c0361d096"},
        {L"\U0001F600", kStringTypeUTF8, "0c04f09f9880"},
        {L"", kStringTypeUTF8, "0c00"},
        {L"RU", kStringTypePrintable, "13025255"},
        {L"\u00e9", kStringTypeTeletex, "1402c3a9"},
        {L"a@b", kStringTypeIA5, "1603614062"},
        {L"a\u0416", kStringTypeBMP, "1e0400610416"},
        {L"", kStringTypeBMP, "1e00"},
        {L"a\u0416", kStringTypeUniversal, "1c080000006100000416"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.expected);
        const Orvane::CBlob encoded = encodeCharString(row.text, row.type);
        EXPECT_EQ(hexOf(encoded), row.expected);
        EXPECT_STREQ(decodeCharString(encoded).c_str(), row.text);
    }
}

TEST(CharString, LosesWhatAStringTypeCannotHold) {
    EXPECT_EQ(hexOf(encodeCharString(L"\U0001F600", kStringTypeBMP)), "1e02f600");
    // Characters above U+FFFF are dropped when a UniversalString is read.
    EXPECT_STREQ(decodeCharString(blobFromHex("1c080001f60000000061")).c_str(), L"a");
}

TEST(CharString, RefusesUnknownTypesAndCharacters) {
    for (const unsigned int type : {0U, 7U, 0xFFFFFFFFU}) {
        EXPECT_THAT(thrownStatus([&] { encodeCharString(L"a", static_cast<StringType>(type)); }),
                    IsStatus(status::kAsn1Error))
            << type;
    }
    const wchar_t negative[] = {static_cast<wchar_t>(-5), 0};
    EXPECT_THAT(thrownStatus([&] { encodeCharString(negative, kStringTypeUTF8); }), IsStatus(status::kAsn1Error));
}

TEST(CharString, ReadsWhatOthersWriteAndRefusesTheRest) {
    const struct {
        const char* der;
        const wchar_t* expected;  // null: Asn1Error
    } rows[] = {
        {"12023132", L"12"},      // NumericString, which is never written here
        {"0c0361006200", L"a"},   // a NUL inside ends the text
        {"0c02c328", nullptr},    // wrong continuation
        {"0c01ff", nullptr},      // cannot lead
        {"1e03006100", L"a"},     // an incomplete last character is dropped
        {"1a0161", nullptr},      // VisibleString
        {"0401610000", nullptr},  // OCTET STRING
        {"8c0161", nullptr},      // right number, wrong class
        {"0c056162", nullptr},    // longer than the input
        {"0c", nullptr},         {"", nullptr}, {"1e8400000000", L""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.der);
        const Orvane::CBlob value = blobFromHex(row.der);
        if (row.expected != nullptr) {
            EXPECT_STREQ(decodeCharString(value).c_str(), row.expected);
        } else {
            EXPECT_THAT(thrownStatus([&] { decodeCharString(value); }), IsStatus(status::kAsn1Error));
        }
    }
}

TEST(OctetString, WrapsAndUnwrapsBytes) {
    EXPECT_EQ(hexOf(toOctetString(blobFromHex("0102"))), "04020102");
    EXPECT_EQ(hexOf(toOctetString(Orvane::CBlob())), "0400");
    EXPECT_EQ(hexOf(fromOctetString(blobFromHex("04020102"))), "0102");
    EXPECT_EQ(hexOf(fromOctetString(blobFromHex("0400"))), "");
    EXPECT_EQ(hexOf(fromOctetString(blobFromHex("040201020304"))), "0102") << "bytes behind are not looked at";
    const Orvane::CBlob large(100000UL);
    EXPECT_EQ(fromOctetString(toOctetString(large)), large) << "larger than the first buffer of the encoder";
    for (const char* bad : {"", "04", "0403ff", "020101", "048500", "0480010000", "30020400"}) {
        EXPECT_THAT(thrownStatus([&] { fromOctetString(blobFromHex(bad)); }), IsStatus(status::kAsn1Error)) << bad;
    }

    // No context is exhausted memory; a writer without room is a failure of the writer, as for all values.
    static std::size_t largest;
    for (const std::size_t room : {std::size_t{0}, std::size_t{1000}, std::size_t{50000}}) {
        largest = room;
        g_malloc_func = [](void* user, std::size_t size) {
            return size > largest ? nullptr : rtDefaultMalloc(user, size);
        };
        const auto thrown = thrownStatus([&] { toOctetString(large); });
        g_malloc_func = rtDefaultMalloc;
        EXPECT_THAT(thrown, IsStatus(room == 0 ? status::kAsn1Memory : status::kAsn1Error)) << room;
    }
}

}  // namespace
