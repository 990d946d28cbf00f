#include "asn1rt/copy_values.h"

#include <cstring>

#include "asn1rt/schema_types.h"
#include "tests/asn1rt/runtime_fixture.h"

namespace {

using namespace rttest;

TEST(CopyValues, CountedValuesGetTheirOwnMemory) {
    Context ctx;
    const std::uint8_t octets[] = {1, 2, 3};
    const ASN1TDynBitStr bits{17, octets};
    ASN1TDynBitStr bitsCopy{};
    ASSERT_EQ(rtCopyDynBitStr(ctx, &bits, &bitsCopy), 1);
    EXPECT_NE(bitsCopy.data, bits.data);
    EXPECT_EQ(hexOf(bitsCopy.data, 3), "010203");

    std::uint16_t wide[] = {0x1234, 0x5678};
    const ASN1T16BitCharStr text{2, wide};
    ASN1T16BitCharStr textCopy{};
    ASSERT_EQ(rtCopy16BitCharStr(ctx, &text, &textCopy), 1);
    EXPECT_EQ(std::memcmp(textCopy.data, wide, sizeof wide), 0);

    const ASN1TDynOctStr none{0, octets};
    ASN1TDynOctStr noneCopy{9, octets};
    EXPECT_EQ(rtCopyDynOctStr(ctx, &none, &noneCopy), 1);
    EXPECT_EQ(noneCopy.data, nullptr);
}

TEST(CopyValues, AFailedCopyClaimsNoOctets) {
    Context ctx;
    const std::uint8_t octet = 1;
    std::uint32_t character = 'a';
    const ASN1T32BitCharStr huge{0xFFFFFFFF, &character};
    ASN1T32BitCharStr copy{5, &character};
    EXPECT_EQ(rtCopy32BitCharStr(ctx, &huge, &copy), 0);
    EXPECT_EQ(copy.nchars, 0U);
    EXPECT_EQ(copy.data, nullptr);
    const ASN1TDynOctStr missing{3, nullptr};
    ASN1TDynOctStr octets{1, &octet};
    EXPECT_EQ(rtCopyDynOctStr(ctx, &missing, &octets), 0);
    EXPECT_EQ(octets.numocts, 0U);
}

TEST(CopyValues, EmptyStringsIntoArraysStoreTheCountAndReturnZero) {
    Context ctx;
    const std::uint8_t from[] = {0xAB, 0xCD};
    std::uint8_t to[2] = {};
    std::uint32_t count = 7;
    EXPECT_EQ(rtCopyBitStr(ctx, 0, from, &count, to), 0);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(rtCopyBitStr(ctx, 9, from, &count, to), 1);
    EXPECT_EQ(hexOf(to, 2), "abcd");
    EXPECT_EQ(rtCopyOctStr(ctx, 0, from, &count, to), 0);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(rtCopyOctStr(ctx, 1, from, nullptr, to), 0);
}

TEST(CopyValues, AListOfOpenTypesIsCopiedDeeplyAndMayBeItsOwnSource) {
    Context ctx;
    const std::uint8_t element[] = {5, 0};
    ASN1TOpenType entry{2, element};
    ASN1TSeqOfList list;
    rtDListAppend(ctx, &list, &entry);
    rtDListAppend(ctx, &list, &entry);
    ASSERT_EQ(rtCopyOpenTypeExt(ctx, &list, &list), 1);
    ASSERT_EQ(list.count, 2U);
    const auto* copy = static_cast<const ASN1TOpenType*>(list.pTail->data);
    EXPECT_NE(copy, &entry);
    EXPECT_NE(copy->data, entry.data);
    EXPECT_EQ(hexOf(copy->data, copy->numocts), "0500");
}

TEST(CopyValues, ARecordCopiedByAssignmentLeavesTheReferenceWhereItWas) {
    ASN1CtxtPtr context(new ASN1Context);
    {
        ASN1TPDU owner;
        owner.setContext(context);
        EXPECT_EQ(context->getRefCount(), 2U);
        ASN1TPDU view = owner;
        EXPECT_EQ(view.getContext(), nullptr);
        view = owner;
        EXPECT_EQ(view.getContext(), nullptr);
        owner = view;
        EXPECT_EQ(owner.getContext(), context.get());
        owner.setContext(context);
        EXPECT_EQ(context->getRefCount(), 2U);
    }
    EXPECT_EQ(context->getRefCount(), 1U);
}

}  // namespace
