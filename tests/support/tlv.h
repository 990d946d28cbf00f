// Writes DER, and malformed encodings. It shares no code with the library's runtime, so that a fault there cannot hide.
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

/// Like raw(), with the length in `lengthOctets` octets after the initial one, however short it is.
Bytes rawLongLength(std::uint8_t identifier, const Bytes& content, int lengthOctets);

inline Bytes sequence(std::initializer_list<Bytes> parts) {
    return raw(0x30, concat(parts));
}
inline Bytes sequence(const std::vector<Bytes>& parts) {
    return raw(0x30, concat(parts));
}
inline Bytes set(std::initializer_list<Bytes> parts) {
    return raw(0x31, concat(parts));
}

/// [number], constructed, around `content`: EXPLICIT, or IMPLICIT over a constructed content.
inline Bytes context(unsigned number, const Bytes& content) {
    return raw(static_cast<std::uint8_t>(0xA0 | number), content);
}

/// [number], primitive, with `content` unchanged: IMPLICIT over a primitive type.
inline Bytes contextPrimitive(unsigned number, const Bytes& content) {
    return raw(static_cast<std::uint8_t>(0x80 | number), content);
}

Bytes integer(std::int64_t value);
inline Bytes integer(const Bytes& contentOctets) {
    return raw(0x02, contentOctets);
}
Bytes enumerated(std::int64_t value);
inline Bytes boolean(bool value) {
    return raw(0x01, {static_cast<std::uint8_t>(value ? 0xFF : 0x00)});
}
inline Bytes null() {
    return {0x05, 0x00};
}
Bytes oid(std::string_view dotted);
inline Bytes octetString(const Bytes& content) {
    return raw(0x04, content);
}
Bytes bitString(const Bytes& content, unsigned unusedBits = 0);
inline Bytes utf8String(std::string_view text) {
    return raw(0x0C, bytesOf(text));
}
inline Bytes printableString(std::string_view text) {
    return raw(0x13, bytesOf(text));
}
inline Bytes ia5String(std::string_view text) {
    return raw(0x16, bytesOf(text));
}

/// The text unchanged, for instance "20260102030405Z".
inline Bytes generalizedTime(std::string_view text) {
    return raw(0x18, bytesOf(text));
}
inline Bytes utcTime(std::string_view text) {
    return raw(0x17, bytesOf(text));
}

}  // namespace testkit::tlv
