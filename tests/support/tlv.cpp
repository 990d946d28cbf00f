#include "tests/support/tlv.h"

#include <string>

#include "tests/support/openssl_ptr.h"

namespace testkit::tlv {

namespace {

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

}  // namespace

Bytes raw(std::uint8_t identifier, const Bytes& content) {
    return concat({{identifier}, lengthOctets(content.size()), content});
}

Bytes rawLongLength(std::uint8_t identifier, const Bytes& content, int octets) {
    return concat({{identifier}, lengthOctets(content.size(), octets), content});
}

Bytes integer(std::int64_t value) {
    const Asn1IntegerPtr number(ASN1_INTEGER_new());
    require(ASN1_INTEGER_set_int64(number.get(), value) == 1, "making an integer");
    return toDer(number.get(), i2d_ASN1_INTEGER);
}

Bytes enumerated(std::int64_t value) {
    Bytes der = integer(value);
    der[0] = 0x0A;
    return der;
}

Bytes oid(std::string_view dotted) {
    const Asn1ObjectPtr object(OBJ_txt2obj(std::string(dotted).c_str(), 1));
    require(object != nullptr, "reading an object identifier");
    return raw(0x06, Bytes(OBJ_get0_data(object.get()), OBJ_get0_data(object.get()) + OBJ_length(object.get())));
}

Bytes bitString(const Bytes& content, unsigned unusedBits) {
    return raw(0x03, concat({{static_cast<std::uint8_t>(unusedBits)}, content}));
}

}  // namespace testkit::tlv
