#include "asn1/extensions/reason_flags.h"

namespace Orvane::ASN1 {

const CReasonFlags::Flag CReasonFlags::sequence[9] = {
    kUnused,          kKeyCompromise,      kCACompromise, kAffiliationChanged, kSuperseded, kCessationOfOperation,
    kCertificateHold, kPrivilegeWithdrawn, kAACompromise};

bool CReasonFlags::get_bit(unsigned int n) const {
    return (value_ >> (n % 32) & 1U) != 0;
}

void CReasonFlags::put_bit(unsigned int n, bool on) {
    const unsigned int mask = 1U << (n % 32);
    value_ = on ? value_ | mask : value_ & ~mask;
}

}  // namespace Orvane::ASN1
