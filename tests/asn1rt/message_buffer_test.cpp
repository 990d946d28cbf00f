#include "asn1rt/message_buffer.h"

#include <memory>

#include "asn1rt/control_type.h"
#include "asn1rt/decode_strings.h"
#include "asn1rt/decode_values.h"
#include "asn1rt/encode_values.h"
#include "asn1rt/memory_heap.h"
#include "tests/asn1rt/runtime_fixture.h"

namespace {

using namespace rttest;

// INTEGER as a control class.
class IntegerControl : public ASN1CType {
public:
    explicit IntegerControl(std::int32_t& value) : msgData(value) {}
    IntegerControl(ASN1MessageBufferIF& buffer, std::int32_t& value) : ASN1CType(buffer), msgData(value) {}
    int EncodeTo(ASN1MessageBufferIF& buffer) override {
        setMsgBuf(buffer);
        const int status = buffer.init();
        return status != 0 ? status : xe_integer(buffer.getCtxtPtr(), &msgData, TAG_EXPLICIT);
    }
    int DecodeFrom(ASN1MessageBufferIF& buffer) override {
        setMsgBuf(buffer);
        const int status = buffer.init();
        return status != 0 ? status : xd_integer(buffer.getCtxtPtr(), &msgData, TAG_EXPLICIT, 0);
    }

    std::int32_t& msgData;
};

// The status that `action` throws.
template <class Action>
int thrownBy(Action action) {
    try {
        action();
    } catch (const ASN1RTLException& failure) {
        return failure.getStatus();
    }
    return 0;
}

// The octets that `hex` spells, in a block of exactly their size.
std::unique_ptr<std::uint8_t[]> octetsOf(const char* hex) {
    const Bytes octets = fromHex(hex);
    auto block = std::make_unique<std::uint8_t[]>(octets.size());
    std::copy(octets.begin(), octets.end(), block.get());
    return block;
}

TEST(ContextRef, TheLastReferenceFreesTheContext) {
    ASN1CtxtPtr first(new ASN1Context);
    ASN1CtxtPtr second = first;
    EXPECT_EQ(first->getRefCount(), 2U);
    second = second.get();
    ASN1CtxtPtr third = std::move(second);
    EXPECT_TRUE(second.isNull());  // NOLINT(bugprone-use-after-move): the moved-from pointer holds nothing
    first = nullptr;
    EXPECT_EQ(third->getRefCount(), 1U);
    EXPECT_EQ(static_cast<ASN1CTXT*>(third.get())->initCode, ASN1_INIT_CODE);
}

TEST(ContextRef, AContextWithoutMemoryThrows) {
    void* (*const before)(void*, std::size_t) = g_malloc_func;
    g_malloc_func = [](void*, std::size_t) -> void* { return nullptr; };
    const int status = thrownBy([] { ASN1BERDecodeBuffer buffer; });
    g_malloc_func = before;
    EXPECT_EQ(status, STATUS_NO_MEMORY);
}

TEST(EncodeBuffer, StartsAgainFromItsEnd) {
    ASN1BEREncodeBuffer buffer;
    const std::uint8_t* const empty = buffer.getMsgPtr();
    std::int32_t value = 300;
    IntegerControl control(buffer, value);
    ASSERT_EQ(control.Encode(), 4);
    EXPECT_EQ(hexOf(buffer.getMsgPtr(), 4), "0202012c");
    EXPECT_EQ(thrownBy([&] { buffer << control; }), 4) << "the operator throws the length";
    const std::unique_ptr<std::uint8_t[]> copy(buffer.getMsgCopy());
    EXPECT_EQ(hexOf(copy.get(), 5), "0202012c00");
    EXPECT_EQ(buffer.init(), 0);
    EXPECT_EQ(buffer.getMsgPtr(), empty);
}

TEST(EncodeBuffer, AnArrayHoldsOneOctetLessThanItsSize) {
    std::uint8_t area[4] = {9, 9, 9, 9};
    ASN1BEREncodeBuffer buffer(area, 4);
    std::int32_t value = 5;
    IntegerControl control(value);
    EXPECT_EQ(control.EncodeTo(buffer), 3);
    EXPECT_EQ(hexOf(area, 4), "02010509");
    value = 300;
    EXPECT_EQ(control.EncodeTo(buffer), STATUS_BUFFER_FULL);
    EXPECT_EQ(buffer.setBuffer(area, 0), STATUS_BAD_ARGUMENT);
}

TEST(DecodeBuffer, ReadsConsecutiveValuesOfOneElement) {
    const auto octets = octetsOf("3006020105020107");
    ASN1BERDecodeBuffer buffer(octets.get(), 8);
    std::int32_t value = 0;
    IntegerControl control(buffer, value);
    ASSERT_EQ(buffer.init(), 0);
    int length = 0;
    ASSERT_EQ(xd_match1(buffer.getCtxtPtr(), 0x10, &length), 0);
    for (const std::int32_t expected : {5, 7}) {
        buffer >> control;
        EXPECT_EQ(value, expected);
    }
    EXPECT_THROW(buffer >> control, ASN1RTLException);
}

TEST(DecodeBuffer, RebindsWhenTheInputChanges) {
    const auto first = octetsOf("020105");
    const auto second = octetsOf("020107");
    ASN1BERDecodeBuffer buffer;
    EXPECT_EQ(buffer.setBuffer(nullptr, 3), STATUS_NOT_SUPPORTED);
    EXPECT_EQ(buffer.setBuffer(first.get(), 0), STATUS_NOT_SUPPORTED);
    ASSERT_EQ(buffer.setBuffer(first.get(), 3), 0);
    std::int32_t value = 0;
    IntegerControl control(value);
    ASSERT_EQ(control.DecodeFrom(buffer), 0);
    ASSERT_EQ(buffer.setBuffer(first.get(), 3, true), 0);
    EXPECT_EQ(control.DecodeFrom(buffer), STATUS_END_OF_BUFFER);
    ASSERT_EQ(buffer.setBuffer(second.get(), 3, true), 0);
    EXPECT_EQ(control.DecodeFrom(buffer), 0);
    EXPECT_EQ(value, 7);
    const auto broken = octetsOf("0485ffffff");
    EXPECT_EQ(buffer.setBuffer(broken.get(), 5), STATUS_BAD_LENGTH);
}

TEST(DecodeBuffer, FindsElementsDepthFirst) {
    const auto octets = octetsOf("300c30050201050500a203020109");
    ASN1BERDecodeBuffer buffer(octets.get(), 14);
    std::int32_t length = -1;
    EXPECT_EQ(buffer.findElement(kTagInteger, length, false), nullptr);
    EXPECT_EQ(buffer.findElement(kTagInteger, length), octets.get() + 4);
    EXPECT_EQ(length, 1);
    EXPECT_EQ(buffer.findElement(kTagInteger, length, false), octets.get() + 11);
    EXPECT_EQ(buffer.findElement(kTagInteger, length, false), nullptr);
    EXPECT_EQ(buffer.findElement(kTagOctetString, length, true), nullptr);
    // From the SEQUENCE at the front, the search goes on inside it.
    EXPECT_EQ(buffer.findElement(kTagSequence, length, true), octets.get());
    EXPECT_EQ(buffer.findElement(kTagNull, length, false), octets.get() + 7);
}

TEST(DecodeBuffer, ReadsWhatAMemoryBufferHolds) {
    ASN1BERDecodeBuffer buffer;
    ASN1MemBuf memory{};
    rtMemBufInit(buffer.getCtxtPtr(), &memory, 16);
    EXPECT_EQ(buffer.initBuffer(memory), STATUS_BAD_ARGUMENT);
    const Bytes octets = fromHex("020105");
    ASSERT_EQ(rtMemBufAppend(&memory, octets.data(), 3), 0);
    ASSERT_EQ(buffer.initBuffer(memory), 0);
    std::int32_t value = 0;
    IntegerControl control(buffer, value);
    EXPECT_EQ(control.Decode(), 0);
    EXPECT_EQ(value, 5);
    EXPECT_EQ(buffer.initBuffer(static_cast<char*>(nullptr)), STATUS_NOT_SUPPORTED);
    EXPECT_EQ(buffer.initBuffer(static_cast<unsigned short*>(nullptr)), STATUS_NOT_SUPPORTED);
}

TEST(ControlType, DecodedMemoryOutlivesTheBuffer) {
    std::int32_t value = 0;
    IntegerControl control(value);
    EXPECT_EQ(control.Encode(), STATUS_BAD_ARGUMENT);
    const std::uint8_t* data = nullptr;
    {
        const auto octets = octetsOf("0403414243");
        ASN1BERDecodeBuffer buffer(octets.get(), 5);
        control.setMsgBuf(buffer);
        ASSERT_EQ(buffer.init(), 0);
        std::uint32_t size = 0;
        ASSERT_EQ(xd_octstr(buffer.getCtxtPtr(), &data, &size, TAG_EXPLICIT, 0), 0);
    }
    EXPECT_EQ(hexOf(data, 3), "414243");
}

}  // namespace
