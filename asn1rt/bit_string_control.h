// ASN1CBitStr: the single bits of a BIT STRING. Bit 0 is the most significant bit of the first octet, as in X.680.
//
//   ASN1TDynBitStr usage{};                                      // decoded, or empty
//   ASN1CBitStr bits(usage);
//   if (int status = bits.set(5); status != 0) return status;    // keyCertSign; the record has 6 bits now
//   if (bits.get(6)) ...
//
// It works on the caller's array, on a bit string record, or on its own memory. A string over a record or without a
// maximum grows: its octets then move to the type heap of the context, and the record is made to point there. Without a
// buffer or context in the constructor, that is a new context, and the octets are gone when this object and every
// reference to its context are.
//
// Failures are returned and recorded in the context; the string is then as it was. Indexes and sizes are in bits unless
// a comment says octets.
#pragma once

#include <cstdint>

#include "asn1rt/control_type.h"
#include "asn1rt/types.h"
#include "export.h"

class TALLOW_EXPORT ASN1CBitStr : public ASN1CType {
public:
    /// The maximum of a string that may grow.
    static constexpr std::uint32_t kUnbounded = 0xFFFFFFFFU;

    /// Over the caller's array and count, which must outlive the object. The array holds `maxNumBits` bits in whole
    /// octets. The caller's data are changed: `numbits` is cut to the maximum, and every bit of the array after it is
    /// cleared. The string never leaves the array; null `data` is an empty string.
    ASN1CBitStr(std::uint8_t* data, std::uint32_t& numbits, std::uint32_t maxNumBits);
    ASN1CBitStr(ASN1MessageBufferIF& buffer, std::uint8_t* data, std::uint32_t& numbits, std::uint32_t maxNumBits);
    ASN1CBitStr(ASN1Context& context, std::uint8_t* data, std::uint32_t& numbits, std::uint32_t maxNumBits);

    /// Over a record, which must outlive the object; changes are made in its octets and its count, so the octets must
    /// be writable as decoded ones are, unless CTX_FLAG_ZERO_COPY left them in the input: copy those first
    /// (rtCopyDynBitStr). Bits of its last octet after the count are cleared. The record may be decoded into again; the
    /// object then sees the new octets.
    explicit ASN1CBitStr(ASN1TDynBitStr& value);
    ASN1CBitStr(ASN1MessageBufferIF& buffer, ASN1TDynBitStr& value);
    ASN1CBitStr(ASN1Context& context, ASN1TDynBitStr& value);

    /// An empty string in its own zeroed memory. `maxNumBits` 0 means no maximum. Throws
    /// ASN1MessageBuffer::RTLError with STATUS_NO_MEMORY when memory runs out.
    explicit ASN1CBitStr(std::uint32_t maxNumBits);
    ASN1CBitStr(ASN1MessageBufferIF& buffer, std::uint32_t maxNumBits);
    ASN1CBitStr(ASN1Context& context, std::uint32_t maxNumBits);

    /// A copy in its own memory, in the same context and with the same maximum. Throws as above.
    ASN1CBitStr(const ASN1CBitStr& other);
    /// The same; `extendable` says whether the copy may grow without a maximum or has the size of `other` as its
    /// maximum.
    ASN1CBitStr(const ASN1CBitStr& other, bool extendable);
    ASN1CBitStr& operator=(const ASN1CBitStr&) = delete;
    ~ASN1CBitStr() override;

    // Single bits. set and invert make the string as long as the index requires, clear never does. They return 0 or
    // - STATUS_BIT_INDEX: the index is above the maximum.
    // - STATUS_BAD_LENGTH: the string would have to grow, but may not.
    // - STATUS_NO_MEMORY: the heap has no room for it.
    [[nodiscard]] int set(std::uint32_t index);
    [[nodiscard]] int clear(std::uint32_t index);
    [[nodiscard]] int invert(std::uint32_t index);

    // The bits from `from` up to and without `to`; none when both are equal. The same statuses, and STATUS_BIT_RANGE
    // when `from` is above `to`. STATUS_BIT_INDEX when `to` is above the maximum.
    [[nodiscard]] int set(std::uint32_t from, std::uint32_t to);
    [[nodiscard]] int clear(std::uint32_t from, std::uint32_t to);
    [[nodiscard]] int invert(std::uint32_t from, std::uint32_t to);

    /// Empties the string: all bits 0, size 0. The memory is kept.
    void clear();

    /// The bit; false beyond the end.
    [[nodiscard]] bool get(std::uint32_t index) const;
    /// Copies the bits from `from` up to and without `to` to the start of `destination`; bits beyond the end read 0,
    /// and the last octet is filled up with 0. `size` is in octets. Nothing is written after a failure:
    /// - STATUS_BIT_RANGE: `from` is above `to`.
    /// - STATUS_BAD_ARGUMENT: `destination` is null.
    /// - STATUS_STRING_OVERFLOW: `size` is too small.
    [[nodiscard]] int get(std::uint32_t from, std::uint32_t to, std::uint8_t* destination, std::uint32_t size) const;
    /// Copies the octets up to the last set bit and fills the rest of `destination` with 0. `size` is in octets: too
    /// few give STATUS_BAD_LENGTH, null STATUS_BAD_ARGUMENT, both with nothing written.
    [[nodiscard]] int getBytes(std::uint8_t* destination, std::uint32_t size) const;

    /// The bits up to and including the last set one, 0 when none is: the length of the string in DER when its type has
    /// named bits (X.690, clause 11.2.2).
    [[nodiscard]] std::uint32_t length() const;
    /// The bits of the string, trailing clear ones included.
    [[nodiscard]] std::uint32_t size() const;
    /// The set bits.
    [[nodiscard]] std::uint32_t cardinality() const;

    // Combine with `numbits` bits at `data`, which may be part of the octets of the string; bits beyond either end
    // count as 0. The size is then up to the last set bit. doAnd with 0 bits empties the string. They return 0 or, with
    // the string unchanged,
    // - STATUS_BAD_ARGUMENT: `data` is null, or the start of the string's own octets.
    // - STATUS_BAD_LENGTH: doOr and doXor would need more than the maximum.
    // - STATUS_NO_MEMORY: the heap has no room for the result.
    [[nodiscard]] int doAnd(const std::uint8_t* data, std::uint32_t numbits);
    [[nodiscard]] int doOr(const std::uint8_t* data, std::uint32_t numbits);
    [[nodiscard]] int doXor(const std::uint8_t* data, std::uint32_t numbits);
    [[nodiscard]] int doAndNot(const std::uint8_t* data, std::uint32_t numbits);

    // Move the bits by `count` toward bit 0 (left), or away from it (right). What leaves the string at either end is
    // lost: neither makes the string longer. The size is then up to the last set bit. Both return 0.
    [[nodiscard]] int shiftLeft(std::uint32_t count);
    [[nodiscard]] int shiftRight(std::uint32_t count);

    /// A view of the octets with the size up to the last set bit. Valid until the string grows; octets that it owns
    /// live as long as the context. Writing through the view is not possible; encode it or copy it.
    operator ASN1TDynBitStr() const;  // NOLINT(google-explicit-constructor): stands in for the record
    /// A copy from the type heap, record and octets, which live as long as the context; null when memory runs out,
    /// without a record of the failure.
    operator ASN1TDynBitStr*() const;  // NOLINT(google-explicit-constructor): as above

private:
    enum class Change { kSet, kClear, kInvert };

    void attachArray(std::uint8_t* data, std::uint32_t& numbits, std::uint32_t maxNumBits);
    void attachRecord(ASN1TDynBitStr& value);
    void allocate(std::uint32_t maxNumBits);
    void cloneFrom(const ASN1CBitStr& other, std::uint32_t maxNumBits);

    void sync() const;
    [[nodiscard]] std::uint8_t* units() const;
    [[nodiscard]] std::uint32_t octet(std::uint32_t i) const;
    [[nodiscard]] std::uint32_t numUnitsUsed() const;
    [[nodiscard]] int checkCapacity(std::uint32_t octets);
    [[nodiscard]] int extend(std::uint32_t numbits);
    [[nodiscard]] int checkIndex(std::uint32_t index) const;
    [[nodiscard]] int change(std::uint32_t from, std::uint32_t to, Change kind);
    [[nodiscard]] int checkRange(std::uint32_t from, std::uint32_t to) const;
    [[nodiscard]] int checkOperand(const std::uint8_t* data) const;
    template <class Combine>
    int combine(const std::uint8_t* data, std::uint32_t numbits, bool grows, Combine combined);
    void recalculateSize();

    const std::uint8_t* mpUnitsStorage = nullptr;    // used when the caller has no pointer
    const std::uint8_t** mpUnits = &mpUnitsStorage;  // own pointer, or the one of the caller's record
    std::uint32_t mNumBitsStorage = 0;               // used when the caller has no count
    std::uint32_t* mpNumBits = &mNumBitsStorage;     // own count, or the caller's
    std::uint32_t mMaxNumBits = kUnbounded;

    // What is known of the octets; a decoding into the caller's record replaces them without notice.
    mutable const std::uint8_t* mpKnownUnits = nullptr;
    mutable std::uint32_t mUnitsAllocated = 0;  // octets there is room for
    mutable bool mDynAlloc = false;             // the octets are heap memory of this object
};
