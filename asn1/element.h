// Elements of a DER message as they stand, for what must keep its bytes: what was signed, certificates, names.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <vector>

#include "foundation/blob.h"

namespace Orvane::ASN1 {

/// One element inside bytes that somebody else holds.
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

/// The first element of `data`. Throws kAsn1Error for a malformed or indefinite one, or one that runs past the end.
CElement firstElement(const unsigned char* data, unsigned long size);

/// The elements that follow one another inside a constructed element; throws as firstElement.
std::vector<CElement> elementsOf(const CElement& constructed);

/// A definite-length element with `tag` around the concatenated parts.
CBlob composeElement(std::uint32_t tag, std::initializer_list<const CBlob*> parts);

}  // namespace Orvane::ASN1
