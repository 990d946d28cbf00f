// The shared codecs over the hand-written tables of sample.h: one type of every form.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "asn1rt/decode.h"
#include "asn1rt/encode.h"
#include "tests/schema/sample/sample.h"

namespace {

using namespace asn1data;
using Octets = std::vector<std::uint8_t>;

/// "30 03 02 01 05" to octets.
Octets hex(const std::string& text) {
    Octets octets;
    std::string digits;
    for (char c : text) {
        if (c != ' ') {
            digits += c;
        }
    }
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        octets.push_back(static_cast<std::uint8_t>(std::stoi(digits.substr(i, 2), nullptr, 16)));
    }
    return octets;
}

std::string toHex(const std::uint8_t* data, std::size_t size) {
    static const char* const kDigits = "0123456789ABCDEF";
    std::string text;
    for (std::size_t i = 0; i < size; ++i) {
        text += (i != 0 ? " " : "");
        text += kDigits[data[i] >> 4];
        text += kDigits[data[i] & 15];
    }
    return text;
}

/// A context for one test; the input of `decode` is copied so that a read past its end shows under the sanitizer.
class SampleCodec : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(rtInitContext(&ctxt_, nullptr), 0); }
    void TearDown() override { rtFreeContext(&ctxt_); }

    template <class Record>
    int decode(int (*decoder)(ASN1CTXT*, Record*, ASN1TagType, int), Record& record, const std::string& octets) {
        input_ = hex(octets);
        rtErrReset(&ctxt_.errInfo);
        const int status = xd_setp(&ctxt_, input_.data(), static_cast<int>(input_.size()), nullptr, nullptr);
        return status != 0 ? status : decoder(&ctxt_, &record, TAG_EXPLICIT, 0);
    }

    template <class Record>
    int encode(int (*encoder)(ASN1CTXT*, Record*, ASN1TagType), Record& record, std::string* octets = nullptr) {
        rtErrReset(&ctxt_.errInfo);
        const int status = xe_setp(&ctxt_, nullptr, 0);
        if (status != 0) {
            return status;
        }
        const int length = encoder(&ctxt_, &record, TAG_EXPLICIT);
        if (length >= 0 && octets != nullptr) {
            *octets = toHex(xe_getp(&ctxt_), static_cast<std::size_t>(length));
        }
        return length;
    }

    /// Decodes, encodes again, and answers the octets, or the status as text.
    template <class Record>
    std::string again(int (*decoder)(ASN1CTXT*, Record*, ASN1TagType, int),
                      int (*encoder)(ASN1CTXT*, Record*, ASN1TagType), const std::string& octets) {
        Record record = {};
        int status = decode(decoder, record, octets);
        if (status != 0) {
            return "decode " + std::to_string(status);
        }
        std::string text;
        status = encode(encoder, record, &text);
        return status < 0 ? "encode " + std::to_string(status) : text;
    }

    ASN1CTXT ctxt_;
    Octets input_;
};

struct Row {
    const char* name;
    const char* input;
    const char* result;  // the octets after encoding again, or the status
};

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

}  // namespace
