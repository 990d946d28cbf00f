// Encodes, decodes, copies and frees random values of every generated type, and the values of vectors.txt.
#include <gtest/gtest.h>

#include <vector>

#include "tests/schema/catalogue.h"
#include "tests/schema/codec_fixture.h"
#include "tests/schema/random_value.h"

namespace {

using schematest::TypeRow;

constexpr std::uint32_t kNumSeeds = 20;

using ValueCodec = schematest::CodecTest;

TEST_F(ValueCodec, RandomValuesRoundTrip) {
    for (const TypeRow& type : schematest::catalogue().types) {
        EXPECT_EQ(type.info->size, type.sizeRecord) << type.name;
        for (std::uint32_t seed = 1; seed <= kNumSeeds; ++seed) {
            SCOPED_TRACE(std::string(type.name) + ", seed " + std::to_string(seed));
            std::vector<std::uint64_t> value(type.sizeRecord / sizeof(std::uint64_t) + 1);
            schematest::RandomValue(&writer_, seed).fill(*type.info, value.data());
            const schematest::Octets octets = write(type, value.data());
            ASSERT_EQ(again(type, octets), "same");
            ASSERT_TRUE(isHeapEmpty());
            EXPECT_EQ(ctxt_.buffer.byteIndex, octets.size());
            renew(writer_);
        }
    }
}

TEST_F(ValueCodec, GivesTheResultsOfTheVectors) {
    runVectors("vectors.txt", schematest::catalogue().types);
}

}  // namespace
