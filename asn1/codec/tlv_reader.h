// A walk over the elements of an encoded message, for the few things that the message classes do not return: octets as
// they were received, and values of types that are not decoded.
//
//   TlvReader outer(octets);
//   TlvReader members(outer.nextIf(TlvElement::kSequence));   // empty when there is no such element
//   while (const std::optional<TlvElement> member = members.next()) ...
//
// Accepts headers as the decoders do (X.690, 8.1), lengths in more octets than needed included, but neither the
// indefinite form (its elements end where they contain one) nor tag numbers in more octets than needed (8.1.2.4).
// Nothing is copied, allocated or thrown.
//
// The end of a walk does not show whether the last element was complete: where that matters, compare the sizes of the
// elements with that of the octets. What a primitive element holds is not examined.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "export.h"
#include "foundation/blob.h"

namespace Orvane::ASN1 {

using Octets = std::span<const unsigned char>;

/// One element; its views are parts of the octets that were read, and valid as long as those are.
struct TlvElement {
    /// Tag words: the class in bits 31 and 30, the tag number below; the constructed bit is not part of them, so that a
    /// tag word names the primitive and the constructed form. The numbers below are universal.
    static constexpr std::uint32_t kInteger = 2;
    static constexpr std::uint32_t kBitString = 3;
    static constexpr std::uint32_t kOctetString = 4;
    static constexpr std::uint32_t kObjectIdentifier = 6;
    static constexpr std::uint32_t kEnumerated = 10;
    static constexpr std::uint32_t kSequence = 16;
    static constexpr std::uint32_t kSet = 17;
    static constexpr std::uint32_t kIa5String = 22;
    /// The tag word of a context-specific tag, as in nextIf(TlvElement::context(0)).
    static constexpr std::uint32_t context(std::uint32_t number) { return 0x80000000 | number; }

    std::uint32_t tag = 0;
    bool isConstructed = false;
    Octets whole;    ///< identifier, length and contents octets
    Octets content;  ///< contents octets
};

/// Reads elements that follow one another. The octets must outlive the reader and the elements that it returns. A copy
/// of a reader is a second one at the same place: a cheap way to look ahead.
class TALLOW_EXPORT TlvReader {
public:
    /// Reads the elements in the octets. More than 2,147,483,647 octets read as none.
    explicit TlvReader(Octets octets) noexcept : rest_(octets) {}
    explicit TlvReader(const CBlob& octets) noexcept : rest_(octets.pbData(), octets.cbData()) {}
    explicit TlvReader(CBlob&&) = delete;  // its octets would be gone with the end of the statement
    /// Reads the contents of an element; nothing when it is empty.
    explicit TlvReader(const std::optional<TlvElement>& element) noexcept
        : rest_(element ? element->content : Octets()) {}

    /// Returns the next element; empty at the end. An element that is malformed, indefinite, or longer than the octets
    /// that are left gives an empty result as well and ends the walk: rest() is then empty.
    [[nodiscard]] std::optional<TlvElement> next() noexcept;
    /// Returns the next element if it has this tag word; otherwise empty, and the reader stays where it is.
    [[nodiscard]] std::optional<TlvElement> nextIf(std::uint32_t tag) noexcept;
    /// Skips the next element, a malformed one like next().
    void skip() noexcept { static_cast<void>(next()); }
    /// The octets that are not read yet; empty at the end and after a malformed element.
    Octets rest() const noexcept { return rest_; }

private:
    Octets rest_;
};

}  // namespace Orvane::ASN1
