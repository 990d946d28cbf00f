#include "asn1/codec/tlv_reader.h"

#include <limits>

#include "asn1rt/decode_core.h"

namespace Orvane::ASN1 {

namespace {

// Whether a tag number takes no more octets than it needs (X.690, 8.1.2.4), so that no other form passes for a known
// tag.
bool isMinimal(Octets header) {
    constexpr unsigned char kLongForm = 0x1F;
    return (header[0] & kLongForm) != kLongForm || header[1] > 0x80 || (header[1] >= kLongForm && header[1] < 0x80);
}

}  // namespace

std::optional<TlvElement> TlvReader::next() noexcept {
    constexpr std::uint32_t kConstructedBit = 0x20000000;
    const Octets octets = rest_;
    rest_ = {};
    if (octets.empty() || octets.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
        return std::nullopt;
    }
    ASN1CTXT reader = decoding::readOnlyContext();
    // The buffer is only read; the runtime's record has one pointer for both directions.
    reader.buffer.data = const_cast<std::uint8_t*>(octets.data());
    reader.buffer.size = static_cast<std::uint32_t>(octets.size());
    ASN1TAG tag = 0;
    int length = 0;
    if (decoding::readHeader(&reader, &tag, &length, MATCH_ADVANCE) != 0 || !decoding::holds(&reader, length)) {
        return std::nullopt;
    }
    const std::size_t headerSize = reader.buffer.byteIndex;
    if (!isMinimal(octets.first(headerSize))) {
        return std::nullopt;
    }
    const auto contentSize = static_cast<std::size_t>(length);
    rest_ = octets.subspan(headerSize + contentSize);
    return TlvElement{tag & ~kConstructedBit, (tag & kConstructedBit) != 0, octets.first(headerSize + contentSize),
                      octets.subspan(headerSize, contentSize)};
}

std::optional<TlvElement> TlvReader::nextIf(std::uint32_t tag) noexcept {
    TlvReader ahead(rest_);
    const std::optional<TlvElement> element = ahead.next();
    if (!element || element->tag != tag) {
        return std::nullopt;
    }
    rest_ = ahead.rest_;
    return element;
}

}  // namespace Orvane::ASN1
