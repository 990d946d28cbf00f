// The revocation reasons that a CRL covers (RFC 5280, section 4.2.1.13).
//
//   CReasonFlags reasons(CReasonFlags::kKeyCompromise | CReasonFlags::kCACompromise);
//   if (reasons.get_flag(CReasonFlags::kKeyCompromise)) ...
#pragma once

#include "export.h"

namespace Orvane::ASN1 {

/// A set of reasons:
///
///   ReasonFlags ::= BIT STRING {
///       unused               (0),
///       keyCompromise        (1),
///       cACompromise         (2),
///       affiliationChanged   (3),
///       superseded           (4),
///       cessationOfOperation (5),
///       certificateHold      (6),
///       privilegeWithdrawn   (7),
///       aACompromise         (8) }
///
/// Bit n of the value is bit n of the BIT STRING. Bits above 15 are not encoded, and bits above 31 of a decoded one are
/// dropped. The bit numbers are not those of CrlReason. No member throws.
class TALLOW_EXPORT CReasonFlags {
public:
    /// Masks for add_flag, remove_flag and get_flag; not bit numbers.
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

    /// The nine masks in the order of their bits, for loops over all reasons:
    ///
    ///   for (const CReasonFlags::Flag flag : CReasonFlags::sequence) if (reasons.get_flag(flag)) ...
    static const Flag sequence[9];

    /// The set whose masks are combined in `value`; 0 is the empty set.
    explicit CReasonFlags(unsigned int value) : value_(value) {}

    /// All masks combined, as given or read.
    unsigned int get_value() const { return value_; }
    void put_value(unsigned int value) { value_ = value; }

    /// By bit number, which is that of the BIT STRING, 0 to 31; a larger number is taken modulo 32.
    bool get_bit(unsigned int n) const;
    void put_bit(unsigned int n, bool on);

    /// By mask, which may combine several flags by a cast. get_flag returns true when any bit of the mask is set.
    void add_flag(Flag flag) { value_ |= flag; }
    void remove_flag(Flag flag) { value_ &= ~static_cast<unsigned int>(flag); }
    bool get_flag(Flag flag) const { return (value_ & flag) != 0; }

    bool operator==(const CReasonFlags& other) const { return value_ == other.value_; }

private:
    unsigned int value_;
};

}  // namespace Orvane::ASN1
