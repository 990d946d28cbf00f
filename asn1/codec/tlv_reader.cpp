#include "asn1/codec/tlv_reader.h"

#include <limits>

#include "asn1rt/decode_core.h"

namespace Orvane::ASN1 {

namespace {

constexpr unsigned char kLongForm = 0x1F;

// Whether a tag number in several octets takes no more of them than it needs (X.690, 8.1.2.4), so that no other form
// passes for a known tag.
bool isMinimal(Octets header) {
    return header[1] > 0x80 || (header[1] >= kLongForm && header[1] < 0x80);
}

bool isLongTag(Octets octets) {
    return !octets.empty() && (octets[0] & kLongForm) == kLongForm;
}

struct Header {
    std::uint32_t tag;
    std::size_t size;
    std::size_t length;
};

// The header of an element whose tag takes one octet: nearly all of them. Reads it as decoding::readHeader does,
// without a context.
std::optional<Header> shortTagHeader(Octets octets) {
    if (octets.size() < 2) {
        return std::nullopt;
    }
    const std::uint32_t tag = (octets[0] & 0xE0U) << 24 | (octets[0] & kLongForm);
    const std::size_t first = octets[1];
    if (first < 0x80) {
        return Header{tag, 2, first};
    }
    const std::size_t count = first & 0x7F;
    if (count == 0 || count > 4 || count > octets.size() - 2) {
        return std::nullopt;
    }
    std::size_t length = 0;
    for (const unsigned char octet : octets.subspan(2, count)) {
        length = length << 8 | octet;
    }
    return Header{tag, 2 + count, length};
}

std::optional<Header> longTagHeader(Octets octets) {
    ASN1CTXT reader = decoding::readOnlyContext();
    // The buffer is only read; the runtime's record has one pointer for both directions.
    reader.buffer.data = const_cast<std::uint8_t*>(octets.data());
    reader.buffer.size = static_cast<std::uint32_t>(octets.size());
    ASN1TAG tag = 0;
    int length = 0;
    if (decoding::readHeader(&reader, &tag, &length, MATCH_ADVANCE) != 0 || length < 0 ||
        !isMinimal(octets.first(reader.buffer.byteIndex))) {
        return std::nullopt;
    }
    return Header{tag, reader.buffer.byteIndex, static_cast<std::size_t>(length)};
}

}  // namespace

std::optional<TlvElement> TlvReader::next() noexcept {
    constexpr std::uint32_t kConstructedBit = 0x20000000;
    const Octets octets = rest_;
    rest_ = {};
    if (octets.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
        return std::nullopt;
    }
    const std::optional<Header> header = isLongTag(octets) ? longTagHeader(octets) : shortTagHeader(octets);
    if (!header || header->length > octets.size() - header->size) {
        return std::nullopt;
    }
    rest_ = octets.subspan(header->size + header->length);
    return TlvElement{header->tag & ~kConstructedBit, (header->tag & kConstructedBit) != 0,
                      octets.first(header->size + header->length), octets.subspan(header->size, header->length)};
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
