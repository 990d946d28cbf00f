// The byte string that all test helpers use, and a few conversions.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace testkit {

using Bytes = std::vector<std::uint8_t>;

/// The octets of `hex`, in which spaces are ignored. Throws for anything else.
Bytes fromHex(std::string_view hex);

/// Lower-case hexadecimal without spaces.
std::string toHex(const Bytes& bytes);
std::string toUpperHex(const Bytes& bytes);

/// The characters of `text` as octets.
Bytes bytesOf(std::string_view text);

/// The same text, which is ASCII, in wide characters.
inline std::wstring wide(std::string_view text) {
    return {text.begin(), text.end()};
}

/// The parts one after the other.
Bytes concat(const std::vector<Bytes>& parts);

/// PEM text with the given label ("CERTIFICATE", "X509 CRL", ...) around `der`.
std::string toPem(const Bytes& der, const char* label);

}  // namespace testkit
