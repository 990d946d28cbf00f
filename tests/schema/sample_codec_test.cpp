// The shared codecs over the tables of sample.asn1: one type of every form.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "schema/generated/identifiers.h"
#include "schema/generated/sample.h"
#include "tests/schema/codec_fixture.h"

namespace {

using namespace asn1data;
using SampleCodec = schematest::CodecTest;
using schematest::Octets;

struct Row {
    const char* name;
    const char* input;
    const char* result;  // the octets after encoding again, or the status
};

const std::string kEveryForm =
    "30 47 A0 03 02 01 07 02 01 05 01 01 FF 0A 01 01 30 1C 13 01 61 80 01 05 81 01 AA A2 0B 02 01 06 0A 01 00 30 03 0C "
    "01 62 A4 04 03 02 06 40 81 02 06 40 30 08 06 03 88 37 01 0C 01 61 A2 0B 02 01 06 0A 01 00 30 03 13 01 62";

TEST_F(SampleCodec, SequenceMembersComeAndGoByTheRules) {
    // serial 5, level 1, one label "a"; then what the row adds
    const Row rows[] = {
        {"required members alone", "30 0B 02 01 05 0A 01 01 30 03 13 01 61", "30 0B 02 01 05 0A 01 01 30 03 13 01 61"},
        {"explicit version", "30 10 A0 03 02 01 07 02 01 05 0A 01 01 30 03 13 01 61",
         "30 10 A0 03 02 01 07 02 01 05 0A 01 01 30 03 13 01 61"},
        {"default true stays", "30 0E 02 01 05 01 01 FF 0A 01 01 30 03 13 01 61",
         "30 0E 02 01 05 01 01 FF 0A 01 01 30 03 13 01 61"},
        {"default written out is dropped", "30 0E 02 01 05 01 01 00 0A 01 01 30 03 13 01 61",
         "30 0B 02 01 05 0A 01 01 30 03 13 01 61"},
        {"implicit bit string", "30 0F 02 01 05 0A 01 01 30 03 13 01 61 81 02 06 40",
         "30 0F 02 01 05 0A 01 01 30 03 13 01 61 81 02 06 40"},
        {"implicit bit string, constructed", "30 11 02 01 05 0A 01 01 30 03 13 01 61 A1 04 03 02 06 40",
         "30 0F 02 01 05 0A 01 01 30 03 13 01 61 81 02 06 40"},
        {"recursion", "30 18 02 01 05 0A 01 01 30 03 13 01 61 A2 0B 02 01 06 0A 01 00 30 03 13 01 62",
         "30 18 02 01 05 0A 01 01 30 03 13 01 61 A2 0B 02 01 06 0A 01 00 30 03 13 01 62"},
        {"definite length 0", "30 00", "decode -8"},
        {"a required member missing", "30 06 02 01 05 0A 01 01", "decode -8"},
        {"wrong member first", "30 03 0A 01 01", "decode -3"},
        {"an element behind the last", "30 0D 02 01 05 0A 01 01 30 03 13 01 61 05 00", "decode -10"},
        {"members out of order", "30 10 02 01 05 0A 01 01 30 03 13 01 61 A0 03 02 01 07", "decode -10"},
        {"enumerated beyond the largest", "30 0B 02 01 05 0A 01 05 30 03 13 01 61", "decode -6"},
        {"enumerated negative", "30 0B 02 01 05 0A 01 FF 30 03 13 01 61", "decode -6"},
        {"unnamed enumerated below the largest", "30 0B 02 01 05 0A 01 03 30 03 13 01 61",
         "30 0B 02 01 05 0A 01 03 30 03 13 01 61"},
        {"empty list under a size bound", "30 08 02 01 05 0A 01 01 30 00", "decode -23"},
        {"indefinite at the outermost level", "30 80 02 01 05 0A 01 01 30 03 13 01 61 00 00",
         "30 0B 02 01 05 0A 01 01 30 03 13 01 61"},
        {"indefinite list ends the outer value too", "30 80 02 01 05 0A 01 01 30 80 13 01 61 00 00 81 02 06 40 00 00",
         "30 0B 02 01 05 0A 01 01 30 03 13 01 61"},
        {"cut off inside", "30 80 02 01 05 0A 01 01 30 03 13 01", "decode -2"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(again(asn1D_Message, asn1E_Message, row.input), row.result) << row.name;
    }
}

TEST_F(SampleCodec, ChoiceComparesTheWholeTag) {
    const Row rows[] = {
        {"string by value", "13 02 61 62", "13 02 61 62"},
        {"other string", "0C 02 C3 A4", "0C 02 C3 A4"},
        {"number by value", "80 02 00 C8", "80 02 00 C8"},
        {"octets behind a pointer", "81 03 01 02 03", "81 03 01 02 03"},
        {"record behind a pointer", "A2 0B 02 01 06 0A 01 00 30 03 13 01 62", "A2 0B 02 01 06 0A 01 00 30 03 13 01 62"},
        {"null", "83 00", "83 00"},
        {"explicit wrapper", "A4 04 03 02 06 40", "A4 04 03 02 06 40"},
        {"unlisted tag", "04 01 00", "decode -11"},
        {"primitive where constructed is meant", "82 0B 02 01 06 0A 01 00 30 03 13 01 62", "decode -11"},
        {"constructed where primitive is meant", "A3 00", "decode -11"},
        {"wrapper around another type", "A4 03 02 01 05", "decode -3"},
        {"string too long", "13 09 61 61 61 61 61 61 61 61 61", "decode -23"},
        {"string empty", "0C 00", "decode -23"},
        {"eight characters in sixteen octets", "0C 10 C3 A4 C3 A4 C3 A4 C3 A4 C3 A4 C3 A4 C3 A4 C3 A4",
         "0C 10 C3 A4 C3 A4 C3 A4 C3 A4 C3 A4 C3 A4 C3 A4 C3 A4"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(again(asn1D_Label, asn1E_Label, row.input), row.result) << row.name;
    }
}

TEST_F(SampleCodec, ChoiceWithoutAlternativeWritesNothing) {
    ASN1T_Label label;
    for (const std::uint32_t t : {0U, 8U}) {
        label.t = t;
        EXPECT_EQ(encode(asn1E_Label, label), STATUS_BAD_CHOICE) << t;
        EXPECT_EQ(ctxt_.buffer.byteIndex, ctxt_.buffer.size - 1);
    }
    label.t = ASN1T_Label::T_octets;  // and no value behind the pointer
    label.u.octets = nullptr;
    EXPECT_EQ(encode(asn1E_Label, label), STATUS_BAD_VALUE);
}

TEST_F(SampleCodec, SetTakesMembersInAnyOrderOnce) {
    const Row rows[] = {
        {"in order", "31 06 80 01 05 81 01 61", "31 06 80 01 05 81 01 61"},
        {"out of order", "31 06 81 01 61 80 01 05", "31 06 80 01 05 81 01 61"},
        {"optional absent", "31 03 80 01 05", "31 03 80 01 05"},
        {"required absent", "31 03 81 01 61", "decode -8"},
        {"twice", "31 06 80 01 05 80 01 05", "decode -7"},
        {"unknown", "31 06 80 01 05 82 01 05", "decode -9"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(again(asn1D_Pair, asn1E_Pair, row.input), row.result) << row.name;
    }
    const Row growing[] = {
        {"older message", "31 03 80 01 05", "31 03 80 01 05"},
        {"later message", "31 09 81 01 61 82 01 06 80 01 05", "31 09 80 01 05 81 01 61 82 01 06"},
        {"root member missing", "31 03 81 01 61", "decode -8"},
    };
    for (const Row& row : growing) {
        EXPECT_EQ(again(asn1D_GrowingSet, asn1E_GrowingSet, row.input), row.result) << row.name;
    }
}

// The same members under the tag of a SET.
schema::TypeInfo asSet(schema::TypeInfo type) {
    type.kind = schema::Kind::Set;
    return type;
}
const schema::TypeInfo kTypedSet = asSet(kType_Typed);
const schema::TypeInfo kBlobSet = asSet(kType_Blob);

TEST_F(SampleCodec, SetsHaveTablesAndAdditionsToo) {
    const auto typed = [this](const std::string& octets) {
        return again<ASN1T_Typed>(
            [](ASN1CTXT* ctxt, ASN1T_Typed* value, ASN1TagType tagType, int length) {
                const int status = schema::decodeValue(ctxt, kTypedSet, value, tagType, length);
                value->value = {};  // the decoded form is what is written
                return status;
            },
            [](ASN1CTXT* ctxt, ASN1T_Typed* value, ASN1TagType tagType) {
                return schema::encodeValue(ctxt, kTypedSet, value, tagType);
            },
            octets);
    };
    EXPECT_EQ(typed("31 08 0C 01 61 06 03 88 37 01"), "31 08 06 03 88 37 01 0C 01 61");
    EXPECT_EQ(typed("31 08 02 01 61 06 03 88 37 01"), "decode -3");
    const auto blob = [this](const std::string& octets) {
        return again<ASN1T_Blob>([](ASN1CTXT* ctxt, ASN1T_Blob* value, ASN1TagType tagType,
                                    int length) { return schema::decodeValue(ctxt, kBlobSet, value, tagType, length); },
                                 [](ASN1CTXT* ctxt, ASN1T_Blob* value, ASN1TagType tagType) {
                                     return schema::encodeValue(ctxt, kBlobSet, value, tagType);
                                 },
                                 octets);
    };
    EXPECT_EQ(blob("31 0B 02 01 05 04 02 AA BB 30 02 05 00"), "31 0B 04 02 AA BB 02 01 05 30 02 05 00");
}

TEST_F(SampleCodec, ListsKeepOrderAndSetsAreSorted) {
    EXPECT_EQ(again(asn1D_Labels, asn1E_Labels, "30 09 13 01 63 13 01 61 13 01 62"),
              "30 09 13 01 63 13 01 61 13 01 62");
    EXPECT_EQ(again(asn1D_LabelSet, asn1E_LabelSet, "31 0A 13 01 63 13 02 61 62 13 01 61"),
              "31 0A 13 01 61 13 01 63 13 02 61 62");
    EXPECT_EQ(again(asn1D_LabelSet, asn1E_LabelSet, "31 00"), "31 00");
    EXPECT_EQ(again(asn1D_Labels, asn1E_Labels, "30 00"), "decode -23");
    ASN1T_Labels empty;
    EXPECT_EQ(encode(asn1E_Labels, empty), STATUS_CONSTRAINT);
}

TEST_F(SampleCodec, ArrayHoldsWhatWasCounted) {
    const Row rows[] = {
        {"empty", "30 00", "30 00"},
        {"two", "30 07 06 01 2A 06 02 88 37", "30 07 06 01 2A 06 02 88 37"},
        {"indefinite", "30 80 06 01 2A 06 02 88 37 00 00", "30 07 06 01 2A 06 02 88 37"},
        {"wrong element", "30 06 06 01 2A 02 01 05", "decode -3"},
        {"element cut off by the input", "30 06 06 01 2A 06 05 88", "decode -2"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(again(asn1D_Purposes, asn1E_Purposes, row.input), row.result) << row.name;
    }
    ASN1T_Purposes purposes;
    purposes.n = 1;
    EXPECT_EQ(encode(asn1E_Purposes, purposes), STATUS_BAD_VALUE);
}

TEST_F(SampleCodec, ExtensionAdditionsSurvive) {
    EXPECT_EQ(again(asn1D_Blob, asn1E_Blob, "30 0B 04 02 AA BB 02 01 05 30 02 05 00"),
              "30 0B 04 02 AA BB 02 01 05 30 02 05 00");
    EXPECT_EQ(again(asn1D_Blob, asn1E_Blob, "30 00"), "decode -8");
    EXPECT_EQ(again(asn1D_Blob, asn1E_Blob, "30 02 04 00"), "decode -23");
    EXPECT_EQ(again(asn1D_Blob, asn1E_Blob, "30 0B 04 09 00 00 00 00 00 00 00 00 00"), "decode -17");
}

TEST_F(SampleCodec, KnownAdditionsMayBeAbsentAndUnknownOnesSurvive) {
    const Row rows[] = {
        {"older message", "30 03 02 01 05", "30 03 02 01 05"},
        {"this version", "30 0B 02 01 05 0C 01 61 A0 03 13 01 62", "30 0B 02 01 05 0C 01 61 A0 03 13 01 62"},
        {"later message", "30 0A 02 01 05 0C 01 61 05 00 05 00", "30 0A 02 01 05 0C 01 61 05 00 05 00"},
        {"later message without the known additions", "30 05 02 01 05 05 00", "30 05 02 01 05 05 00"},
        {"indefinite length", "30 80 02 01 05 0C 01 61 05 00 00 00", "30 08 02 01 05 0C 01 61 05 00"},
        {"root member missing", "30 03 0C 01 61", "decode -3"},
        {"unknown addition cut off", "30 80 02 01 05 04 7F 61", "decode -18"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(again(asn1D_Growing, asn1E_Growing, row.input), row.result) << row.name;
    }
    ASN1T_Growing growing;
    ASSERT_EQ(decode(asn1D_Growing, growing, std::string("30 06 02 01 05 0C 01 61")), 0);
    EXPECT_TRUE(growing.m.secondPresent && !growing.m.thirdPresent);
    ASSERT_EQ(decode(asn1D_Growing, growing, std::string("30 03 02 01 05")), 0);
    EXPECT_FALSE(growing.m.secondPresent);
}

TEST_F(SampleCodec, AdditionsEndWhereTheSecondRootBegins) {
    const Row rows[] = {
        {"older message", "30 08 02 01 05 0C 01 61 05 00", "30 08 02 01 05 0C 01 61 05 00"},
        {"optional root member absent", "30 08 02 01 05 80 01 FF 05 00", "30 08 02 01 05 80 01 FF 05 00"},
        {"known and unknown addition", "30 0B 02 01 05 80 01 FF 04 01 07 05 00",
         "30 0B 02 01 05 80 01 FF 04 01 07 05 00"},
        {"unknown additions", "30 0C 02 01 05 04 00 04 01 07 0C 00 05 00", "30 0C 02 01 05 04 00 04 01 07 0C 00 05 00"},
        {"root member missing", "30 06 02 01 05 80 01 FF", "decode -8"},
        {"an element behind the last", "30 07 02 01 05 05 00 04 00", "decode -10"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(again(asn1D_Split, asn1E_Split, row.input), row.result) << row.name;
    }
}

TEST_F(SampleCodec, TagNumbersAbove30AreReadAndWritten) {
    const char* const all =
        "30 23 9F 1F 01 05 BF 81 48 03 02 01 06 9F 81 9C 20 01 61 7F 1F 06 9F 81 9C 20 01 62 30 07 FF 81 00 03 02 01 "
        "07";
    const Row rows[] = {
        {"all members", all, all},
        {"optional members absent", "30 06 9F 81 9C 20 01 61", "30 06 9F 81 9C 20 01 61"},
        {"explicit tag without its constructed bit", "30 0D 9F 81 48 03 02 01 06 9F 81 9C 20 01 61",
         "30 0D BF 81 48 03 02 01 06 9F 81 9C 20 01 61"},
        {"another number", "30 06 9F 81 9C 21 01 61", "decode -3"},
        {"another class", "30 06 DF 81 9C 20 01 61", "decode -3"},
        {"number 30", "30 06 9E 04 9C 20 01 61", "decode -3"},
        {"number cut off", "30 03 9F 81 9C", "decode -2"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(again(asn1D_LongTags, asn1E_LongTags, row.input), row.result) << row.name;
    }
}

TEST_F(SampleCodec, SetsMayHaveMoreThan64Members) {
    const auto member = [](int number) {
        const auto octet = static_cast<std::uint8_t>(number);
        return number < 31 ? Octets{static_cast<std::uint8_t>(0x80 + number), 1, octet} : Octets{0x9F, octet, 1, octet};
    };
    const auto set = [&](const std::vector<int>& numbers) {
        Octets contents;
        for (const int number : numbers) {
            const Octets one = member(number);
            contents.insert(contents.end(), one.begin(), one.end());
        }
        const auto size = static_cast<std::uint8_t>(contents.size());
        contents.insert(contents.begin(), {0x31, 0x81, size});
        return contents;
    };
    std::vector<int> numbers(70);
    std::iota(numbers.begin(), numbers.end(), 0);
    const Octets inOrder = set(numbers);
    std::reverse(numbers.begin(), numbers.end());
    ASN1T_LargeSet value;
    ASSERT_EQ(decode(asn1D_LargeSet, value, set(numbers)), 0);
    EXPECT_EQ(value.m69, 69);
    EXPECT_EQ(encoded(asn1E_LargeSet, value), inOrder);
    for (const int number : {5, 63, 64, 69}) {
        std::vector<int> others = numbers;
        others.push_back(number);
        EXPECT_EQ(decode(asn1D_LargeSet, value, set(others)), STATUS_SET_DUPLICATE) << number;
        others.erase(std::remove(others.begin(), others.end(), number), others.end());
        EXPECT_EQ(decode(asn1D_LargeSet, value, set(others)), STATUS_MISSING_ELEMENT) << number;
    }
}

TEST_F(SampleCodec, OpenValuesAreDecodedWhereTheKeyIsKnown) {
    struct {
        const char* name;
        const char* input;
        bool isDecoded;
        int status;
    } const rows[] = {
        {"known", "30 08 06 03 88 37 01 0C 01 61", true, 0},
        {"known, value absent", "30 05 06 03 88 37 01", false, 0},
        {"known, not decodable", "30 08 06 03 88 37 01 02 01 61", false, STATUS_TAG_MISMATCH},
        {"known, inner status of a CHOICE", "30 08 06 03 88 37 02 02 01 61", false, STATUS_BAD_CHOICE},
        {"known, NULL", "30 07 06 03 88 37 03 05 00", false, 0},
        {"known, NULL with contents", "30 08 06 03 88 37 03 05 01 00", false, STATUS_BAD_LENGTH},
        {"known, carried raw", "30 08 06 03 88 37 04 02 01 61", false, 0},
        {"unknown", "30 08 06 03 88 37 05 02 01 61", false, 0},
        {"unknown, shorter", "30 07 06 02 88 37 02 01 61", false, 0},
    };
    for (const auto& row : rows) {
        ASN1T_Typed typed;
        EXPECT_EQ(decode(asn1D_Typed, typed, std::string(row.input)), row.status) << row.name;
        EXPECT_EQ(ctxt_.errInfo.status, row.status) << row.name;
        if (row.status == 0) {
            EXPECT_EQ(typed.valueObject.decoded != nullptr, row.isDecoded) << row.name;
            EXPECT_EQ(again(asn1D_Typed, asn1E_Typed, row.input), row.input) << row.name;
        }
    }
}

TEST_F(SampleCodec, DecodedFormOfAnOpenValueIsWhatIsWritten) {
    ASN1T_Typed typed;
    ASSERT_EQ(decode(asn1D_Typed, typed, std::string("30 08 06 03 88 37 01 0C 01 61")), 0);
    *static_cast<const char**>(typed.valueObject.decoded) = "new";
    std::string octets;
    ASSERT_GT(encode(asn1E_Typed, typed, &octets), 0);
    EXPECT_EQ(octets, "30 0A 06 03 88 37 01 0C 03 6E 65 77");

    typed.valueObject.decoded = nullptr;  // now the raw octets stand, as they were made
    ASSERT_GT(encode(asn1E_Typed, typed, &octets), 0);
    EXPECT_EQ(octets, "30 0A 06 03 88 37 01 0C 03 6E 65 77");
}

TEST_F(SampleCodec, ListedOpenValuesFollowTheSameKey) {
    const char* const input = "30 0D 06 03 88 37 01 31 06 0C 01 62 0C 01 61";
    ASN1T_TypedList list;
    ASSERT_EQ(decode(asn1D_TypedList, list, std::string(input)), 0);
    ASSERT_EQ(list.values.count, 2U);
    for (const _Asn1RTDListNode* node = list.values.pHead; node != nullptr; node = node->pNext) {
        EXPECT_NE(static_cast<const Asn1TObject*>(node->data)->decoded, nullptr);
    }
    std::string octets;
    ASSERT_GT(encode(asn1E_TypedList, list, &octets), 0);
    EXPECT_EQ(octets, "30 0D 06 03 88 37 01 31 06 0C 01 61 0C 01 62");
    EXPECT_EQ(again(asn1D_TypedList, asn1E_TypedList, "30 0D 06 03 88 37 01 31 06 0C 01 62 02 01 61"), "decode -3");
}

TEST_F(SampleCodec, CopiesLiveWithoutTheOriginalAndFreeingTakesAll) {
    ASN1T_Message original;
    ASSERT_EQ(decode(asn1D_Message, original, kEveryForm), 0);
    ASN1T_Message copy;
    asn1Copy_Message(&ctxt_, &original, &copy);
    asn1Copy_Message(&ctxt_, &original, &original);  // nothing
    asn1Free_Message(&ctxt_, &original);
    EXPECT_EQ(original.m.innerPresent, 0U);

    std::string octets;
    ASSERT_GT(encode(asn1E_Message, copy, &octets), 0);
    EXPECT_EQ(octets, kEveryForm);
    asn1Free_Message(&ctxt_, &copy);
}

TEST_F(SampleCodec, FreeingADecodedValueLeavesNothing) {
    ASN1T_Message message;
    ASSERT_EQ(decode(asn1D_Message, message,
                     std::string("30 19 02 01 05 0A 01 01 30 03 13 01 61 81 02 06 40 30 08 06 03 88 37 01 0C 01 61")),
              0);
    ASSERT_FALSE(isHeapEmpty());
    asn1Free_Message(&ctxt_, &message);
    EXPECT_TRUE(isHeapEmpty());
    asn1Free_Message(&ctxt_, &message);  // once more does no harm

    ASN1T_Blob blob;
    ASSERT_EQ(decode(asn1D_Blob, blob, std::string("30 0B 04 02 AA BB 02 01 05 30 02 05 00")), 0);
    asn1Free_Blob(&ctxt_, &blob);
    EXPECT_TRUE(isHeapEmpty());
}

TEST_F(SampleCodec, ValuesDecodedInPlaceAreNotFreed) {
    rtCtxtSetFlag(&ctxt_, CTX_FLAG_ZERO_COPY);
    ASN1T_Typed typed;
    ASSERT_EQ(decode(asn1D_Typed, typed, std::string("30 08 06 03 88 37 05 02 01 61")), 0);
    EXPECT_EQ(typed.value.data, input_.data() + 7);
    asn1Free_Typed(&ctxt_, &typed);
    EXPECT_EQ(typed.value.data, nullptr);
}

TEST_F(SampleCodec, NestingBeyondTheLimitIsRefused) {
    // Message in Message by [2]: each takes a level, and its list of labels another one inside
    const auto nested = [](unsigned levels) {
        Octets octets;
        for (unsigned i = 0; i < levels; ++i) {
            Octets message = testkit::fromHex("02 01 05 0A 01 01 30 03 13 01 61");
            if (!octets.empty()) {
                message.insert(message.end(), {0xA2, 0x82, static_cast<std::uint8_t>(octets.size() >> 8),
                                               static_cast<std::uint8_t>(octets.size())});
                message.insert(message.end(), octets.begin(), octets.end());
            }
            octets = std::move(message);
        }
        Octets whole = {0x30, 0x82, static_cast<std::uint8_t>(octets.size() >> 8),
                        static_cast<std::uint8_t>(octets.size())};
        whole.insert(whole.end(), octets.begin(), octets.end());
        return whole;
    };
    ASN1T_Message message;
    EXPECT_EQ(decode(asn1D_Message, message, nested(62)), 0);
    EXPECT_EQ(ctxt_.levelDepth, 0U);
    EXPECT_EQ(decode(asn1D_Message, message, nested(65)), STATUS_BAD_VALUE);
    EXPECT_EQ(ctxt_.levelDepth, 0U);
}

TEST_F(SampleCodec, TruncatedAndDamagedInputIsSafe) {
    const Octets whole = testkit::fromHex(kEveryForm);
    for (std::size_t i = 0; i < whole.size(); ++i) {
        ASN1T_Message message;
        EXPECT_LT(decode(asn1D_Message, message, Octets(whole.begin(), whole.begin() + static_cast<long>(i))), 0) << i;
        for (const std::uint8_t value : {0x00, 0x80, 0x84, 0xFF}) {
            Octets damaged = whole;
            damaged[i] = value;
            ASN1T_Message other;
            if (decode(asn1D_Message, other, damaged) == 0) {
                EXPECT_GT(encode(asn1E_Message, other), 0) << i;
            }
        }
    }
}

TEST_F(SampleCodec, ControlObjectsEncodeDecodeAndCopy) {
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
    // the copy keeps the context in which its members live
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
