#include "tests/support/bytes.h"

#include <openssl/evp.h>

#include <cctype>
#include <stdexcept>

namespace testkit {

namespace {

int hexDigit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const char lower = static_cast<char>(c | 0x20);
    if (lower >= 'a' && lower <= 'f') {
        return lower - 'a' + 10;
    }
    throw std::invalid_argument("not a hexadecimal digit");
}

}  // namespace

Bytes fromHex(std::string_view hex) {
    std::string digits;
    for (const char c : hex) {
        if (std::isspace(static_cast<unsigned char>(c)) == 0) {
            digits.push_back(c);
        }
    }
    if (digits.size() % 2 != 0) {
        throw std::invalid_argument("odd number of hexadecimal digits");
    }
    Bytes bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        bytes.push_back(static_cast<std::uint8_t>(hexDigit(digits[i]) * 16 + hexDigit(digits[i + 1])));
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
    std::string base64(4 * ((der.size() + 2) / 3) + 1, '\0');
    const int size =
        EVP_EncodeBlock(reinterpret_cast<unsigned char*>(base64.data()), der.data(), static_cast<int>(der.size()));
    base64.resize(static_cast<std::size_t>(size));
    std::string pem = std::string("-----BEGIN ") + label + "-----\n";
    for (std::size_t i = 0; i < base64.size(); i += 64) {
        pem += base64.substr(i, 64) + "\n";
    }
    return pem + "-----END " + label + "-----\n";
}

}  // namespace testkit
