// A live context for a test, bound to an input or an output buffer.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "asn1rt/decode.h"
#include "asn1rt/encode.h"
#include "asn1rt/status.h"
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
/// after them.
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
    /// Whether a result is the number of octets that are there now.
    bool counts(int answer) const { return answer >= 0 && static_cast<std::uint32_t>(answer) == size(); }
    Bytes octets() const {
        const std::uint8_t* first = record.buffer.data + record.buffer.byteIndex;
        return Bytes(first, first + size());
    }
    std::string hex() const { return toHex(octets()); }
};

/// The name without STATUS_, for vectors.
inline std::string statusName(int status) {
    static constexpr std::pair<int, const char*> kNames[] = {
        {STATUS_BUFFER_FULL, "BUFFER_FULL"},
        {STATUS_END_OF_BUFFER, "END_OF_BUFFER"},
        {STATUS_TAG_MISMATCH, "TAG_MISMATCH"},
        {STATUS_BAD_OBJECT_ID, "BAD_OBJECT_ID"},
        {STATUS_BAD_LENGTH, "BAD_LENGTH"},
        {STATUS_NO_MEMORY, "NO_MEMORY"},
        {STATUS_STRING_OVERFLOW, "STRING_OVERFLOW"},
        {STATUS_BAD_VALUE, "BAD_VALUE"},
        {STATUS_BAD_TAG, "BAD_TAG"},
        {STATUS_BAD_UTF8, "BAD_UTF8"},
        {STATUS_BAD_ARGUMENT, "BAD_ARGUMENT"},
        {STATUS_BAD_DATETIME, "BAD_DATETIME"},
        {STATUS_TOO_BIG, "TOO_BIG"},
    };
    for (const auto& [number, name] : kNames) {
        if (number == status) {
            return name;
        }
    }
    return std::to_string(status);
}

/// What a decoder returned, for vectors: the value, and where it stopped unless at the end of the input; or the status,
/// and the one in the context if that differs.
inline std::string reported(Input& in, int status, const std::string& value) {
    if (status == 0) {
        const std::string recorded = in->errInfo.status != 0 ? " recorded " + statusName(in->errInfo.status) : "";
        return value + (in.at() == in->buffer.size ? "" : " @" + std::to_string(in.at())) + recorded;
    }
    EXPECT_TRUE(status != STATUS_TAG_MISMATCH || in.at() == 0) << "a mismatch must not move the position";
    return statusName(status) + (in->errInfo.status != status ? " recorded " + statusName(in->errInfo.status) : "");
}

/// What an encoder returned, for vectors: the octets, whose number it must have returned, or the status.
inline std::string reported(const Output& out, int answer) {
    return out.counts(answer) ? out.hex() : statusName(answer);
}

/// The text in a block of exactly its size, so that AddressSanitizer sees any step over its NUL.
inline std::unique_ptr<char[]> exactly(const std::string& text) {
    auto block = std::make_unique<char[]>(text.size() + 1);
    std::copy(text.begin(), text.end(), block.get());
    return block;
}

inline std::string hexOf(const std::uint8_t* data, std::size_t size) {
    return toHex(Bytes(data, data + size));
}

}  // namespace rttest
