// Edits of a DER structure, chosen by a fuzzer: elements change, vanish, double and move, and the lengths around them
// stay right, so that most results still decode. What is in an OCTET STRING counts as elements too, where it is some.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "tests/support/bytes.h"

namespace fuzz {

using testkit::Bytes;

/// One edit is five octets: operation, element (two octets), argument, value.
inline constexpr std::size_t kEditSize = 5;

struct Edit {
    std::uint8_t operation = 0;
    std::size_t element = 0;  // in the order of the octets, modulo their number
    std::uint8_t argument = 0;
    std::uint8_t value = 0;
};

/// At most `most` edits; an incomplete one at the end is left out.
std::vector<Edit> editsIn(std::span<const std::uint8_t> input, std::size_t most = 24);

/// The structure after the edits. It must be one DER element; otherwise it is returned unchanged.
Bytes edited(const Bytes& der, std::span<const Edit> edits);

/// Whether there is an INTEGER or OBJECT IDENTIFIER in it that is not as X.690, 8.3 and 8.19, have it (without octets,
/// padded, or cut short), a SEQUENCE, SET or explicit tag in the primitive form (8.9, 8.11, 8.14), or parameters of an
/// algorithm that are no value of their type. The library reads them; OpenSSL reads nothing in which there is one.
bool hasLooseValue(const Bytes& der);

/// Whether a constructed element with a context tag has more elements in it than one, but for RevokedInfo, or none. The
/// library reads what follows the value of an explicit tag as if it came after the tag; OpenSSL rejects it.
bool hasLooseTag(const Bytes& der);

/// The first element in the element `der`, such as the signed part of a certificate; empty when there is none.
Bytes firstElementOf(const Bytes& der);

}  // namespace fuzz
