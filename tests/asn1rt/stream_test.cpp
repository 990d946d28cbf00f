#include "asn1rt/stream.h"

#include <cstring>
#include <string>

#include "tests/asn1rt/runtime_fixture.h"

namespace {

/// A context whose stream collects what is written, after a buffer of 8 octets.
class StreamTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(rtInitContextBuffer(ctx_, buffer_, sizeof buffer_), 0);
        auto* stream = static_cast<ASN1Stream*>(rtMemHeapAllocZ(&ctx_->pMsgMemHeap, sizeof(ASN1Stream)));
        stream->write = [](ASN1Stream* s, const std::uint8_t* data, std::uint32_t length) {
            auto* self = static_cast<StreamTest*>(s->pUser);
            self->written_ += std::string(data, data + length) + "|";
            return self->failure_;
        };
        stream->flush = [](ASN1Stream* s) {
            ++static_cast<StreamTest*>(s->pUser)->flushes_;
            return 0;
        };
        stream->flags = STREAM_FLAG_OUTPUT | STREAM_FLAG_BUFFERED;
        stream->pUser = this;
        ctx_->pStream = stream;
    }

    int write(const char* text) {
        return rtWriteBytes(ctx_, reinterpret_cast<const std::uint8_t*>(text),
                            static_cast<std::uint32_t>(std::strlen(text)));
    }

    rttest::Context ctx_;
    std::uint8_t buffer_[8] = {};
    std::string written_;
    int flushes_ = 0;
    int failure_ = 0;
};

TEST_F(StreamTest, BuffersAndWritesLargePiecesDirectly) {
    EXPECT_EQ(write("abc"), 0);
    EXPECT_EQ(write("defgh"), 0);
    EXPECT_EQ(written_, "");
    EXPECT_EQ(write("i"), 0);
    EXPECT_EQ(write("0123456789"), 0);
    EXPECT_EQ(written_, "abcdefgh|i|0123456789|");
    EXPECT_EQ(ctx_->pStream->bytesWritten, 19U);
    EXPECT_EQ(write("z"), 0);
    EXPECT_EQ(rtCheckBuffer(ctx_, 8), 0);
    EXPECT_EQ(written_, "abcdefgh|i|0123456789|z|");
    EXPECT_EQ(rtCheckBuffer(ctx_, 9), STATUS_BUFFER_FULL);
    EXPECT_EQ(flushes_, 4);
}

TEST_F(StreamTest, ReportsWhatIsMissing) {
    failure_ = STATUS_BUFFER_FULL;
    EXPECT_EQ(rtStreamWrite(ctx_, buffer_, 1), STATUS_BUFFER_FULL);
    EXPECT_EQ(ctx_->pStream->bytesWritten, 0U);
    ctx_->pStream->flags = STREAM_FLAG_BUFFERED;
    EXPECT_EQ(rtStreamWrite(ctx_, buffer_, 1), STATUS_NOT_INITIALIZED);
    EXPECT_EQ(rtStreamBufFlush(ctx_), 0);
    ctx_->pStream->flags = 0;
    EXPECT_EQ(rtStreamBufFlush(ctx_), STATUS_BAD_ARGUMENT);
    ctx_->pStream->flush = nullptr;
    EXPECT_EQ(rtStreamFlush(ctx_), STATUS_BAD_ARGUMENT);
    rtStreamRelease(ctx_);
    EXPECT_EQ(rtStreamWrite(ctx_, buffer_, 1), STATUS_NOT_INITIALIZED);
    EXPECT_EQ(rtStreamBufFlush(ctx_), STATUS_BAD_ARGUMENT);
}

TEST_F(StreamTest, WithoutAStreamADynamicBufferGrows) {
    rtStreamRelease(ctx_);
    EXPECT_EQ(write("12345678"), 0);
    EXPECT_EQ(write("9"), STATUS_BUFFER_FULL);
    ASSERT_EQ(rtInitContextBuffer(ctx_, nullptr, 4), 0);
    EXPECT_EQ(write("123456789"), 0);
    EXPECT_EQ(ctx_->buffer.size, 4U + 16384U);
    EXPECT_EQ(std::string(ctx_->buffer.data, ctx_->buffer.data + 9), "123456789");
    EXPECT_EQ(rtCheckBuffer(ctx_, 0x7FFFFFFF), STATUS_NO_MEMORY);
}

}  // namespace
