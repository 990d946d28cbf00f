#include "asn1rt/bit_string_control.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <functional>

#include "asn1rt/memory_heap.h"
#include "asn1rt/status.h"

namespace {

// Added to the requested size, so that a string set bit by bit does not move each time.
constexpr std::uint32_t kGrowth = 1024;

std::uint32_t sizeOfBits(std::uint32_t numbits) {
    return numbits / 8 + (numbits % 8 != 0 ? 1 : 0);
}

// The octet `i` of `numbits` bits; bits after the last one read as 0.
std::uint32_t octetOf(const std::uint8_t* data, std::uint32_t numbits, std::uint32_t i) {
    const std::uint32_t whole = numbits / 8;
    if (i < whole) {
        return data[i];
    }
    return i == whole && numbits % 8 != 0 ? data[i] & (0xFF00U >> (numbits % 8)) & 0xFFU : 0;
}

// Calls `change(octet, mask)` for each octet that has bits from `from` up to and without `to`.
template <typename Change>
void forEachOctet(std::uint8_t* data, std::uint32_t from, std::uint32_t to, Change change) {
    if (from >= to) {
        return;
    }
    const std::uint32_t first = from / 8;
    const std::uint32_t last = (to - 1) / 8;
    for (std::uint32_t i = first; i <= last; ++i) {
        std::uint32_t mask = 0xFF;
        mask &= i == first ? 0xFFU >> (from % 8) : 0xFFU;
        mask &= i == last ? 0xFFU << (7 - (to - 1) % 8) : 0xFFU;
        change(data[i], static_cast<std::uint8_t>(mask));
    }
}

// The bits that fit `octets` octets.
std::uint32_t bitsOf(std::uint32_t octets) {
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(octets * std::uint64_t{8}, 0xFFFFFFFFU));
}

// Written only where a bit is set: the octets may be a constant that happens to be clean.
void clearOctet(std::uint8_t& octet, std::uint8_t mask) {
    if ((octet & mask) != 0) {
        octet = static_cast<std::uint8_t>(octet & ~mask);
    }
}

}  // namespace

ASN1CBitStr::ASN1CBitStr(std::uint8_t* data, std::uint32_t& numbits, std::uint32_t maxNumBits) {
    attachArray(data, numbits, maxNumBits);
}

ASN1CBitStr::ASN1CBitStr(ASN1MessageBufferIF& buffer, std::uint8_t* data, std::uint32_t& numbits,
                         std::uint32_t maxNumBits)
    : ASN1CType(buffer) {
    attachArray(data, numbits, maxNumBits);
}

ASN1CBitStr::ASN1CBitStr(ASN1Context& context, std::uint8_t* data, std::uint32_t& numbits, std::uint32_t maxNumBits)
    : ASN1CType(context) {
    attachArray(data, numbits, maxNumBits);
}

ASN1CBitStr::ASN1CBitStr(ASN1TDynBitStr& value) {
    attachRecord(value);
}

ASN1CBitStr::ASN1CBitStr(ASN1MessageBufferIF& buffer, ASN1TDynBitStr& value) : ASN1CType(buffer) {
    attachRecord(value);
}

ASN1CBitStr::ASN1CBitStr(ASN1Context& context, ASN1TDynBitStr& value) : ASN1CType(context) {
    attachRecord(value);
}

ASN1CBitStr::ASN1CBitStr(std::uint32_t maxNumBits) {
    allocate(maxNumBits);
}

ASN1CBitStr::ASN1CBitStr(ASN1MessageBufferIF& buffer, std::uint32_t maxNumBits) : ASN1CType(buffer) {
    allocate(maxNumBits);
}

ASN1CBitStr::ASN1CBitStr(ASN1Context& context, std::uint32_t maxNumBits) : ASN1CType(context) {
    allocate(maxNumBits);
}

ASN1CBitStr::ASN1CBitStr(const ASN1CBitStr& other) : ASN1CType(other) {
    cloneFrom(other, other.mMaxNumBits);
}

ASN1CBitStr::ASN1CBitStr(const ASN1CBitStr& other, bool extendable) : ASN1CType(other) {
    cloneFrom(other, extendable ? kUnbounded : other.size());
}

ASN1CBitStr::~ASN1CBitStr() = default;

void ASN1CBitStr::attachArray(std::uint8_t* data, std::uint32_t& numbits, std::uint32_t maxNumBits) {
    mpUnitsStorage = data;
    mpNumBits = &numbits;
    mMaxNumBits = maxNumBits;
    numbits = data == nullptr ? 0 : std::min(numbits, maxNumBits);
    // Without a maximum, the array is known to hold what it holds now.
    mUnitsAllocated = data == nullptr ? 0 : sizeOfBits(maxNumBits == kUnbounded ? numbits : maxNumBits);
    forEachOctet(data, numbits, bitsOf(mUnitsAllocated), clearOctet);
}

void ASN1CBitStr::attachRecord(ASN1TDynBitStr& value) {
    mpUnits = &value.data;
    mpNumBits = &value.numbits;
    sync();
    forEachOctet(units(), *mpNumBits, bitsOf(mUnitsAllocated), clearOctet);
}

void ASN1CBitStr::allocate(std::uint32_t maxNumBits) {
    if (maxNumBits == 0 || maxNumBits == kUnbounded) {
        return;
    }
    mMaxNumBits = maxNumBits;
    mUnitsAllocated = sizeOfBits(maxNumBits);
    mpUnitsStorage = static_cast<std::uint8_t*>(rtMemHeapAllocZ(&getCtxtPtr()->pTypeMemHeap, mUnitsAllocated));
    if (mpUnitsStorage == nullptr) {
        throw ASN1MessageBuffer::RTLError(STATUS_NO_MEMORY);
    }
    mDynAlloc = true;
}

void ASN1CBitStr::cloneFrom(const ASN1CBitStr& other, std::uint32_t maxNumBits) {
    // A bounded copy never grows, so it gets room for its maximum at once.
    allocate(maxNumBits);
    mMaxNumBits = maxNumBits;
    const std::uint32_t numbits = other.size();
    if (extend(numbits) != 0) {
        throw ASN1MessageBuffer::RTLError(STATUS_NO_MEMORY);
    }
    for (std::uint32_t i = 0; i < sizeOfBits(numbits); ++i) {
        units()[i] = static_cast<std::uint8_t>(other.octet(i));
    }
}

// Brings what is known of the octets in line with the caller's record or count.
void ASN1CBitStr::sync() const {
    const bool overRecord = mpUnits != &mpUnitsStorage;
    if (*mpUnits == nullptr) {
        *mpNumBits = 0;
        mUnitsAllocated = 0;
        mDynAlloc = false;
    } else if (overRecord && *mpUnits != mpKnownUnits) {
        mUnitsAllocated = sizeOfBits(*mpNumBits);
        mDynAlloc = false;
    } else if (overRecord) {
        mUnitsAllocated = std::max(mUnitsAllocated, sizeOfBits(*mpNumBits));
    } else {
        *mpNumBits = std::min(*mpNumBits, bitsOf(mUnitsAllocated));
    }
    mpKnownUnits = *mpUnits;
}

// The octets are the caller's own or heap memory; the pointer is to constant octets because it is a record's member.
std::uint8_t* ASN1CBitStr::units() const {
    return const_cast<std::uint8_t*>(*mpUnits);
}

std::uint32_t ASN1CBitStr::octet(std::uint32_t i) const {
    return octetOf(*mpUnits, *mpNumBits, i);
}

std::uint32_t ASN1CBitStr::numUnitsUsed() const {
    std::uint32_t used = sizeOfBits(*mpNumBits);
    while (used != 0 && octet(used - 1) == 0) {
        --used;
    }
    return used;
}

int ASN1CBitStr::checkCapacity(std::uint32_t octets) {
    if (octets <= mUnitsAllocated) {
        return 0;
    }
    if (mMaxNumBits != kUnbounded) {
        return fail(STATUS_BAD_LENGTH);
    }
    const std::uint32_t newSize = octets + kGrowth;
    ASN1MEMHEAP** heap = &getCtxtPtr()->pTypeMemHeap;
    auto* memory = static_cast<std::uint8_t*>(mDynAlloc ? rtMemHeapRealloc(heap, units(), newSize)
                                                        : rtMemHeapAlloc(heap, newSize));
    if (memory == nullptr) {
        return fail(STATUS_NO_MEMORY);
    }
    if (!mDynAlloc) {
        std::copy_n(*mpUnits, mUnitsAllocated, memory);
    }
    std::fill(memory + mUnitsAllocated, memory + newSize, std::uint8_t{0});
    *mpUnits = mpKnownUnits = memory;
    mUnitsAllocated = newSize;
    mDynAlloc = true;
    return 0;
}

// Makes the string at least `numbits` long; new bits are 0.
int ASN1CBitStr::extend(std::uint32_t numbits) {
    const int status = checkCapacity(sizeOfBits(numbits));
    if (status == 0 && numbits > *mpNumBits) {
        forEachOctet(units(), *mpNumBits, numbits, clearOctet);
        *mpNumBits = numbits;
    }
    return status;
}

int ASN1CBitStr::checkRange(std::uint32_t from, std::uint32_t to) const {
    if (from > to) {
        return fail(STATUS_BIT_RANGE);
    }
    sync();
    return to > mMaxNumBits ? fail(STATUS_BIT_INDEX) : 0;
}

void ASN1CBitStr::recalculateSize() {
    *mpNumBits = length();
}

// An index equal to the maximum passes here, and is accepted when the last octet has room for it.
int ASN1CBitStr::checkIndex(std::uint32_t index) const {
    sync();
    return index == kUnbounded || index > mMaxNumBits ? fail(STATUS_BIT_INDEX) : 0;
}

int ASN1CBitStr::set(std::uint32_t index) {
    const int status = checkIndex(index);
    return status != 0 ? status : change(index, index + 1, Change::kSet);
}

int ASN1CBitStr::clear(std::uint32_t index) {
    const int status = checkIndex(index);
    return status != 0 ? status : change(index, index + 1, Change::kClear);
}

int ASN1CBitStr::invert(std::uint32_t index) {
    const int status = checkIndex(index);
    return status != 0 ? status : change(index, index + 1, Change::kInvert);
}

int ASN1CBitStr::set(std::uint32_t from, std::uint32_t to) {
    const int status = checkRange(from, to);
    return status != 0 ? status : change(from, to, Change::kSet);
}

int ASN1CBitStr::clear(std::uint32_t from, std::uint32_t to) {
    const int status = checkRange(from, to);
    return status != 0 ? status : change(from, to, Change::kClear);
}

int ASN1CBitStr::invert(std::uint32_t from, std::uint32_t to) {
    const int status = checkRange(from, to);
    return status != 0 ? status : change(from, to, Change::kInvert);
}

// Only clearing never makes the string longer.
int ASN1CBitStr::change(std::uint32_t from, std::uint32_t to, Change kind) {
    if (from == to) {
        return 0;
    }
    if (kind == Change::kClear) {
        forEachOctet(units(), from, std::min(to, *mpNumBits), clearOctet);
        return 0;
    }
    const int status = extend(to);
    if (status == 0) {
        forEachOctet(units(), from, to, [kind](std::uint8_t& octet, std::uint8_t mask) {
            octet = static_cast<std::uint8_t>(kind == Change::kSet ? octet | mask : octet ^ mask);
        });
    }
    return status;
}

void ASN1CBitStr::clear() {
    sync();
    forEachOctet(units(), 0, *mpNumBits, clearOctet);
    *mpNumBits = 0;
}

bool ASN1CBitStr::get(std::uint32_t index) const {
    sync();
    return index < *mpNumBits && (octet(index / 8) & (0x80U >> (index % 8))) != 0;
}

int ASN1CBitStr::get(std::uint32_t from, std::uint32_t to, std::uint8_t* destination, std::uint32_t size) const {
    if (from > to) {
        return fail(STATUS_BIT_RANGE);
    }
    if (destination == nullptr) {
        return fail(STATUS_BAD_ARGUMENT);
    }
    const std::uint32_t count = to - from;
    if (sizeOfBits(count) > size) {
        return fail(STATUS_STRING_OVERFLOW);
    }
    sync();
    const std::uint32_t shift = from % 8;
    for (std::uint32_t i = 0; i < sizeOfBits(count); ++i) {
        const std::uint32_t j = from / 8 + i;
        destination[i] = static_cast<std::uint8_t>((octet(j) << shift) | (octet(j + 1) >> (8 - shift)));
    }
    if (count % 8 != 0) {
        destination[count / 8] = static_cast<std::uint8_t>(octetOf(destination, count, count / 8));
    }
    return 0;
}

int ASN1CBitStr::getBytes(std::uint8_t* destination, std::uint32_t size) const {
    if (destination == nullptr) {
        return fail(STATUS_BAD_ARGUMENT);
    }
    sync();
    const std::uint32_t used = numUnitsUsed();
    if (used > size) {
        return fail(STATUS_BAD_LENGTH);
    }
    for (std::uint32_t i = 0; i < size; ++i) {
        destination[i] = i < used ? static_cast<std::uint8_t>(octet(i)) : std::uint8_t{0};
    }
    return 0;
}

std::uint32_t ASN1CBitStr::length() const {
    sync();
    const std::uint32_t used = numUnitsUsed();
    return used == 0 ? 0 : used * 8 - static_cast<std::uint32_t>(std::countr_zero(octet(used - 1)));
}

std::uint32_t ASN1CBitStr::size() const {
    sync();
    return *mpNumBits;
}

std::uint32_t ASN1CBitStr::cardinality() const {
    sync();
    std::uint32_t count = 0;
    for (std::uint32_t i = 0; i < sizeOfBits(*mpNumBits); ++i) {
        count += static_cast<std::uint32_t>(std::popcount(octet(i)));
    }
    return count;
}

int ASN1CBitStr::checkOperand(const std::uint8_t* data) const {
    sync();
    return data == nullptr || data == *mpUnits ? fail(STATUS_BAD_ARGUMENT) : 0;
}

// The operand may be part of the string's own memory, which growing moves: it is then found by its distance from the
// start, and has no bits after the end of the string. Each step writes before the octets that later steps read.
template <class Combine>
int ASN1CBitStr::combine(const std::uint8_t* data, std::uint32_t numbits, bool grows, Combine combined) {
    int status = checkOperand(data);
    if (status != 0) {
        return status;
    }
    const std::less<> before;
    const std::uint8_t* const old = *mpUnits;
    const std::uint32_t oldBits = *mpNumBits;
    const bool isOwn = old != nullptr && !before(data, old) && before(data, old + mUnitsAllocated);
    const auto distance = isOwn ? static_cast<std::uint32_t>(data - old) : 0;
    if (grows) {
        status = numbits > mMaxNumBits ? fail(STATUS_BAD_LENGTH) : extend(numbits);
    }
    if (status != 0) {
        return status;
    }
    for (std::uint32_t i = 0; i < sizeOfBits(*mpNumBits); ++i) {
        std::uint32_t other = 0;
        if (!isOwn) {
            other = octetOf(data, numbits, i);
        } else if (const std::uint32_t bit = i * 8; bit < numbits) {
            const std::uint32_t mask = numbits - bit < 8 ? 0xFF00U >> (numbits - bit) : 0xFFU;
            other = octetOf(*mpUnits, oldBits, distance + i) & mask;
        }
        units()[i] = static_cast<std::uint8_t>(combined(octet(i), other));
    }
    recalculateSize();
    return 0;
}

int ASN1CBitStr::doAnd(const std::uint8_t* data, std::uint32_t numbits) {
    return combine(data, numbits, false, std::bit_and<>());
}

int ASN1CBitStr::doOr(const std::uint8_t* data, std::uint32_t numbits) {
    return combine(data, numbits, true, std::bit_or<>());
}

int ASN1CBitStr::doXor(const std::uint8_t* data, std::uint32_t numbits) {
    return combine(data, numbits, true, std::bit_xor<>());
}

int ASN1CBitStr::doAndNot(const std::uint8_t* data, std::uint32_t numbits) {
    return combine(data, numbits, false, [](std::uint32_t own, std::uint32_t other) { return own & ~other; });
}

int ASN1CBitStr::shiftLeft(std::uint32_t count) {
    sync();
    if (count >= *mpNumBits) {
        clear();
        return 0;
    }
    const std::uint32_t octets = sizeOfBits(*mpNumBits);
    const std::uint32_t shift = count % 8;
    // From front to back: the octets read are at or after the one written.
    for (std::uint32_t i = 0; i < octets; ++i) {
        const std::uint32_t j = i + count / 8;
        units()[i] = static_cast<std::uint8_t>((octet(j) << shift) | (octet(j + 1) >> (8 - shift)));
    }
    recalculateSize();
    return 0;
}

int ASN1CBitStr::shiftRight(std::uint32_t count) {
    sync();
    if (count >= *mpNumBits) {
        clear();
        return 0;
    }
    const std::uint32_t skipped = count / 8;
    const std::uint32_t shift = count % 8;
    for (std::uint32_t i = sizeOfBits(*mpNumBits); i-- > 0;) {
        const std::uint32_t high = i >= skipped ? octet(i - skipped) >> shift : 0;
        const std::uint32_t low = i > skipped ? octet(i - skipped - 1) << (8 - shift) : 0;
        units()[i] = static_cast<std::uint8_t>(high | low);
    }
    forEachOctet(units(), *mpNumBits, bitsOf(sizeOfBits(*mpNumBits)), clearOctet);
    recalculateSize();
    return 0;
}

ASN1CBitStr::operator ASN1TDynBitStr() const {
    const std::uint32_t bits = length();
    return {bits, *mpUnits};
}

ASN1CBitStr::operator ASN1TDynBitStr*() const {
    ASN1MEMHEAP** heap = &getCtxtPtr()->pTypeMemHeap;
    auto* copy = static_cast<ASN1TDynBitStr*>(rtMemHeapAllocZ(heap, sizeof(ASN1TDynBitStr)));
    const std::uint32_t bits = length();
    if (copy == nullptr || bits == 0) {
        return copy;
    }
    auto* data = static_cast<std::uint8_t*>(rtMemHeapAlloc(heap, sizeOfBits(bits)));
    if (data == nullptr) {
        rtMemHeapFreePtr(heap, copy);
        return nullptr;
    }
    for (std::uint32_t i = 0; i < sizeOfBits(bits); ++i) {
        data[i] = static_cast<std::uint8_t>(octet(i));
    }
    *copy = {bits, data};
    return copy;
}
