// Why a certificate was revoked: CRLReason (RFC 5280, section 5.3.1).
#pragma once

namespace Orvane::ASN1 {

/// The wire number, unchanged:
///
///   CRLReason ::= ENUMERATED {
///       unspecified          (0),
///       keyCompromise        (1),
///       cACompromise         (2),
///       affiliationChanged   (3),
///       superseded           (4),
///       cessationOfOperation (5),
///       certificateHold      (6),      -- (7) is not used
///       removeFromCRL        (8),
///       privilegeWithdrawn   (9),
///       aACompromise         (10) }
///
/// 7 is read and written like the others; a number above 10 throws kAsn1Error in both directions. After keyCompromise
/// or a compromise of the issuer, signatures from before the revocation are doubtful as well. certificateHold can be
/// lifted; removeFromCRL appears only in delta CRLs.
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
