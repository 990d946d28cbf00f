// Reasons of a CRL distribution point (RFC 5280, section 4.2.1.13):
//
//   ReasonFlags ::= BIT STRING { unused (0), keyCompromise (1), cACompromise (2), affiliationChanged (3),
//                                superseded (4), cessationOfOperation (5), certificateHold (6),
//                                privilegeWithdrawn (7), aACompromise (8) }
#pragma once

#include "export.h"

namespace Orvane::ASN1 {

/// A set of reasons. Bit n of the value is bit n of the BIT STRING; bits above 15 are not encoded.
class TALLOW_EXPORT CReasonFlags {
public:
    /// Masks, not bit numbers.
    enum Flag : unsigned int {
        kUnused = 1,
        kKeyCompromise = 2,
        kCACompromise = 4,
        kAffiliationChanged = 8,
        kSuperseded = 16,
        kCessationOfOperation = 32,
        kCertificateHold = 64,
        kPrivilegeWithdrawn = 128,
        kAACompromise = 256
    };

    /// The nine masks in the order of their bits.
    static const Flag sequence[9];

    explicit CReasonFlags(unsigned int value) : value_(value) {}

    unsigned int get_value() const { return value_; }
    void put_value(unsigned int value) { value_ = value; }

    /// By bit number. The number is taken modulo 32 and not tested further.
    bool get_bit(unsigned int n) const;
    void put_bit(unsigned int n, bool on);

    /// By mask. get_flag is true when any bit of the mask is set.
    void add_flag(Flag flag) { value_ |= flag; }
    void remove_flag(Flag flag) { value_ &= ~static_cast<unsigned int>(flag); }
    bool get_flag(Flag flag) const { return (value_ & flag) != 0; }

    bool operator==(const CReasonFlags& other) const { return value_ == other.value_; }

private:
    unsigned int value_;
};

}  // namespace Orvane::ASN1
