// Random values of every generated type: written, read back, copied, and freed to the last block.
#include <gtest/gtest.h>

#include <vector>

#include "tests/schema/catalogue.h"
#include "tests/schema/codec_fixture.h"
#include "tests/schema/random_value.h"

namespace {

using schematest::TypeRow;

constexpr std::uint32_t kNumSeeds = 20;

/// Records are made of words, and start zeroed as they do in the heap.
using Record = std::vector<std::uint64_t>;

/// Values are read in the context of the fixture, and made, copied and written in another one.
class RoundTrip : public schematest::CodecTest {
protected:
    void SetUp() override {
        CodecTest::SetUp();
        ASSERT_EQ(rtInitContext(&writer_, nullptr), 0);
    }
    void TearDown() override {
        rtFreeContext(&writer_);
        CodecTest::TearDown();
    }

    std::string write(const TypeRow& type, Record& value) {
        EXPECT_EQ(xe_setp(&writer_, nullptr, 0), 0);
        const int length = type.encode(&writer_, value.data(), TAG_EXPLICIT);
        if (length < 0) {
            return "status " + std::to_string(length);
        }
        return {reinterpret_cast<const char*>(xe_getp(&writer_)), static_cast<std::size_t>(length)};
    }

    void run(const TypeRow& type, std::uint32_t seed) {
        Record made(type.sizeRecord / sizeof(std::uint64_t) + 1);
        Record read(made.size());
        Record copied(made.size());
        schematest::RandomValue(&writer_, seed).fill(*type.info, made.data());
        const std::string octets = write(type, made);
        input_.assign(octets.begin(), octets.end());
        ASSERT_EQ(xd_setp(&ctxt_, input_.data(), static_cast<int>(input_.size()), nullptr, nullptr), 0);
        ASSERT_EQ(type.decode(&ctxt_, read.data(), TAG_EXPLICIT, 0), 0);
        EXPECT_EQ(ctxt_.buffer.byteIndex, input_.size());
        type.copy(&writer_, read.data(), copied.data());
        type.free(&ctxt_, read.data());
        ASSERT_TRUE(isHeapEmpty());
        ASSERT_EQ(write(type, copied), octets);
        type.free(&writer_, copied.data());
    }

    ASN1CTXT writer_;
};

TEST_F(RoundTrip, RandomValuesComeBack) {
    for (const TypeRow& type : schematest::catalogue().types) {
        for (std::uint32_t seed = 1; seed <= kNumSeeds; ++seed) {
            SCOPED_TRACE(std::string(type.name) + ", seed " + std::to_string(seed));
            ASSERT_NO_FATAL_FAILURE(run(type, seed));
            rtFreeContext(&writer_);
            ASSERT_EQ(rtInitContext(&writer_, nullptr), 0);
        }
    }
}

}  // namespace
