// Tests of the shared codecs with the types of sample.asn1, which has one type of every form.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "schema/generated/identifiers.h"
#include "schema/generated/sample.h"
#include "tests/schema/codec_fixture.h"

namespace {

using namespace asn1data;
using ValueCodec = schematest::CodecTest;
using schematest::Octets;

const std::string kEveryForm =
    "30 47 A0 03 02 01 07 02 01 05 01 01 FF 0A 01 01 30 1C 13 01 61 80 01 05 81 01 AA A2 0B 02 01 06 0A 01 00 30 03 0C "
    "01 62 A4 04 03 02 06 40 81 02 06 40 30 08 06 03 88 37 01 0C 01 61 A2 0B 02 01 06 0A 01 00 30 03 13 01 62";

TEST_F(ValueCodec, GivesTheResultsOfTheVectors) {
    runVectors(
        "sample_vectors.txt",
        {TYPE_ROW(Blob, Blob), TYPE_ROW(BlobSet, BlobSet), TYPE_ROW(Growing, Growing), TYPE_ROW(GrowingSet, GrowingSet),
         TYPE_ROW(Label, Label), TYPE_ROW(Labels, Labels), TYPE_ROW(LabelSet, LabelSet), TYPE_ROW(LargeSet, LargeSet),
         TYPE_ROW(LongTags, LongTags), TYPE_ROW(Message, Message), TYPE_ROW(Pair, Pair), TYPE_ROW(Purposes, Purposes),
         TYPE_ROW(Split, Split), TYPE_ROW(Typed, Typed), TYPE_ROW(TypedList, TypedList), TYPE_ROW(TypedSet, TypedSet)});
}

TEST_F(ValueCodec, PresenceBitsShowWhichAdditionsArePresent) {
    ASN1T_Growing growing;
    ASSERT_EQ(decode(asn1D_Growing, growing, "30 06 02 01 05 0C 01 61"), 0);
    EXPECT_TRUE(growing.m.secondPresent && !growing.m.thirdPresent);
    ASSERT_EQ(decode(asn1D_Growing, growing, "30 03 02 01 05"), 0);
    EXPECT_FALSE(growing.m.secondPresent);
}

TEST_F(ValueCodec, AReusedRecordKeepsNothingOfTheMessageBefore) {
    ASN1T_BlobSet blob;
    ASN1T_TypedSet typed;
    for (const bool isFirst : {true, false}) {
        ASSERT_EQ(decode(asn1D_BlobSet, blob, "31 06 04 01 AA 05 01 00"), 0);
        EXPECT_EQ(blob.extensionAdditions.count, 1U);
        ASSERT_EQ(decode(asn1D_TypedSet, typed, isFirst ? "31 08 06 03 88 37 01 0C 01 61" : "31 05 06 03 88 37 01"), 0);
        EXPECT_EQ(typed.valueObject.decoded != nullptr, isFirst);
    }
}

TEST_F(ValueCodec, DoesNotEncodeInvalidValues) {
    ASN1T_Label label;
    for (const std::uint32_t t : {0U, 8U}) {
        label.t = t;
        EXPECT_EQ(encode(asn1E_Label, label), STATUS_BAD_CHOICE) << t;
        EXPECT_EQ(ctxt_.buffer.byteIndex, ctxt_.buffer.size - 1);
    }
    ASN1T_Labels labels;
    EXPECT_EQ(encode(asn1E_Labels, labels), STATUS_CONSTRAINT);
    ASN1T_Purposes purposes;
    purposes.n = 1;
    EXPECT_EQ(encode(asn1E_Purposes, purposes), STATUS_BAD_VALUE);
    label.t = ASN1T_Label::T_printable;  // too short without text
    label.u.printable = nullptr;
    EXPECT_EQ(encode(asn1E_Label, label), STATUS_CONSTRAINT);
    label.t = ASN1T_Label::T_octets;  // with a null pointer
    label.u.octets = nullptr;
    EXPECT_EQ(encode(asn1E_Label, label), STATUS_BAD_VALUE);
}

TEST_F(ValueCodec, DecodesOpenValuesWithAKnownKey) {
    const struct {
        const char* name;
        const char* input;
        bool isDecoded;
    } rows[] = {
        {"known", "30 08 06 03 88 37 01 0C 01 61", true},
        {"known, value absent", "30 05 06 03 88 37 01", false},
        {"known, NULL", "30 07 06 03 88 37 03 05 00", false},
        {"known, carried raw", "30 08 06 03 88 37 04 02 01 61", false},
        {"unknown", "30 08 06 03 88 37 05 02 01 61", false},
    };
    for (const auto& row : rows) {
        ASN1T_Typed typed;
        EXPECT_EQ(decode(asn1D_Typed, typed, row.input), 0) << row.name;
        ASN1T_Typed copy;
        asn1Copy_Typed(&writer_, &typed, &copy);
        for (const void* decoded : {typed.valueObject.decoded, copy.valueObject.decoded}) {
            EXPECT_EQ(decoded != nullptr, row.isDecoded) << row.name;
        }
    }
    ASN1T_TypedList list;
    ASSERT_EQ(decode(asn1D_TypedList, list, "30 0A 06 03 88 37 01 31 03 0C 01 62"), 0);
    EXPECT_NE(static_cast<const Asn1TObject*>(list.values.pHead->data)->decoded, nullptr);
}

TEST_F(ValueCodec, EncodesTheDecodedFormOfAnOpenValue) {
    const Octets expected = testkit::fromHex("30 0A 06 03 88 37 01 0C 03 6E 65 77");
    ASN1T_Typed typed;
    ASSERT_EQ(decode(asn1D_Typed, typed, "30 08 06 03 88 37 01 0C 01 61"), 0);
    *static_cast<const char**>(typed.valueObject.decoded) = "new";
    EXPECT_EQ(encoded(asn1E_Typed, typed), expected);
    typed.valueObject.decoded = nullptr;  // now the raw octets are encoded
    EXPECT_EQ(encoded(asn1E_Typed, typed), expected);
    ASSERT_EQ(decode(asn1D_Typed, typed, "30 08 06 03 88 37 02 13 01 61"), 0);
    static_cast<ASN1T_Label*>(typed.valueObject.decoded)->t = 0;
    EXPECT_EQ(encode(asn1E_Typed, typed), STATUS_BAD_CHOICE);
}

TEST_F(ValueCodec, CopyingAValueOntoItselfDoesNothing) {
    ASN1T_Message message;
    ASSERT_EQ(decode(asn1D_Message, message, kEveryForm), 0);
    asn1Copy_Message(&ctxt_, &message, &message);
    EXPECT_EQ(encoded(asn1E_Message, message), testkit::fromHex(kEveryForm));
    asn1Free_Message(&ctxt_, &message);
    EXPECT_EQ(message.m.innerPresent, 0U);
}

TEST_F(ValueCodec, FreeingTwiceDoesNoHarm) {
    ASN1T_Message message;
    ASSERT_EQ(decode(asn1D_Message, message, kEveryForm), 0);
    ASSERT_FALSE(isHeapEmpty());
    for (int i = 0; i < 2; ++i) {
        asn1Free_Message(&ctxt_, &message);
        EXPECT_TRUE(isHeapEmpty());
    }
}

TEST_F(ValueCodec, DoesNotFreeZeroCopyValues) {
    rtCtxtSetFlag(&ctxt_, CTX_FLAG_ZERO_COPY);
    ASN1T_Typed typed;
    ASSERT_EQ(decode(asn1D_Typed, typed, "30 08 06 03 88 37 05 02 01 61"), 0);
    EXPECT_EQ(typed.value.data, input_.data() + 7);
    asn1Free_Typed(&ctxt_, &typed);
    EXPECT_EQ(typed.value.data, nullptr);
}

TEST_F(ValueCodec, RejectsNestingBeyondTheLimit) {
    // Messages nested by [2]. Each takes one level; the list of labels in the innermost takes another
    const auto nested = [](int levels) {
        std::string message = "02{05} 0A{01} 30{13{61}}";
        for (int i = 1; i < levels; ++i) {
            message = "02{05} 0A{01} 30{13{61}} A2{" + message + "}";
        }
        return testkit::octets("30{" + message + "}");
    };
    ASN1T_Message message;
    EXPECT_EQ(decode(asn1D_Message, message, nested(62)), 0);
    EXPECT_EQ(ctxt_.levelDepth, 0U);
    EXPECT_EQ(decode(asn1D_Message, message, nested(65)), STATUS_BAD_VALUE);
    EXPECT_EQ(ctxt_.levelDepth, 0U);
}

TEST_F(ValueCodec, DamagedInputIsSafe) {
    survivesDamage(asn1D_Message, asn1E_Message, testkit::fromHex(kEveryForm));
}

TEST_F(ValueCodec, ControlObjectsEncodeDecodeAndCopy) {
    const Octets input = testkit::fromHex("30 0B 02 01 05 0A 01 01 30 03 13 01 61");
    std::unique_ptr<ASN1T_Message> kept;
    {
        ASN1BERDecodeBuffer buffer(input.data(), static_cast<int>(input.size()));
        ASN1T_Message message;
        ASN1C_Message control(buffer, message);
        ASSERT_EQ(control.DecodeFrom(buffer), 0);
        kept.reset(control.newCopy());
        ASN1C_Message other(control);
        EXPECT_NE(&other.msgData, &message);
        EXPECT_EQ(other.msgData.labels.count, 1U);
        const ASN1T_Message record(control);
        EXPECT_EQ(record.getContext(), control.getContext());
        EXPECT_STREQ(record.serial, "0x05");
    }
    // the copy keeps the context of its members alive
    ASN1C_Message control(*kept);
    ASN1BEREncodeBuffer buffer;
    const int length = control.EncodeTo(buffer);
    ASSERT_EQ(length, static_cast<int>(input.size()));
    EXPECT_EQ(std::memcmp(buffer.getMsgPtr(), input.data(), input.size()), 0);

    ASN1T_When when = "20240229120000Z";
    ASN1C_When time(when);
    EXPECT_EQ(time.getYear(), 2024);
    EXPECT_EQ(time.EncodeTo(buffer), 17);
    ASN1T_Labels labels;
    ASN1C_Labels list(labels);
    EXPECT_EQ(list.EncodeTo(buffer), STATUS_CONSTRAINT);
}

}  // namespace
