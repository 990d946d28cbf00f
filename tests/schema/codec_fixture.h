// The fixture for tests of encoders and decoders.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "asn1rt/decode.h"
#include "asn1rt/encode.h"
#include "schema/codec_steps.h"
#include "schema/value_codec.h"
#include "tests/schema/type_row.h"
#include "tests/support/bytes.h"
#include "tests/support/temp_dir.h"
#include "tests/support/vectors.h"

namespace schematest {

using Octets = testkit::Bytes;

/// Decodes in one context; copies and encodes in another. Input is copied to a block of its exact size, so that the
/// sanitizer detects reads past its end.
class CodecTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(rtInitContext(&ctxt_, nullptr), 0);
        ASSERT_EQ(rtInitContext(&writer_, nullptr), 0);
    }
    void TearDown() override {
        rtFreeContext(&writer_);
        rtFreeContext(&ctxt_);
    }

    /// Releases all memory of the context, including that of failed decodes.
    static void renew(ASN1CTXT& ctxt) {
        rtFreeContext(&ctxt);
        ASSERT_EQ(rtInitContext(&ctxt, nullptr), 0);
    }

    int bind(const Octets& octets) {
        input_ = octets;
        rtErrReset(&ctxt_.errInfo);
        return xd_setp(&ctxt_, input_.data(), static_cast<int>(input_.size()), nullptr, nullptr);
    }

    template <class Record>
    int decode(int (*decoder)(ASN1CTXT*, Record*, ASN1TagType, int), Record& record, const Octets& octets) {
        const int status = bind(octets);
        return status != 0 ? status : decoder(&ctxt_, &record, TAG_EXPLICIT, 0);
    }
    template <class Record>
    int decode(int (*decoder)(ASN1CTXT*, Record*, ASN1TagType, int), Record& record, const std::string& hex) {
        return decode(decoder, record, testkit::fromHex(hex));
    }

    /// Returns the number of octets, or a status.
    template <class Record>
    int encode(int (*encoder)(ASN1CTXT*, Record*, ASN1TagType), Record& record) {
        rtErrReset(&ctxt_.errInfo);
        const int status = xe_setp(&ctxt_, nullptr, 0);
        return status != 0 ? status : encoder(&ctxt_, &record, TAG_EXPLICIT);
    }

    /// Encodes a valid record.
    template <class Record>
    Octets encoded(int (*encoder)(ASN1CTXT*, Record*, ASN1TagType), Record& record) {
        const int length = encode(encoder, record);
        EXPECT_GT(length, 0);
        return length > 0 ? Octets(xe_getp(&ctxt_), xe_getp(&ctxt_) + length) : Octets();
    }

    /// Decodes the octets by the type, copies and frees the value, and encodes the copy. Returns "same" if that gives
    /// the same octets, otherwise the octets, or the status of a failed decode.
    std::string again(const TypeRow& type, const Octets& octets) {
        renew(ctxt_);
        std::vector<std::uint64_t> read(type.sizeRecord / sizeof(std::uint64_t) + 1);
        std::vector<std::uint64_t> copied(read.size());
        int status = bind(octets);
        status = status != 0 ? status : type.decode(&ctxt_, read.data(), TAG_EXPLICIT, 0);
        if (status != 0) {
            EXPECT_EQ(ctxt_.errInfo.status, status);
            return std::to_string(status);
        }
        type.copy(&writer_, read.data(), copied.data());
        type.free(&ctxt_, read.data());
        const Octets result = write(type, copied.data());
        type.free(&writer_, copied.data());
        return result == octets ? "same" : testkit::toHex(result);
    }

    /// The result of `again`, after the number of the alternative if the type is a CHOICE.
    std::string alternativeAndResult(const TypeRow& type, const Octets& octets) {
        const std::string result = again(type, octets);
        std::vector<std::uint64_t> value(type.sizeRecord / sizeof(std::uint64_t) + 1);
        const bool isShown = type.info->kind == schema::Kind::Choice && bind(octets) == 0 &&
                             type.decode(&ctxt_, value.data(), TAG_EXPLICIT, 0) == 0;
        return (isShown ? std::to_string(schema::alternativeOf(value.data())) + " " : "") + result;
    }

    /// Encodes the value in the writing context. Returns no octets if that fails.
    Octets write(const TypeRow& type, void* value) {
        EXPECT_EQ(xe_setp(&writer_, nullptr, 0), 0);
        const int length = type.encode(&writer_, value, TAG_EXPLICIT);
        EXPECT_GT(length, 0);
        return length > 0 ? Octets(xe_getp(&writer_), xe_getp(&writer_) + length) : Octets();
    }

    /// Checks the result of every value in the file.
    void runVectors(const std::string& file, const std::vector<TypeRow>& types) {
        testkit::expectVectors("schema/" + file, [&](const std::string& name, const std::string& input) {
            const TypeRow* type = findType(types, name);
            return type != nullptr ? alternativeAndResult(*type, testkit::octets(input)) : "no such type";
        });
    }

    static const TypeRow* findType(const std::vector<TypeRow>& types, const std::string& name) {
        const auto type =
            std::find_if(types.begin(), types.end(), [&](const TypeRow& row) { return row.name == name; });
        return type != types.end() ? &*type : nullptr;
    }

    /// Decodes the octets with each of them damaged in turn, with any result, and every prefix, which must fail.
    template <class Record>
    void survivesDamage(int (*decoder)(ASN1CTXT*, Record*, ASN1TagType, int),
                        int (*encoder)(ASN1CTXT*, Record*, ASN1TagType), const Octets& whole) {
        for (std::size_t i = 0; i < whole.size(); ++i) {
            Octets damaged = whole;
            damaged[i] = static_cast<std::uint8_t>(damaged[i] ^ (i % 3 == 0 ? 0x80 : i % 3 == 1 ? 0xFF : 0x01));
            Record record;
            if (decode(decoder, record, damaged) == 0) {
                encode(encoder, record);
            }
            renew(ctxt_);
            Record cut;
            EXPECT_LT(decode(decoder, cut, Octets(whole.begin(), whole.begin() + static_cast<long>(i))), 0) << i;
        }
    }

    /// Reads a file of tests/data/schema.
    static Octets file(const std::string& name) { return testkit::readFile("data/schema/" + name); }

    /// True when all decoded memory has been freed.
    [[nodiscard]] bool isHeapEmpty() const { return ctxt_.pTypeMemHeap->pFirstBlock == nullptr; }

    ASN1CTXT ctxt_;
    ASN1CTXT writer_;
    Octets input_;
};

}  // namespace schematest
