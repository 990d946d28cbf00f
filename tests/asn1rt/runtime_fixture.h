// A live context for a test, bound to an input or an output buffer.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "asn1rt/decode.h"
#include "asn1rt/encode.h"
#include "tests/support/bytes.h"

namespace rttest {

using testkit::Bytes;
using testkit::fromHex;
using testkit::toHex;

class Context {
public:
    Context() { EXPECT_EQ(rtInitContext(&record, nullptr), 0); }
    ~Context() { rtFreeContext(&record); }
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    operator ASN1CTXT*() { return &record; }
    ASN1CTXT* operator->() { return &record; }

    ASN1CTXT record{};
};

/// The octets of `hex` as a decoder's input, in a block of exactly their size so that AddressSanitizer sees any read
/// behind them.
class Input : public Context {
public:
    explicit Input(std::string_view hex) : Input(fromHex(hex)) {}
    explicit Input(Bytes octets) : octets_(std::move(octets)) {
        octets_.shrink_to_fit();
        // An empty vector has no address, and without one the context would allocate.
        static const std::uint8_t kNothing = 0;
        const std::uint8_t* data = octets_.empty() ? &kNothing : octets_.data();
        EXPECT_EQ(rtInitContextBuffer(&record, data, static_cast<std::uint32_t>(octets_.size())), 0);
    }

    std::uint32_t at() const { return record.buffer.byteIndex; }

private:
    Bytes octets_;
};

/// A growing output buffer, and what has been written to it.
class Output : public Context {
public:
    Output() { EXPECT_EQ(xe_setp(&record, nullptr, 0), 0); }

    std::uint32_t size() const { return record.buffer.size - 1 - record.buffer.byteIndex; }
    /// Whether an answer is the number of octets that stand there now.
    bool counts(int answer) const { return answer >= 0 && static_cast<std::uint32_t>(answer) == size(); }
    Bytes octets() const {
        const std::uint8_t* first = record.buffer.data + record.buffer.byteIndex;
        return Bytes(first, first + size());
    }
    std::string hex() const { return toHex(octets()); }
};

inline std::string hexOf(const std::uint8_t* data, std::size_t size) {
    return toHex(Bytes(data, data + size));
}

}  // namespace rttest
