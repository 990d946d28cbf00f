#include "asn1rt/memory_heap.h"

#include <cstring>

#include "asn1rt/decode.h"
#include "asn1rt/encode.h"
#include "asn1rt/status.h"
#include "tests/asn1rt/runtime_fixture.h"

namespace {

/// Counts what goes through the replaceable allocator; refuses when told to.
class MemoryHeapTest : public testing::Test {
protected:
    void SetUp() override {
        g_malloc_func = [](void* user, std::size_t size) -> void* {
            auto* self = static_cast<MemoryHeapTest*>(user);
            self->requests_.push_back(size);
            if (self->refuse_) {
                return nullptr;
            }
            ++self->live_;
            return std::malloc(size);
        };
        g_free_func = [](void* user, void* ptr) {
            --static_cast<MemoryHeapTest*>(user)->live_;
            std::free(ptr);
        };
    }
    void TearDown() override {
        g_malloc_func = rtDefaultMalloc;
        g_free_func = rtDefaultFree;
        EXPECT_EQ(live_, 0);
    }

    std::vector<std::size_t> requests_;
    int live_ = 0;
    bool refuse_ = false;
};

TEST_F(MemoryHeapTest, RefusesTooMuchWithoutAsking) {
    ASN1MEMHEAP* heap = nullptr;
    EXPECT_EQ(rtMemHeapCreate(nullptr, this), STATUS_BAD_ARGUMENT);
    ASSERT_EQ(rtMemHeapCreate(&heap, this), 0);
    refuse_ = true;
    requests_.clear();
    EXPECT_EQ(rtMemHeapAlloc(&heap, 2147483600), nullptr);
    EXPECT_EQ(rtMemHeapAlloc(&heap, static_cast<std::size_t>(-1)), nullptr);
    EXPECT_TRUE(requests_.empty());
    EXPECT_EQ(rtMemHeapAlloc(&heap, 2147483599), nullptr);
    ASSERT_EQ(requests_.size(), 1U);
    EXPECT_GE(requests_[0], 2147483599U);
    ASN1MEMHEAP* none = nullptr;
    EXPECT_EQ(rtMemHeapCreate(&none, this), STATUS_NO_MEMORY);
    ASN1CTXT ctx{};
    EXPECT_EQ(rtInitContext(&ctx, this), STATUS_NO_MEMORY);
    rtMemHeapRelease(&heap);
}

TEST_F(MemoryHeapTest, ReallocKeepsMovesOrFails) {
    ASN1MEMHEAP* heap = nullptr;
    EXPECT_EQ(rtMemHeapRealloc(&heap, nullptr, 8), nullptr);
    ASSERT_EQ(rtMemHeapCreate(&heap, this), 0);
    auto* block = static_cast<char*>(rtMemHeapRealloc(&heap, nullptr, 8));
    std::memcpy(block, "0123456", 8);
    EXPECT_EQ(rtMemHeapRealloc(&heap, block, 4), block);
    refuse_ = true;
    EXPECT_EQ(rtMemHeapRealloc(&heap, block, 8), nullptr);
    refuse_ = false;
    // The block remembers the smaller size, so the way back moves it, and only that much is carried over.
    auto* grown = static_cast<char*>(rtMemHeapRealloc(&heap, block, 8));
    ASSERT_NE(grown, nullptr);
    EXPECT_EQ(std::string(grown, 4), "0123");
    EXPECT_EQ(live_, 2);
    rtMemHeapRelease(&heap);
}

TEST_F(MemoryHeapTest, FreesBlocksInAnyOrderAndTheRestAtTheEnd) {
    ASN1MEMHEAP* heap = nullptr;
    ASSERT_EQ(rtMemHeapCreate(&heap, this), 0);
    void* blocks[5];
    for (void*& block : blocks) {
        block = rtMemHeapAllocZ(&heap, 100);
    }
    for (const int index : {4, 0, 2}) {
        EXPECT_EQ(rtMemHeapCheckPtr(&heap, blocks[index]), 1);
        rtMemHeapFreePtr(&heap, blocks[index]);
    }
    EXPECT_EQ(live_, 3);
    rtMemHeapFreePtr(&heap, nullptr);
    rtMemHeapAddRef(&heap);
    rtMemHeapRelease(&heap);
    EXPECT_EQ(live_, 3);
    rtMemHeapRelease(&heap);
    EXPECT_EQ(heap, nullptr);
    rtMemHeapRelease(&heap);
}

TEST_F(MemoryHeapTest, LimitsWhatDecodingAnInputMayAllocate) {
    constexpr std::size_t kAllowed = 5 * MEM_HEAP_DECODE_FACTOR + MEM_HEAP_DECODE_BASE;
    const rttest::Bytes octets = rttest::fromHex("3003020105 FFFFFF");
    ASN1CTXT ctx{};
    ASSERT_EQ(rtInitContext(&ctx, this), 0);
    ASSERT_EQ(xd_setp(&ctx, octets.data(), static_cast<int>(octets.size()), nullptr, nullptr), 0);
    EXPECT_EQ(rtMemHeapAlloc(&ctx.pTypeMemHeap, kAllowed), nullptr);  // the header of the block counts
    for (int i = 0; i < 3; ++i) {                                     // what was freed or shrunk may be used again
        void* block = rtMemHeapAlloc(&ctx.pTypeMemHeap, kAllowed - 64);
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(rtMemHeapAlloc(&ctx.pTypeMemHeap, 64), nullptr);
        EXPECT_EQ(rtMemHeapRealloc(&ctx.pTypeMemHeap, block, 8), block);
        EXPECT_EQ(rtMemHeapBlockSize(block), 8U);
        rtMemHeapFreePtr(&ctx.pTypeMemHeap, block);
    }
    EXPECT_EQ(ctx.pTypeMemHeap->used, 0U);
    ASSERT_EQ(xe_setp(&ctx, nullptr, 0), 0);  // what is encoded is the caller's own
    EXPECT_NE(rtMemHeapAlloc(&ctx.pTypeMemHeap, kAllowed), nullptr);
    rtFreeContext(&ctx);
}

TEST(MemoryHeap, EmptyFieldGetsAHeapOnDemand) {
    ASN1MEMHEAP* heap = nullptr;
    EXPECT_NE(rtMemHeapAlloc(&heap, 0), nullptr);
    ASSERT_NE(heap, nullptr);
    EXPECT_EQ(rtMemHeapAlloc(nullptr, 1), nullptr);
    rtMemHeapRelease(&heap);
}

}  // namespace
