#include "cli/der_view.h"

#include <cstddef>

namespace tallow::cli {

namespace {

struct Header {
    unsigned identifier = 0;
    std::size_t size = 0;     // of identifier and length octets
    std::size_t content = 0;  // octets that follow
};

// The one place where octets are read. Empty when the header is malformed, of a tag number above 30 or an indefinite
// length, or tells of more octets than there are.
std::optional<Header> readHeader(Octets octets) {
    constexpr unsigned kHighTagNumber = 0x1F;
    constexpr unsigned kLongForm = 0x80;
    constexpr std::size_t kLargestLengthOctets = 4;
    if (octets.size() < 2 || (octets[0] & kHighTagNumber) == kHighTagNumber || octets[1] == kLongForm) {
        return std::nullopt;
    }
    Header header{octets[0], 2, octets[1]};
    if (octets[1] > kLongForm) {
        const std::size_t count = octets[1] - kLongForm;
        if (count > kLargestLengthOctets || octets.size() - header.size < count) {
            return std::nullopt;
        }
        header.content = 0;
        for (std::size_t i = 0; i < count; ++i) {
            header.content = header.content << 8U | octets[header.size + i];
        }
        header.size += count;
    }
    return octets.size() - header.size < header.content ? std::nullopt : std::optional(header);
}

}  // namespace

std::optional<DerElement> DerView::next() {
    constexpr unsigned kConstructed = 0x20;
    const std::optional<Header> header = readHeader(rest_);
    if (!header) {
        rest_ = {};
        return std::nullopt;
    }
    const std::size_t size = header->size + header->content;
    const DerElement element{header->identifier & ~kConstructed, rest_.first(size),
                             rest_.subspan(header->size, header->content)};
    rest_ = rest_.subspan(size);
    return element;
}

std::optional<DerElement> DerView::nextIf(unsigned tag) {
    DerView ahead(rest_);
    const std::optional<DerElement> element = ahead.next();
    if (!element || !element->is(tag)) {
        return std::nullopt;
    }
    rest_ = ahead.rest_;
    return element;
}

}  // namespace tallow::cli
