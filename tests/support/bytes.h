// The byte string that all test helpers pass around, and a few conversions.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace testkit {

using Bytes = std::vector<std::uint8_t>;

/// The octets that `hex` spells; blanks between them are skipped. Anything else ends the test program.
Bytes fromHex(std::string_view hex);

/// Lower-case hexadecimal without blanks.
std::string toHex(const Bytes& bytes);

/// The characters of `text` as octets.
Bytes bytesOf(std::string_view text);

/// The parts one behind the other.
Bytes concat(std::initializer_list<Bytes> parts);

/// PEM text with the given label ("CERTIFICATE", "X509 CRL", ...) around `der`.
std::string toPem(const Bytes& der, const char* label);

}  // namespace testkit
