#include "tests/support/bytes.h"

#include <openssl/pem.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <iterator>
#include <stdexcept>

#include "tests/support/openssl_ptr.h"

namespace testkit {

Bytes fromHex(std::string_view hex) {
    std::string digits;
    std::copy_if(hex.begin(), hex.end(), std::back_inserter(digits),
                 [](unsigned char c) { return std::isspace(c) == 0; });
    Bytes bytes((digits.size() + 1) / 2);
    const char* at = digits.data();
    for (std::uint8_t& byte : bytes) {
        const char* const end = at + 2;
        if (digits.size() % 2 != 0 || std::from_chars(at, end, byte, 16).ptr != end) {
            throw std::invalid_argument("not hexadecimal: " + digits);
        }
        at = end;
    }
    return bytes;
}

std::string toHex(const Bytes& bytes) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text.push_back(kDigits[byte >> 4]);
        text.push_back(kDigits[byte & 15]);
    }
    return text;
}

std::string toUpperHex(const Bytes& bytes) {
    std::string text = toHex(bytes);
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::toupper(c); });
    return text;
}

Bytes bytesOf(std::string_view text) {
    return Bytes(text.begin(), text.end());
}

Bytes concat(const std::vector<Bytes>& parts) {
    Bytes all;
    for (const Bytes& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

std::string toPem(const Bytes& der, const char* label) {
    const BioPtr bio(BIO_new(BIO_s_mem()));
    require(PEM_write_bio(bio.get(), label, "", der.data(), static_cast<long>(der.size())) > 0, "writing PEM");
    return textIn(bio.get());
}

}  // namespace testkit
