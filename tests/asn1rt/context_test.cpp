#include "asn1rt/context.h"

#include "asn1rt/bits.h"
#include "asn1rt/mem_buf.h"
#include "tests/asn1rt/runtime_fixture.h"

namespace {

using namespace rttest;

TEST(ContextTest, LivesFromInitToFree) {
    ASN1CTXT ctx{};
    rtFreeContext(&ctx);
    EXPECT_EQ(rtInitContextBuffer(&ctx, nullptr, 0), STATUS_NOT_INITIALIZED);
    ASSERT_EQ(rtInitContext(&ctx, nullptr), 0);
    EXPECT_EQ(ctx.pMsgMemHeap, ctx.pTypeMemHeap);
    EXPECT_EQ(ctx.pTypeMemHeap->refCount, 2U);
    ASSERT_EQ(rtInitContextBuffer(&ctx, nullptr, 0), 0);
    EXPECT_EQ(ctx.buffer.size, 16384U);
    rtFreeContext(&ctx);
    EXPECT_EQ(ctx.initCode, 0U);
    rtFreeContext(&ctx);
}

TEST(ContextTest, SharedHeapOutlivesItsFirstContext) {
    Context keeper;
    std::uint8_t* value = nullptr;
    {
        Context other;
        rtCtxtSetMemHeap(keeper, other);
        rtCtxtSetMemHeap(keeper, other);
        value = static_cast<std::uint8_t*>(rtMemHeapAlloc(&other->pTypeMemHeap, 1));
        *value = 42;
    }
    EXPECT_EQ(*value, 42);
    EXPECT_EQ(keeper->pTypeMemHeap->refCount, 1U);
    rtCtxtSetMsgMemHeap(keeper, nullptr);
    rtCtxtSetMemHeap(nullptr, keeper);
}

TEST(ContextTest, BufferThatGrewOnAnotherHeapIsFreedWhole) {
    // The block of a grown buffer comes from the type heap and goes back through the message heap. As the newest block
    // of its heap it must not stay at the head of that list.
    Context other;
    Context ctx;
    rtCtxtSetMemHeap(ctx, other);
    ASSERT_EQ(xe_setp(ctx, nullptr, 16), 0);
    ASSERT_EQ(xe_expandBuffer(ctx, 100), 0);
    const ASN1MEMHEAP* heap = other->pTypeMemHeap;
    EXPECT_NE(heap->pFirstBlock, nullptr);
    rtFreeContext(ctx);
    EXPECT_EQ(heap->pFirstBlock, nullptr);
}

TEST(ContextTest, CopyLeavesOutStatusAndHeaps) {
    Context ctx;
    rtCtxtSetFlag(ctx, CTX_FLAG_ZERO_COPY);
    rtErrSetData(&ctx->errInfo, STATUS_BAD_TAG, nullptr, 0);
    ASN1CTXT saved{};
    rtCopyContext(&saved, ctx);
    EXPECT_EQ(saved.flags, CTX_FLAG_ZERO_COPY);
    EXPECT_EQ(saved.errInfo.status, 0);
    EXPECT_EQ(saved.initCode, 0U);
}

TEST(ContextTest, KeepsTheFirstFailure) {
    ASN1ErrInfo info{};
    EXPECT_EQ(rtErrSetData(&info, STATUS_TAG_MISMATCH, nullptr, 0), STATUS_TAG_MISMATCH);
    EXPECT_EQ(rtErrSetData(&info, STATUS_BAD_LENGTH, nullptr, 0), STATUS_BAD_LENGTH);
    EXPECT_EQ(info.status, STATUS_TAG_MISMATCH);
    ASN1ErrInfo copy{};
    EXPECT_EQ(rtErrCopyData(&info, &copy), STATUS_TAG_MISMATCH);
    testing::internal::CaptureStdout();
    rtErrPrint(&info);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "ASN.1 ERROR: Status -3\n");
    rtErrReset(&info);
    EXPECT_EQ(info.status, 0);
}

/// Opens levels until the limit refuses; returns how many were open.
int openLevels(ASN1CTXT* ctx, int depth) {
    const ASN1Level level(ctx);
    return level.status == 0 ? openLevels(ctx, depth + 1) : depth;
}

TEST(ContextTest, LevelsAreLimitedAndClosed) {
    Context ctx;
    EXPECT_EQ(openLevels(ctx, 0), 64);
    EXPECT_EQ(ctx->errInfo.status, STATUS_BAD_VALUE);
    EXPECT_EQ(ctx->levelDepth, 0U);
    EXPECT_EQ(openLevels(ctx, 0), 64);
}

TEST(ContextTest, MemoryBufferGrowsInSegments) {
    Context ctx;
    ASN1MemBuf buf;
    rtMemBufInit(ctx, &buf, 8);
    const std::uint8_t octets[] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    EXPECT_EQ(rtMemBufAppend(&buf, octets, 8), 0);
    EXPECT_EQ(buf.capacity, 8U);
    EXPECT_EQ(rtMemBufSet(&buf, 0xEE, 2), 0);
    EXPECT_EQ(buf.capacity, 16U);
    EXPECT_EQ(rtMemBufPreAllocate(&buf, 7), 0);
    EXPECT_EQ(buf.capacity, 24U);
    buf.startIndex = 6;
    std::uint32_t length = 0;
    const std::uint8_t* data = rtMemBufGetData(&buf, &length);
    EXPECT_EQ(hexOf(data, length), "0708eeee");
    EXPECT_EQ(rtMemBufAppend(&buf, octets, 0xFFFFFFFF), STATUS_NO_MEMORY);
    ASSERT_EQ(rtMemBufAppend(&buf, buf.data + 2, 8), 0);   // its own octets
    ASSERT_EQ(rtMemBufAppend(&buf, buf.data + 2, 16), 0);  // and those that growing moves
    EXPECT_EQ(hexOf(buf.data + 18, 16), hexOf(buf.data + 2, 16));
    rtMemBufReset(&buf);
    rtMemBufFree(&buf);

    // A buffer over the caller's memory moves to the heap when it grows, and does not bring the contents.
    rtMemBufInit(ctx, &buf, 0);
    std::uint8_t own[2] = {0xAA, 0xBB};
    buf.data = own;
    buf.capacity = 2;
    buf.usedCount = 2;
    buf.owned = 0;
    EXPECT_EQ(rtMemBufAppend(&buf, octets, 1), 0);
    EXPECT_EQ(hexOf(buf.data, 3), "000001");
    rtMemBufFree(&buf);
}

TEST(ContextTest, BitsCountFromTheMostSignificant) {
    std::uint8_t bits[2] = {0, 0};
    EXPECT_EQ(rtSetBit(bits, 12, 0) | rtSetBit(bits, 12, 11), 0);
    EXPECT_EQ(rtSetBit(bits, 12, 12), STATUS_BIT_INDEX);
    EXPECT_EQ(hexOf(bits, 2), "8010");
    EXPECT_EQ(rtTestBit(bits, 12, 11), 0x10);
    EXPECT_EQ(rtTestBit(bits, 11, 11), 0);
    EXPECT_EQ(rtClearBit(bits, 12, 0), 0x80);
    EXPECT_EQ(rtClearBit(bits, 12, 99), STATUS_BIT_INDEX);
    EXPECT_EQ(hexOf(bits, 2), "0010");
    for (const auto& [octet, length] : {std::pair{0, 0}, {1, 8}, {2, 7}, {4, 6}, {0x80, 1}}) {
        EXPECT_EQ(rtOctetBitLen(static_cast<std::uint8_t>(octet)), length) << octet;
    }
}

}  // namespace
