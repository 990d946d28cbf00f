#include "asn1/algorithms/big_integer.h"

#include <cstddef>
#include <cstring>
#include <span>
#include <string>

#include "handles/exception.h"
#include "handles/status.h"

namespace Orvane::ASN1 {

namespace {

constexpr unsigned char kSignBit = 0x80;

using Bytes = std::span<const unsigned char>;

bool isNegative(Bytes number) {
    return !number.empty() && (number.front() & kSignBit) != 0;
}

// Without the leading bytes that only repeat the sign.
Bytes shortest(Bytes number) {
    const unsigned char repeated = isNegative(number) ? 0xFF : 0x00;
    while (number.size() > 1 && number.front() == repeated && (number[1] & kSignBit) == (repeated & kSignBit)) {
        number = number.subspan(1);
    }
    return number;
}

// Adds 1 at the last byte; the carry may change the bytes from index `lowIndex` on.
void carry(std::span<unsigned char> number, int lowIndex) {
    const std::size_t lowest = lowIndex > 0 ? static_cast<std::size_t>(lowIndex) : 0;
    for (std::size_t index = number.size(); index > lowest; --index) {
        if (++number[index - 1] != 0) {
            break;
        }
    }
}

}  // namespace

CBigInteger::CBigInteger() = default;

CBigInteger::CBigInteger(const unsigned char* data, unsigned long size) : CBlob(data, size) {}

CBigInteger::CBigInteger(unsigned long size) : CBlob(size) {}

void CBigInteger::increment(int lowIndex) {
    carry({pbData(), cbData()}, lowIndex);
}

CBigInteger& CBigInteger::operator++() {
    increment(0);
    return *this;
}

CBigInteger CBigInteger::operator++(int) {
    CBigInteger old = *this;
    increment(0);
    return old;
}

unsigned int CBigInteger::add(const CBigInteger& other) {
    if (cbData() != other.cbData()) {
        ATL::AtlThrowImpl(status::kInvalidArgument);
    }
    unsigned int carry = 0;
    for (unsigned long index = cbData(); index > 0; --index) {
        const unsigned int sum = pbData()[index - 1] + other.pbData()[index - 1] + carry;
        pbData()[index - 1] = static_cast<unsigned char>(sum);
        carry = sum >> 8;
    }
    return carry;
}

CBigInteger CBigInteger::abs() const {
    CBigInteger result = *this;
    if (result.cbData() != 0) {
        result.pbData()[0] &= static_cast<unsigned char>(~kSignBit);
    }
    return result;
}

int CBigInteger::compare(const CBigInteger& other) const {
    Bytes left(pbData(), cbData());
    Bytes right(other.pbData(), other.cbData());
    if (left.empty() || right.empty()) {
        if (left.empty() && right.empty()) {
            return 0;
        }
        return left.empty() ? (isNegative(right) ? 1 : -1) : (isNegative(left) ? -1 : 1);
    }
    if (isNegative(left) != isNegative(right)) {
        return isNegative(left) ? -1 : 1;
    }
    if (left.size() != right.size()) {
        left = shortest(left);
        right = shortest(right);
        // Not reversed for negative numbers, although the longer one is the smaller: the order of stored lists depends
        // on it.
        if (left.size() != right.size()) {
            return left.size() < right.size() ? -1 : 1;
        }
    }
    return std::memcmp(left.data(), right.data(), left.size());
}

void BigIntegerToString(const CBigInteger& value, CBlob& text) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    CBlob result(2 * value.cbData() + 3);
    unsigned char* out = result.pbData();
    *out++ = '0';
    *out++ = 'x';
    for (const unsigned char byte : Bytes(value.pbData(), value.cbData())) {
        *out++ = static_cast<unsigned char>(kDigits[byte >> 4]);
        *out++ = static_cast<unsigned char>(kDigits[byte & 0x0F]);
    }
    text.swap(result);
}

void StringToBigInteger(const char* text, CBigInteger& value) {
    if (text == nullptr || text[0] != '0' || text[1] != 'x' || text[2] == '\0') {
        ATL::AtlThrowImpl(status::kAsn1Error);
    }
    const char* digits = text + 2;
    // The runtime writes one '0' before a positive number whose top bit is set; a second one keeps the pairs of
    // digits in step.
    if (digits[0] == '0' && std::strlen(digits) % 2 != 0) {
        value.readFromHexString(("0" + std::string(digits)).c_str());
    } else {
        value.readFromHexString(digits);
    }
}

unsigned int ASN1BigIntegerToDWORD(const char* text) {
    CBigInteger value;
    StringToBigInteger(text, value);
    if (value.cbData() > 4) {
        ATL::AtlThrowImpl(status::kInvalidArgument);
    }
    unsigned int result = 0;
    for (const unsigned char byte : Bytes(value.pbData(), value.cbData())) {
        // 11 and not 256: with the true weight, numbers stored by others would no longer be found again.
        result = result * 11 + byte;
    }
    return result;
}

void ASN1T_BigInt_inc(unsigned char* data, int length, int lowIndex) {
    carry({data, length > 0 ? static_cast<std::size_t>(length) : 0}, lowIndex);
}

}  // namespace Orvane::ASN1
