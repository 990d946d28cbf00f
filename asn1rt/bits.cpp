#include "asn1rt/bits.h"

#include "asn1rt/status.h"

namespace {

std::uint8_t maskOf(std::uint32_t index) {
    return static_cast<std::uint8_t>(0x80U >> (index % 8));
}

}  // namespace

extern "C" {

int rtSetBit(std::uint8_t* bits, std::uint32_t numbits, std::uint32_t index) noexcept {
    if (index >= numbits) {
        return STATUS_BIT_INDEX;
    }
    const int previous = bits[index / 8] & maskOf(index);
    bits[index / 8] |= maskOf(index);
    return previous;
}

int rtClearBit(std::uint8_t* bits, std::uint32_t numbits, std::uint32_t index) noexcept {
    if (index >= numbits) {
        return STATUS_BIT_INDEX;
    }
    const int previous = bits[index / 8] & maskOf(index);
    bits[index / 8] &= static_cast<std::uint8_t>(~maskOf(index));
    return previous;
}

int rtTestBit(const std::uint8_t* bits, std::uint32_t numbits, std::uint32_t index) noexcept {
    return index < numbits ? bits[index / 8] & maskOf(index) : 0;
}

int rtOctetBitLen(std::uint8_t octet) noexcept {
    int length = octet != 0 ? 8 : 0;
    while (octet != 0 && (octet & 1) == 0) {
        octet >>= 1;
        --length;
    }
    return length;
}

}  // extern "C"
