#include "tests/support/tlv.h"

#include <charconv>
#include <stdexcept>
#include <string>

namespace testkit::tlv {

namespace {

Bytes base128(std::uint64_t value) {
    Bytes out{static_cast<std::uint8_t>(value & 0x7F)};
    while ((value >>= 7) != 0) {
        out.insert(out.begin(), static_cast<std::uint8_t>(0x80 | (value & 0x7F)));
    }
    return out;
}

Bytes lengthOctets(std::size_t length, int forced = 0) {
    if (forced == 0 && length < 0x80) {
        return {static_cast<std::uint8_t>(length)};
    }
    Bytes octets;
    for (std::size_t rest = length; rest != 0; rest >>= 8) {
        octets.insert(octets.begin(), static_cast<std::uint8_t>(rest));
    }
    while (static_cast<int>(octets.size()) < forced) {
        octets.insert(octets.begin(), 0);
    }
    octets.insert(octets.begin(), static_cast<std::uint8_t>(0x80 | octets.size()));
    return octets;
}

Bytes signedOctets(std::int64_t value) {
    Bytes octets;
    for (int i = 7; i >= 0; --i) {
        octets.push_back(static_cast<std::uint8_t>(static_cast<std::uint64_t>(value) >> (8 * i)));
    }
    while (octets.size() > 1 && ((octets[0] == 0x00 && octets[1] < 0x80) || (octets[0] == 0xFF && octets[1] >= 0x80))) {
        octets.erase(octets.begin());
    }
    return octets;
}

}  // namespace

Bytes raw(std::uint8_t identifier, const Bytes& content) {
    return concat({{identifier}, lengthOctets(content.size()), content});
}

Bytes rawLongLength(std::uint8_t identifier, const Bytes& content, int octets) {
    return concat({{identifier}, lengthOctets(content.size(), octets), content});
}

Bytes integer(std::int64_t value) {
    return raw(0x02, signedOctets(value));
}

Bytes enumerated(std::int64_t value) {
    return raw(0x0A, signedOctets(value));
}

Bytes oid(std::string_view dotted) {
    std::vector<std::uint64_t> arcs;
    for (const char* at = dotted.data(); at < dotted.data() + dotted.size(); ++at) {
        std::uint64_t arc = 0;
        const auto [end, error] = std::from_chars(at, dotted.data() + dotted.size(), arc);
        if (error != std::errc()) {
            throw std::invalid_argument("not an object identifier: " + std::string(dotted));
        }
        arcs.push_back(arc);
        at = end;
    }
    if (arcs.size() < 2) {
        throw std::invalid_argument("an object identifier has two arcs at least");
    }
    Bytes content = base128(arcs[0] * 40 + arcs[1]);
    for (std::size_t i = 2; i < arcs.size(); ++i) {
        const Bytes arc = base128(arcs[i]);
        content.insert(content.end(), arc.begin(), arc.end());
    }
    return raw(0x06, content);
}

Bytes bitString(const Bytes& content, unsigned unusedBits) {
    return raw(0x03, concat({{static_cast<std::uint8_t>(unusedBits)}, content}));
}

}  // namespace testkit::tlv
