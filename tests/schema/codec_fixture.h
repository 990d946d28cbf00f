// A context for one test, and octets as text, for tests of encoders and decoders.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "asn1rt/decode.h"
#include "asn1rt/encode.h"
#include "schema/value_codec.h"
#include "tests/support/bytes.h"
#include "tests/support/temp_dir.h"

namespace schematest {

using Octets = testkit::Bytes;

/// Octets as the rows spell them: "30 03 02 01 05".
inline std::string spell(const std::uint8_t* data, std::size_t size) {
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
class CodecTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(rtInitContext(&ctxt_, nullptr), 0); }
    void TearDown() override { rtFreeContext(&ctxt_); }

    template <class Record>
    int decode(int (*decoder)(ASN1CTXT*, Record*, ASN1TagType, int), Record& record, const std::string& octets) {
        return decode(decoder, record, testkit::fromHex(octets));
    }

    template <class Record>
    int decode(int (*decoder)(ASN1CTXT*, Record*, ASN1TagType, int), Record& record, const Octets& octets) {
        input_ = octets;
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
            *octets = spell(xe_getp(&ctxt_), static_cast<std::size_t>(length));
        }
        return length;
    }

    /// The octets of a record that can be encoded.
    template <class Record>
    Octets encoded(int (*encoder)(ASN1CTXT*, Record*, ASN1TagType), Record& record) {
        const int length = encode(encoder, record);
        EXPECT_GT(length, 0);
        return length > 0 ? Octets(xe_getp(&ctxt_), xe_getp(&ctxt_) + length) : Octets();
    }

    /// Decodes every prefix, which fails, and what is left of the octets with one of them damaged, whatever comes of
    /// it.
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
            rtFreeContext(&ctxt_);
            ASSERT_EQ(rtInitContext(&ctxt_, nullptr), 0);
            Record cut;
            EXPECT_LT(decode(decoder, cut, Octets(whole.begin(), whole.begin() + static_cast<long>(i))), 0) << i;
        }
    }

    /// A file of tests/data/schema.
    static Octets file(const std::string& name) { return testkit::readFile("data/schema/" + name); }

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

    /// Blocks in the type heap: what has been decoded and not been freed.
    [[nodiscard]] bool isHeapEmpty() const { return ctxt_.pTypeMemHeap->pFirstBlock == nullptr; }

    ASN1CTXT ctxt_;
    Octets input_;
};

}  // namespace schematest
