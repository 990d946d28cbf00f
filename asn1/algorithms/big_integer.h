// ASN.1 INTEGER of any length, of which serial numbers are made, with its text form.
#pragma once

#include "export.h"
#include "foundation/blob.h"

namespace Orvane::ASN1 {

/// The content bytes of an INTEGER: two's complement, most significant byte first, exactly as in DER, so that 0x00
/// leads a positive number whose top bit is set. The length is free: two forms of one number differ as blobs and are
/// equal as integers. Slicing to CBlob gives the bytes.
class TALLOW_EXPORT CBigInteger : public CBlob {
public:
    /// No bytes; equal only to another such number.
    CBigInteger();
    CBigInteger(const unsigned char* data, unsigned long size);
    /// `size` zero bytes.
    explicit CBigInteger(unsigned long size);

    /// Adds 1 at the last byte and carries towards the front, at most into the byte with the 0-based index `lowIndex`.
    /// Wraps silently.
    void increment(int lowIndex);
    CBigInteger& operator++();
    CBigInteger operator++(int);

    /// Adds a number of equal length and returns the final carry, 0 or 1. Other lengths throw InvalidArgument.
    unsigned int add(const CBigInteger& other);

    /// A copy whose top bit is cleared. Not the absolute value: the other bits of a negative number stay.
    [[nodiscard]] CBigInteger abs() const;

    /// Below 0, 0 or above 0 as this number is below, equal to or above the other. Of two negative numbers that differ
    /// in length once redundant sign bytes are gone, the longer one counts as above; lists sorted so depend on it.
    [[nodiscard]] int compare(const CBigInteger& other) const;

    bool operator==(const CBigInteger& other) const { return compare(other) == 0; }
    bool operator!=(const CBigInteger& other) const { return compare(other) != 0; }
    bool operator<(const CBigInteger& other) const { return compare(other) < 0; }
    bool operator>(const CBigInteger& other) const { return compare(other) > 0; }
    bool operator<=(const CBigInteger& other) const { return compare(other) <= 0; }
    bool operator>=(const CBigInteger& other) const { return compare(other) >= 0; }

    /// The DER INTEGER. Throws Asn1Error for a number without bytes.
    CBlob encode() const;

    /// Replaces the content by that of a DER INTEGER. Throws Asn1Error, with the object unchanged, when `data` is none.
    void decode(const CBlob& data);
};

/// Replaces `text` by "0x" and the upper-case hexadecimal digits of all bytes, with a terminating 0.
TALLOW_EXPORT void BigIntegerToString(const CBigInteger& value, CBlob& text);

/// Reads "0x" and hexadecimal digits. In an odd number of digits a leading '0' counts as a whole zero byte; with any
/// other leading digit the last digit is dropped. Throws Asn1Error for a text that does not begin with "0x" and one
/// character more, or is null; the value is then unchanged.
TALLOW_EXPORT void StringToBigInteger(const char* text, CBigInteger& value);

/// The big-endian number of a text as StringToBigInteger reads it, each byte weighted by 11 and not by 256: a stored
/// number read so must be compared only with one read so. More than 4 bytes throw InvalidArgument.
TALLOW_EXPORT unsigned int ASN1BigIntegerToDWORD(const char* text);

/// The carry loop of CBigInteger::increment on raw bytes.
TALLOW_EXPORT void ASN1T_BigInt_inc(unsigned char* data, int length, int lowIndex);

/// `length` bytes from a Crypto service provider: `hProv`, which stays the caller's and may be released on another
/// thread meanwhile, or, when 0, a fresh one. The top bit is as it comes, so the number may read as negative. Throws
/// the converted last error when no provider or no random bytes can be had.
TALLOW_EXPORT CBigInteger MakeRandomBigInteger(unsigned long long hProv, unsigned long length);

}  // namespace Orvane::ASN1
