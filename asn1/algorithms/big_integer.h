// ASN.1 INTEGER of any length, as used for serial numbers, with its text form.
//
//   CBigInteger serial(octets, size);                // big-endian, as in DER
//   CBlob text;
//   BigIntegerToString(serial, text);                // "0x2A", with a terminating 0
//   const char* shown = reinterpret_cast<const char*>(text.pbData());
#pragma once

#include "export.h"
#include "foundation/blob.h"

namespace Orvane::ASN1 {

/// The content octets of an INTEGER: two's complement, most significant octet first, exactly as in DER, so that 0x00
/// leads a positive number whose top bit is set (X.690, clause 8.3). The length is free: two forms of one number differ
/// as blobs and are equal as integers. Slicing to CBlob gives the octets.
class TALLOW_EXPORT CBigInteger : public CBlob {
public:
    /// No octets; equal only to another such number.
    CBigInteger();
    /// Copies `size` octets. Throws as CBlob: kInvalidArgument for null with a size, std::bad_alloc.
    CBigInteger(const unsigned char* data, unsigned long size);
    /// `size` zero octets: the number 0, unless `size` is 0.
    explicit CBigInteger(unsigned long size);

    /// Adds 1 at the last octet and carries towards the front, at most into the octet with the 0-based index
    /// `lowIndex`. Wraps silently to 0 there; never grows. A number without octets is unchanged.
    void increment(int lowIndex);
    /// increment(0): the carry may reach the first octet. The second form returns the number before.
    CBigInteger& operator++();
    CBigInteger operator++(int);

    /// Adds a number of equal length and returns the final carry, 0 or 1. Throws kInvalidArgument, with the object
    /// unchanged, for another length.
    unsigned int add(const CBigInteger& other);

    /// A copy whose top bit is cleared. Not the absolute value: the other bits of a negative number stay as they are.
    [[nodiscard]] CBigInteger abs() const;

    /// Returns a number below 0, 0 or above 0 when this number is below, equal to or above the other. A number without
    /// octets is below every number that is not negative, and above every negative one. Of two negative numbers that
    /// differ in length once redundant sign octets are removed, the longer one counts as above; sorted lists depend on
    /// this.
    [[nodiscard]] int compare(const CBigInteger& other) const;

    bool operator==(const CBigInteger& other) const { return compare(other) == 0; }
    bool operator!=(const CBigInteger& other) const { return compare(other) != 0; }
    bool operator<(const CBigInteger& other) const { return compare(other) < 0; }
    bool operator>(const CBigInteger& other) const { return compare(other) > 0; }
    bool operator<=(const CBigInteger& other) const { return compare(other) <= 0; }
    bool operator>=(const CBigInteger& other) const { return compare(other) >= 0; }

    /// The DER INTEGER in its shortest form. Throws:
    /// - kAsn1Error: the number has no octets.
    /// - kAsn1Memory: memory is exhausted.
    CBlob encode() const;

    /// Replaces the content by that of a DER INTEGER; octets after it are ignored. Throws, with the object unchanged:
    /// - kAsn1Error: `data` is empty or not an INTEGER.
    /// - kAsn1Memory: memory is exhausted, or its limit for a message of this size is reached.
    void decode(const CBlob& data);
};

/// Replaces `text` by "0x" and the upper-case hexadecimal digits of all octets, with a terminating 0, which cbData()
/// counts. A number without octets gives "0x".
TALLOW_EXPORT void BigIntegerToString(const CBigInteger& value, CBlob& text);

/// Reads "0x" and hexadecimal digits of either case. With an odd number of digits, a leading '0' counts as a whole zero
/// octet; with any other leading digit the last digit is dropped. Reading stops without an error at the first character
/// that is not a digit. Throws kAsn1Error for null and for a text that does not begin with "0x" and one more character;
/// the value is then unchanged.
TALLOW_EXPORT void StringToBigInteger(const char* text, CBigInteger& value);

/// The number of a text that StringToBigInteger reads, each octet weighted by 11 and not by 256: compare a number read
/// by this function only with others read by it. Throws kInvalidArgument for more than 4 octets, and what
/// StringToBigInteger throws.
TALLOW_EXPORT unsigned int ASN1BigIntegerToDWORD(const char* text);

/// The carry loop of CBigInteger::increment on raw octets. A `length` of 0 or less does nothing.
TALLOW_EXPORT void ASN1T_BigInt_inc(unsigned char* data, int length, int lowIndex);

/// `length` random octets from a Crypto service provider: `hProv`, which stays the caller's and may be released on
/// another thread meanwhile, or a new provider when it is 0. The top bit is random as well, so the number may read as
/// negative. Throws the converted last error when no provider or no random octets are available, and kInvalidArgument
/// for a length above 32 bits.
TALLOW_EXPORT CBigInteger MakeRandomBigInteger(unsigned long long hProv, unsigned long length);

}  // namespace Orvane::ASN1
