// Writes DER by hand. It shares no code with the library's runtime, so that a fault there cannot hide itself: what
// comes out is the expectation, or a hostile input, octet by octet.
//
//   Bytes id = tlv::sequence({tlv::oid("1.3.14.3.2.26"), tlv::null()});
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <vector>

#include "tests/support/bytes.h"

namespace testkit::tlv {

/// Identifier octets of `tag` as given (one octet, constructed bit included), DER length, content.
Bytes raw(std::uint8_t identifier, const Bytes& content);

/// As raw(), with the length written in `lengthOctets` octets behind the initial one, however short it is.
Bytes rawLongLength(std::uint8_t identifier, const Bytes& content, int lengthOctets);

Bytes sequence(std::initializer_list<Bytes> parts);
Bytes sequence(const std::vector<Bytes>& parts);
Bytes set(std::initializer_list<Bytes> parts);

/// [number], constructed, around `content`: EXPLICIT, or IMPLICIT over a constructed content.
Bytes context(unsigned number, const Bytes& content);

/// [number], primitive, with `content` as it stands: IMPLICIT over a primitive type.
Bytes contextPrimitive(unsigned number, const Bytes& content);

Bytes integer(std::int64_t value);
Bytes integer(const Bytes& contentOctets);
Bytes enumerated(std::int64_t value);
Bytes boolean(bool value);
Bytes null();
Bytes oid(std::string_view dotted);
Bytes octetString(const Bytes& content);
Bytes bitString(const Bytes& content, unsigned unusedBits = 0);
Bytes utf8String(std::string_view text);
Bytes printableString(std::string_view text);
Bytes ia5String(std::string_view text);

/// The text as it stands, for instance "20260102030405Z".
Bytes generalizedTime(std::string_view text);
Bytes utcTime(std::string_view text);

}  // namespace testkit::tlv
