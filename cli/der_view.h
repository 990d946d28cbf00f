// A walk over the elements of a message for the few things that the message classes do not hand out: version, signature
// octets, a requestor's name of an unusual kind. The message was decoded before, but this reader trusts it no more for
// that: what does not fit, an indefinite length included, which the decoders take as little, ends the walk.
#pragma once

#include <optional>
#include <span>

namespace tallow::cli {

using Octets = std::span<const unsigned char>;

struct DerElement {
    unsigned tag = 0;  // the identifier octet without the bit that says constructed
    Octets whole;
    Octets content;

    bool is(unsigned wanted) const { return tag == wanted; }
};

inline constexpr unsigned kTagInteger = 0x02;
inline constexpr unsigned kTagBitString = 0x03;
inline constexpr unsigned kTagOctetString = 0x04;
inline constexpr unsigned kTagObjectIdentifier = 0x06;
inline constexpr unsigned kTagEnumerated = 0x0A;
inline constexpr unsigned kTagSequence = 0x10;
inline constexpr unsigned kTagSet = 0x11;
inline constexpr unsigned kTagIa5String = 0x16;
constexpr unsigned contextTag(unsigned number) {
    return 0x80 | number;
}

/// Elements one behind the other. Reads nothing outside of the octets, which must outlive it and what it gives.
class DerView {
public:
    explicit DerView(Octets octets) : rest_(octets) {}
    /// What is inside of an element; nothing for none.
    explicit DerView(const std::optional<DerElement>& element) : rest_(element ? element->content : Octets()) {}

    /// The next element; empty at the end, and for good when one is malformed.
    std::optional<DerElement> next();
    /// The next one if it has this tag; otherwise empty, and it stays the next.
    std::optional<DerElement> nextIf(unsigned tag);
    Octets rest() const { return rest_; }

private:
    Octets rest_;
};

}  // namespace tallow::cli
