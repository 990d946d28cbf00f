// Contexts for one test, for tests of encoders and decoders.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "asn1rt/decode.h"
#include "asn1rt/encode.h"
#include "schema/value_codec.h"
#include "tests/schema/type_row.h"
#include "tests/schema/vectors.h"
#include "tests/support/bytes.h"
#include "tests/support/temp_dir.h"

namespace schematest {

using Octets = testkit::Bytes;

/// Values are read in one context, and copied and written in another. The input is copied, so that the sanitizer sees a
/// read past its end.
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

    /// Drops all that the context holds, also what a failed decoder has left.
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

    /// The octets written, or a status.
    template <class Record>
    int encode(int (*encoder)(ASN1CTXT*, Record*, ASN1TagType), Record& record) {
        rtErrReset(&ctxt_.errInfo);
        const int status = xe_setp(&ctxt_, nullptr, 0);
        return status != 0 ? status : encoder(&ctxt_, &record, TAG_EXPLICIT);
    }

    /// The octets of a record that can be encoded.
    template <class Record>
    Octets encoded(int (*encoder)(ASN1CTXT*, Record*, ASN1TagType), Record& record) {
        const int length = encode(encoder, record);
        EXPECT_GT(length, 0);
        return length > 0 ? Octets(xe_getp(&ctxt_), xe_getp(&ctxt_) + length) : Octets();
    }

    /// Reads the octets by the type, copies and frees the value, and writes the copy. Returns "same" when that gives
    /// the same octets, the octets when it does not, or the status that stopped it.
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

    /// The value of the type in the writing context; no octets when it cannot be encoded.
    Octets write(const TypeRow& type, void* value) {
        EXPECT_EQ(xe_setp(&writer_, nullptr, 0), 0);
        const int length = type.encode(&writer_, value, TAG_EXPLICIT);
        EXPECT_GT(length, 0);
        return length > 0 ? Octets(xe_getp(&writer_), xe_getp(&writer_) + length) : Octets();
    }

    /// Every value of the file gives its result.
    void runVectors(const std::string& file, const std::vector<TypeRow>& types) {
        for (const Vector& vector : readVectors(file)) {
            SCOPED_TRACE(vector.type + ": " + vector.name);
            const TypeRow* type = findType(types, vector.type);
            ASSERT_NE(type, nullptr);
            EXPECT_EQ(again(*type, vector.input), vector.result);
        }
    }

    static const TypeRow* findType(const std::vector<TypeRow>& types, const std::string& name) {
        const auto type =
            std::find_if(types.begin(), types.end(), [&](const TypeRow& row) { return row.name == name; });
        return type != types.end() ? &*type : nullptr;
    }

    /// Decodes every prefix, which fails, and the octets with one of them damaged, with any result.
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

    /// A file of tests/data/schema.
    static Octets file(const std::string& name) { return testkit::readFile("data/schema/" + name); }

    /// True when all that was decoded has been freed.
    [[nodiscard]] bool isHeapEmpty() const { return ctxt_.pTypeMemHeap->pFirstBlock == nullptr; }

    ASN1CTXT ctxt_;
    ASN1CTXT writer_;
    Octets input_;
};

}  // namespace schematest
