#include "asn1/text/char_string.h"

#include "asn1/codec/octet_string.h"
#include "asn1rt/memory_heap.h"
#include "tests/asn1/value_fixture.h"

namespace {

using namespace Orvane::ASN1;
using namespace testkit;

TEST(CharString, RefusesUnknownTypesAndCharacters) {
    for (const unsigned int type : {0U, 7U, 0xFFFFFFFFU}) {
        EXPECT_THAT(thrownStatus([&] { encodeCharString(L"a", static_cast<StringType>(type)); }),
                    IsStatus(status::kAsn1Error))
            << type;
    }
    const wchar_t negative[] = {static_cast<wchar_t>(-5), 0};
    EXPECT_THAT(thrownStatus([&] { encodeCharString(negative, kStringTypeUTF8); }), IsStatus(status::kAsn1Error));
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
