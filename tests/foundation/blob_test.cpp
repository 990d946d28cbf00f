#include "foundation/blob.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

namespace {

using Orvane::CBlob;

CBlob blobOf(std::initializer_list<unsigned char> bytes) {
    return {bytes.size() == 0 ? nullptr : bytes.begin(), bytes.size()};
}

TEST(Blob, EmptyOnesDifferOnlyInTheirPointer) {
    const CBlob none;
    const CBlob allocated(0UL);
    CBlob cleared = blobOf({1, 2});
    cleared.clear();
    EXPECT_EQ(none.pbData(), nullptr);
    EXPECT_NE(allocated.pbData(), nullptr);
    EXPECT_NE(cleared.pbData(), nullptr);
    EXPECT_EQ(none, allocated);
    EXPECT_EQ(none, cleared);
    EXPECT_EQ(CBlob(cleared).pbData(), nullptr);
    EXPECT_EQ(blobOf({}).pbData(), nullptr);
    cleared = none;
    EXPECT_EQ(cleared.pbData(), nullptr);
    EXPECT_EQ(CBlob(3), blobOf({0, 0, 0}));
}

TEST(Blob, AssignsFromItsOwnBytes) {
    CBlob blob = blobOf({1, 2, 3, 4});
    blob.assign(blob.pbData() + 1, 2);
    const CBlob& same = blob;
    blob = same;
    EXPECT_EQ(blob, blobOf({2, 3}));
}

TEST(Blob, CopiesAreDeepAndMovesTakeTheBuffer) {
    CBlob source = blobOf({1, 2});
    const CBlob copy = source;
    source.pbData()[0] = 9;
    EXPECT_EQ(copy, blobOf({1, 2}));

    const unsigned char* const buffer = source.pbData();
    CBlob target = blobOf({7});
    target = std::move(source);
    EXPECT_EQ(target.pbData(), buffer);
    EXPECT_EQ(source, CBlob());  // NOLINT(bugprone-use-after-move): the state after a move is promised
    target.swap(source);
    EXPECT_EQ(source.pbData(), buffer);
    EXPECT_EQ(CBlob(std::move(source)).pbData(), buffer);
    EXPECT_EQ(source, CBlob());  // NOLINT(bugprone-use-after-move): likewise
}

TEST(Blob, GrowsByTheSizeAndNotByTheCapacity) {
    CBlob blob = blobOf({1, 2, 3, 4});
    const unsigned char* const first = blob.pbData();
    blob.resize_to(2);
    EXPECT_EQ(blob.pbData(), first);
    blob.resize_to(4);
    EXPECT_NE(blob.pbData(), first);
    EXPECT_EQ(blob.cbData(), 4U);
    EXPECT_EQ(blob.pbData()[1], 2);
    CBlob empty;
    empty.resize_to(0);
    EXPECT_EQ(empty.pbData(), nullptr);
}

TEST(Blob, AppendsOthersAndDoublesItself) {
    CBlob blob = blobOf({1});
    blob += blobOf({2, 3});
    blob += CBlob();
    EXPECT_EQ(blob, blobOf({1, 2, 3}));
    blob += blob;
    ASSERT_EQ(blob.cbData(), 6U);
    EXPECT_EQ(blob.pbData()[2], 3);
}

TEST(Blob, ReversesAnyLength) {
    for (const auto& [before, after] : {std::pair{blobOf({}), blobOf({})},
                                        {blobOf({1, 2}), blobOf({2, 1})},
                                        {blobOf({1, 2, 3}), blobOf({3, 2, 1})}}) {
        CBlob blob = before;
        blob.reverse();
        EXPECT_EQ(blob, after) << before.cbData();
    }
}

TEST(Blob, OrdersLexicographicallyWithUnsignedBytes) {
    const std::vector<CBlob> ascending = {CBlob(),        blobOf({0x01}), blobOf({0x01, 0x00}), blobOf({0x01, 0xFF}),
                                          blobOf({0x02}), blobOf({0x7F}), blobOf({0xFF})};
    for (std::size_t i = 0; i < ascending.size(); ++i) {
        for (std::size_t k = 0; k < ascending.size(); ++k) {
            SCOPED_TRACE(std::to_string(i) + " against " + std::to_string(k));
            EXPECT_EQ(ascending[i] < ascending[k], i < k);
            EXPECT_EQ(ascending[i] <= ascending[k], i <= k);
            EXPECT_EQ(ascending[i] > ascending[k], i > k);
            EXPECT_EQ(ascending[i] >= ascending[k], i >= k);
            EXPECT_EQ(ascending[i] == ascending[k], i == k);
        }
    }
}

}  // namespace
