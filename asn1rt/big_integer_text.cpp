#include "asn1rt/big_integer_text.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "asn1rt/memory_heap.h"

namespace {

// Indexed by radix / 2; zero where a radix is not supported.
constexpr std::uint16_t bitsPerDigit[9] = {0, 1024, 2048, 2648, 3072, 3402, 3672, 3899, 4096};  // times 1024
constexpr std::uint16_t digitsPerByte[9] = {0, 8, 0, 0, 2, 2, 0, 0, 2};                         // digits taken per step
constexpr std::uint16_t byteRadix[9] = {0, 256, 0, 0, 64, 100, 0, 0, 256};  // the multiplier for one step

constexpr std::uint64_t kMaxOctets = 0x7FFFFFFF;
constexpr std::int32_t kCompareArea = 256;

// Steps gathered before the whole number is multiplied: 100^8 times an octet still fits 64 bits.
constexpr int kStepsPerPass = 8;

int fail(ASN1CTXT* ctx, int status) {
    return ctx == nullptr ? status : rtErrSetData(&ctx->errInfo, status, nullptr, 0);
}

bool isSupported(int radix) {
    return radix == 2 || radix == 8 || radix == 10 || radix == 16;
}
bool isWholeOctets(int radix) {
    return radix == 2 || radix == 16;
}

// Room for `octets` octets of magnitude, whose contents are lost.
bool ensureRoom(ASN1CTXT* ctx, RtBigInteger& big, std::uint64_t octets) {
    if (octets <= static_cast<std::uint64_t>(std::max(big.allocated, 0)) && big.mag != nullptr) {
        return true;
    }
    if (ctx == nullptr || octets > kMaxOctets) {
        return false;
    }
    void* memory = big.dynamic != 0 ? rtMemHeapRealloc(&ctx->pTypeMemHeap, big.mag, octets)
                                    : rtMemHeapAlloc(&ctx->pTypeMemHeap, octets);
    if (memory == nullptr) {
        return false;
    }
    big.mag = static_cast<std::uint8_t*>(memory);
    big.allocated = static_cast<std::int32_t>(octets);
    big.dynamic = 1;
    return true;
}

void negate(std::uint8_t* octets, std::size_t count) {
    unsigned carry = 1;
    for (std::size_t i = count; i-- > 0;) {
        carry += static_cast<std::uint8_t>(~octets[i]);
        octets[i] = static_cast<std::uint8_t>(carry);
        carry >>= 8;
    }
}

void dropLeadingZeros(RtBigInteger& big) {
    const std::uint8_t* const end = big.mag + big.numocts;
    const std::uint8_t* const first =
        std::find_if(big.mag, big.mag + big.numocts, [](std::uint8_t o) { return o != 0; });
    big.numocts = static_cast<std::int32_t>(end - first);
    std::memmove(big.mag, first, static_cast<std::size_t>(big.numocts));
}

// The value of a digit of any radix; 16 for any other character.
unsigned digitValue(char c) {
    if (c >= '0' && c <= '9') {
        return static_cast<unsigned>(c - '0');
    }
    if (c >= 'a' && c <= 'f') {
        return static_cast<unsigned>(c - 'a' + 10);
    }
    return c >= 'A' && c <= 'F' ? static_cast<unsigned>(c - 'A' + 10) : 16;
}

// Radix 2 and 16: digits into octets, the first one partly filled when they do not come out even.
int packDigits(ASN1CTXT* ctx, RtBigInteger& big, const char* digits, std::size_t count, unsigned radix) {
    const std::size_t perOctet = digitsPerByte[radix / 2];
    const std::size_t octets = count / perOctet + (count % perOctet != 0 ? 1 : 0);
    if (!ensureRoom(ctx, big, octets)) {
        return STATUS_NO_MEMORY;
    }
    std::fill_n(big.mag, octets, std::uint8_t{0});
    // The place of the first digit, counted as if the first octet were full.
    std::size_t place = octets * perOctet - count;
    for (std::size_t i = 0; i < count; ++i, ++place) {
        const unsigned digit = digitValue(digits[i]);
        if (digit >= radix) {
            return STATUS_BAD_VALUE;
        }
        std::uint8_t& octet = big.mag[place / perOctet];
        octet = static_cast<std::uint8_t>(octet * (radix == 2 ? 2 : 16) + digit);
    }
    big.numocts = static_cast<std::int32_t>(octets);
    big.sign = 1;
    return 0;
}

// One step of digits. As lenient as strtoul: inside a number, blanks or a "+" before a step's last digit are
// skipped, so "1 2+3" is read as 10203.
bool readStep(const char* digits, std::size_t count, int radix, std::uint64_t& value) {
    char step[3] = {};
    std::copy_n(digits, count, step);
    char* end = nullptr;
    const unsigned long number = std::strtoul(step, &end, radix);
    value = number;
    return end == step + count && static_cast<long>(number) >= 0;
}

// mag = mag * factor + addend in the last `used` octets of `octets`, which grow as the number does.
void multiplyAdd(std::uint8_t* mag, std::size_t octets, std::size_t& used, std::uint64_t factor, std::uint64_t addend) {
    std::uint64_t carry = addend;
    std::size_t i = 0;
    for (; i < used || (carry != 0 && i < octets); ++i) {
        std::uint8_t& octet = mag[octets - 1 - i];
        carry += octet * factor;
        octet = static_cast<std::uint8_t>(carry);
        carry >>= 8;
    }
    used = i;
}

// Radix 8 and 10.
int convertDigits(ASN1CTXT* ctx, RtBigInteger& big, const char* digits, std::size_t count, int radix) {
    const std::int32_t sign = *digits == '-' ? -1 : 1;
    if (sign < 0) {
        ++digits;
        --count;
        if (count == 0) {
            return STATUS_BAD_VALUE;
        }
    }
    const std::size_t zeros = std::strspn(digits, "0");
    digits += zeros;
    count -= zeros;
    if (count == 0) {
        return 0;
    }
    const std::uint64_t octets = (((count * std::uint64_t{bitsPerDigit[radix / 2]}) >> 10) + 8) / 8;
    if (octets > kMaxConvertedOctets) {
        return STATUS_TOO_BIG;
    }
    if (!ensureRoom(ctx, big, octets)) {
        return STATUS_NO_MEMORY;
    }
    std::fill_n(big.mag, octets, std::uint8_t{0});
    // The first step takes the remainder, so that all others are whole.
    const std::size_t perStep = digitsPerByte[radix / 2];
    std::size_t size = count % perStep == 0 ? perStep : count % perStep;
    std::size_t used = 0;
    for (std::size_t done = 0; done < count;) {
        std::uint64_t factor = 1;
        std::uint64_t addend = 0;
        for (int step = 0; step < kStepsPerPass && done < count; ++step, done += size, size = perStep) {
            std::uint64_t value = 0;
            if (!readStep(digits + done, size, radix, value)) {
                return STATUS_BAD_VALUE;
            }
            factor *= byteRadix[radix / 2];
            addend = addend * byteRadix[radix / 2] + value;
        }
        multiplyAdd(big.mag, octets, used, factor, addend);
    }
    big.numocts = static_cast<std::int32_t>(octets);
    big.sign = sign;
    return 0;
}

// The radix given by a prefix, which is skipped.
int radixByPrefix(const char*& text) {
    constexpr struct {
        char letter;
        int radix;
    } kPrefixes[] = {{'b', 2}, {'o', 8}, {'x', 16}};
    if (text[0] == '0') {
        for (const auto& prefix : kPrefixes) {
            if (text[1] == prefix.letter) {
                text += 2;
                return prefix.radix;
            }
        }
    }
    return 10;
}

int readText(ASN1CTXT* ctx, RtBigInteger& big, const char* text, int radix) {
    if (text == nullptr) {
        return STATUS_BAD_VALUE;
    }
    text += std::strspn(text, " \t");
    if (radix == 0) {
        radix = radixByPrefix(text);
    }
    if (!isSupported(radix)) {
        return STATUS_BAD_ARGUMENT;
    }
    const std::size_t count = std::strlen(text);
    if (count == 0) {
        return STATUS_BAD_VALUE;
    }
    const int status = isWholeOctets(radix) ? packDigits(ctx, big, text, count, static_cast<unsigned>(radix))
                                            : convertDigits(ctx, big, text, count, radix);
    if (status != 0 || big.numocts == 0) {
        return status;
    }
    if (radix != 10 && *text != '0' && (big.mag[0] & 0x80) != 0) {
        big.sign = -big.sign;
        negate(big.mag, static_cast<std::size_t>(big.numocts));
    }
    // A number of only zeros keeps its sign here; a decimal zero has sign 0.
    dropLeadingZeros(big);
    return 0;
}

// Work memory from the type heap, given back at the end of the scope.
class WorkBlock {
public:
    WorkBlock(ASN1CTXT* ctx, std::size_t size) : ctx_(ctx) {
        block_ = ctx == nullptr ? nullptr : rtMemHeapAllocZ(&ctx->pTypeMemHeap, size);
    }
    ~WorkBlock() {
        if (block_ != nullptr) {
            rtMemHeapFreePtr(&ctx_->pTypeMemHeap, block_);
        }
    }
    WorkBlock(const WorkBlock&) = delete;
    WorkBlock& operator=(const WorkBlock&) = delete;
    [[nodiscard]] void* get() const { return block_; }

private:
    ASN1CTXT* ctx_;
    void* block_ = nullptr;
};

// Writes the digits of the octets' two's complement form, in whole octets.
int octetsToText(const RtBigInteger& big, int radix, char* text, std::int64_t capacity) {
    const std::int64_t perOctet = digitsPerByte[radix / 2];
    const std::int64_t octets = rtBigIntGetDataLen(&big);
    if (octets * perOctet + 1 > capacity) {
        return STATUS_STRING_OVERFLOW;
    }
    // The octets wait at the end of the room and are read, one by one, just before their digits reach them.
    auto* source = reinterpret_cast<std::uint8_t*>(text) + octets * (perOctet - 1);
    // Cannot fail: the room is what rtBigIntGetDataLen returned. The same applies below.
    static_cast<void>(rtBigIntGetData(nullptr, &big, source, static_cast<std::int32_t>(octets)));
    const int bits = radix == 2 ? 1 : 4;
    for (std::int64_t i = 0; i < octets; ++i) {
        const unsigned octet = source[i];
        for (int shift = 8 - bits; shift >= 0; shift -= bits) {
            *text++ = "0123456789abcdef"[(octet >> shift) & (static_cast<unsigned>(radix) - 1)];
        }
    }
    *text = '\0';
    return 0;
}

// Divides the number in `limbs` (most significant first) and returns the remainder.
std::uint32_t divide(std::uint32_t* limbs, std::size_t count, std::uint32_t divisor) {
    std::uint64_t remainder = 0;
    for (std::size_t i = 0; i < count; ++i) {
        remainder = (remainder << 32) | limbs[i];
        limbs[i] = static_cast<std::uint32_t>(remainder / divisor);
        remainder %= divisor;
    }
    return static_cast<std::uint32_t>(remainder);
}

// Writes the digits of the number in `limbs`, which is used up, toward the front of the room from `first` to `end`.
// Null when that runs out, otherwise the first digit.
char* writeDigits(std::uint32_t* limbs, std::size_t count, unsigned radix, char* first, char* end) {
    const std::uint32_t divisor = radix == 10 ? 1'000'000'000U : 1U << 30;
    const int digitsPerRound = radix == 10 ? 9 : 10;
    for (;;) {
        while (count != 0 && *limbs == 0) {
            ++limbs;
            --count;
        }
        if (count == 0) {
            return end;
        }
        std::uint32_t rest = divide(limbs, count, divisor);
        const bool topmost = std::all_of(limbs, limbs + count, [](std::uint32_t limb) { return limb == 0; });
        for (int i = 0; topmost ? rest != 0 : i < digitsPerRound; ++i) {
            if (end == first) {
                return nullptr;
            }
            *--end = static_cast<char>('0' + rest % radix);
            rest /= radix;
        }
    }
}

// Radix 8 (two's complement) and 10 (sign and magnitude).
int digitsToText(ASN1CTXT* ctx, const RtBigInteger& big, int radix, char* text, std::int32_t capacity) {
    const auto size = static_cast<std::size_t>(radix == 8 ? rtBigIntGetDataLen(&big) : big.numocts);
    if (size > kMaxConvertedOctets) {
        return STATUS_TOO_BIG;
    }
    const std::size_t count = (size + 3) / 4;
    const WorkBlock work(ctx, count * 4);
    if (work.get() == nullptr) {
        return STATUS_NO_MEMORY;
    }
    auto* octets = static_cast<std::uint8_t*>(work.get());
    auto* limbs = static_cast<std::uint32_t*>(work.get());
    std::uint8_t* const lowEnd = octets + (count * 4 - size);
    if (radix == 8) {
        static_cast<void>(rtBigIntGetData(nullptr, &big, lowEnd, static_cast<std::int32_t>(size)));
    } else {
        std::copy_n(big.mag, size, lowEnd);
    }
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint8_t* o = octets + i * 4;
        limbs[i] = std::uint32_t{o[0]} << 24 | std::uint32_t{o[1]} << 16 | std::uint32_t{o[2]} << 8 | o[3];
    }
    const bool minus = radix == 10 && big.sign < 0;
    const int reserved = minus ? 2 : 1;
    if (capacity < reserved) {
        return STATUS_STRING_OVERFLOW;
    }
    // One octet at the front for the sign, one at the end for the NUL.
    char* const first = text + (minus ? 1 : 0);
    char* const end = text + capacity - 1;
    const char* digits = writeDigits(limbs, count, static_cast<unsigned>(radix), first, end);
    if (digits == nullptr) {
        return STATUS_STRING_OVERFLOW;
    }
    const auto length = static_cast<std::size_t>(end - digits);
    std::memmove(first, digits, length);
    first[length] = '\0';
    if (minus) {
        *text = '-';
    }
    return 0;
}

// The top octet of the two's complement form. Whether the octets below carry into it depends on the second octet
// only, and that is kept: a magnitude such as 0x800001 counts as negated in three octets and is written as 0x7FFFFF, a
// positive number. Negative decimal text can lead here; hexadecimal text, the form that messages are decoded into, is
// encoded without this record.
std::uint8_t topOfComplement(const RtBigInteger& big) {
    const bool carries = big.numocts == 1 || big.mag[1] == 0;
    return static_cast<std::uint8_t>(carries ? -big.mag[0] : ~big.mag[0]);
}

int compareMagnitude(const RtBigInteger& a, const RtBigInteger& b) {
    if (a.numocts != b.numocts) {
        return a.numocts < b.numocts ? -1 : 1;
    }
    const int order = a.numocts == 0 ? 0 : std::memcmp(a.mag, b.mag, static_cast<std::size_t>(a.numocts));
    return order == 0 ? 0 : (order < 0 ? -1 : 1);
}

}  // namespace

extern "C" {

void rtBigIntInit(RtBigInteger* big) noexcept {
    if (big != nullptr) {
        *big = RtBigInteger();
    }
}

void rtBigIntFree(ASN1CTXT* ctx, RtBigInteger* big) noexcept {
    if (big == nullptr) {
        return;
    }
    if (ctx != nullptr && big->dynamic != 0 && big->allocated != 0) {
        rtMemHeapFreePtr(&ctx->pTypeMemHeap, big->mag);
    }
    rtBigIntInit(big);
}

int rtBigIntSetStr(ASN1CTXT* ctx, RtBigInteger* big, const char* text, int radix) noexcept {
    if (big == nullptr) {
        return fail(ctx, STATUS_BAD_ARGUMENT);
    }
    big->sign = 0;
    big->numocts = 0;
    const int status = readText(ctx, *big, text, radix);
    if (status != 0) {
        big->sign = 0;
        big->numocts = 0;
        return fail(ctx, status);
    }
    return 0;
}

std::int32_t rtBigIntGetDataLen(const RtBigInteger* big) noexcept {
    if (big == nullptr || big->sign == 0 || big->numocts == 0) {
        return 1;
    }
    const std::uint8_t top = big->sign > 0 ? big->mag[0] : topOfComplement(*big);
    const bool topBit = (top & 0x80) != 0;
    return big->numocts + (topBit == (big->sign > 0) ? 1 : 0);
}

std::int32_t rtBigIntGetData(ASN1CTXT* ctx, const RtBigInteger* big, std::uint8_t* destination,
                             std::int32_t capacity) noexcept {
    if (big == nullptr || destination == nullptr) {
        return fail(ctx, STATUS_BAD_ARGUMENT);
    }
    const std::int32_t length = rtBigIntGetDataLen(big);
    if (length > capacity) {
        return fail(ctx, STATUS_STRING_OVERFLOW);
    }
    if (big->sign == 0 || big->numocts == 0) {
        *destination = 0;
        return 1;
    }
    if (length > big->numocts) {
        *destination++ = big->sign < 0 ? 0xFF : 0x00;
    }
    const auto count = static_cast<std::size_t>(big->numocts);
    std::copy_n(big->mag, count, destination);
    if (big->sign < 0) {
        negate(destination, count);
    }
    return length;
}

std::int32_t rtBigIntDigitsNum(const RtBigInteger* big, int radix) noexcept {
    if (big == nullptr || !isSupported(radix)) {
        return STATUS_BAD_ARGUMENT;
    }
    const std::int64_t digits = (std::int64_t{big->numocts} * 8 + 8) * 1024 / bitsPerDigit[radix / 2];
    return static_cast<std::int32_t>(std::min<std::int64_t>(digits, 0x7FFFFFFF));
}

int rtBigIntToString(ASN1CTXT* ctx, const RtBigInteger* big, int radix, char* text, std::int32_t capacity) noexcept {
    if (big == nullptr || text == nullptr || !isSupported(radix)) {
        return fail(ctx, STATUS_BAD_ARGUMENT);
    }
    int status = 0;
    if (isWholeOctets(radix)) {
        status = octetsToText(*big, radix, text, capacity);
    } else {
        // Zero has no text in these radixes; callers write it themselves.
        status = big->numocts == 0 ? STATUS_BAD_ARGUMENT : digitsToText(ctx, *big, radix, text, capacity);
    }
    return status == 0 ? 0 : fail(ctx, status);
}

int rtBigIntStrCompare(ASN1CTXT* ctx, const char* textA, const char* textB) noexcept {
    std::uint8_t areaA[kCompareArea] = {};
    std::uint8_t areaB[kCompareArea] = {};
    RtBigInteger a;
    RtBigInteger b;
    a.mag = areaA;
    b.mag = areaB;
    a.allocated = b.allocated = kCompareArea;
    // A text that cannot be read compares by what was read of it.
    static_cast<void>(rtBigIntSetStr(ctx, &a, textA, 0));
    static_cast<void>(rtBigIntSetStr(ctx, &b, textB, 0));
    const int order = a.sign != b.sign ? (a.sign < b.sign ? -1 : 1) : a.sign * compareMagnitude(a, b);
    rtBigIntFree(ctx, &a);
    rtBigIntFree(ctx, &b);
    return order;
}

}  // extern "C"
