// CRLReason of RFC 5280, section 5.3.1, as an ENUMERATED on the wire.
#pragma once

namespace Orvane::ASN1 {

/// The wire number of CRLReason, unchanged. 7 is not used, and numbers above 10 cannot be encoded.
enum CrlReason : unsigned int {
    kReasonUnspecified = 0,
    kReasonKeyCompromise = 1,
    kReasonCACompromise = 2,
    kReasonAffiliationChanged = 3,
    kReasonSuperseded = 4,
    kReasonCessationOfOperation = 5,
    kReasonCertificateHold = 6,
    kReasonRemoveFromCRL = 8,
    kReasonPrivilegeWithdrawn = 9,
    kReasonAACompromise = 10
};

}  // namespace Orvane::ASN1
