// Reads elements of a DER message byte for byte, for content that must not be encoded again: signed data, certificates,
// names.
#pragma once

#include <cstdint>
#include <initializer_list>

#include "foundation/blob.h"

namespace Orvane::ASN1 {

/// One element inside bytes that another owner holds.
struct CElement {
    std::uint32_t tag = 0;  ///< tag word: class in bits 31 and 30, constructed in bit 29, number below
    CBlob whole() const { return CBlob(begin, headerSize + contentSize); }
    CBlob content() const { return CBlob(begin + headerSize, contentSize); }

    const unsigned char* begin = nullptr;
    unsigned long headerSize = 0;
    unsigned long contentSize = 0;
};

inline constexpr std::uint32_t kTagSequenceWord = 0x20000010;
/// The tag word of a constructed context tag.
constexpr std::uint32_t contextTag(std::uint32_t number) {
    return 0xA0000000 | number;
}
/// Whether the element has this context tag, constructed or not: the decoders do not look at that bit either.
constexpr bool hasContextTag(const CElement& element, std::uint32_t number) {
    return (element.tag | 0x20000000) == contextTag(number);
}

/// The first element of `data`. Throws kAsn1Error for a malformed or indefinite one, or one that runs past the end.
CElement firstElement(const unsigned char* data, unsigned long size);

/// The octets that the first element of `data` takes, in either form of its length; all of them when its end is
/// missing.
unsigned long sizeOfFirst(const CBlob& data);

/// Reads the elements that follow one another inside a constructed element. Allocates nothing; the bytes must
/// outlive it.
class CElementReader {
public:
    explicit CElementReader(const CElement& constructed)
        : position_(constructed.begin + constructed.headerSize), remaining_(constructed.contentSize) {}

    bool atEnd() const { return remaining_ == 0; }
    /// The next element; throws as firstElement, also at the end.
    CElement next();

private:
    const unsigned char* position_;
    unsigned long remaining_;
};

/// A definite-length element with `tag` around the concatenated parts.
CBlob composeElement(std::uint32_t tag, std::initializer_list<const CBlob*> parts);

}  // namespace Orvane::ASN1
