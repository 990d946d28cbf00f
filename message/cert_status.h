// The status that a responder reports for one certificate (RFC 6960, section 4.2.1).
//
//   const CCertStatus& status = entry.get_certStatus();
//   if (status.get_type() == CCertStatus::kRevoked) report(*status.get_revocationTime());
#pragma once

#include <optional>

#include "asn1/extensions/crl_reason.h"
#include "export.h"
#include "foundation/date_time.h"

namespace Orvane::PKI::OCSP {

/// What the responder reports:
///
///   CertStatus ::= CHOICE {
///       good    [0] IMPLICIT NULL,
///       revoked [1] IMPLICIT RevokedInfo,
///       unknown [2] IMPLICIT UnknownInfo }
///
///   RevokedInfo ::= SEQUENCE {
///       revocationTime   GeneralizedTime,
///       revocationReason [0] EXPLICIT CRLReason OPTIONAL }
///
/// "Good" means that the responder knows of no revocation; it does not mean that the certificate was ever issued or is
/// within its validity period (section 2.2). Immutable except by assignment; no member throws.
class TALLOW_EXPORT CCertStatus {
public:
    /// The context tags of the alternatives on the wire. Note that kGood is 0: compare with the names, not with true or
    /// false.
    enum Type : unsigned int { kGood = 0, kRevoked = 1, kUnknown = 2 };

    /// Unknown, so that an object without content never counts as good.
    CCertStatus() = default;
    /// Good or unknown. Given kRevoked, it makes a revoked status without a time, which no message contains: use the
    /// next constructor.
    explicit CCertStatus(Type type) : type_(type) {}
    /// Revoked at `revocationTime`. `reason` is copied; null when the reason is not stated.
    CCertStatus(const CDateTime& revocationTime, const ASN1::CrlReason* reason);

    Type get_type() const { return type_; }  ///< good, revoked or unknown
    /// When the certificate was revoked, in UTC; null unless revoked. It may be in the future, and a responder that
    /// reports certificates it never issued as revoked uses 1970-01-01 (section 2.2). Valid until the object changes.
    const CDateTime* get_revocationTime() const { return revocationTime_ ? &*revocationTime_ : nullptr; }
    /// Null unless revoked with a stated reason. A certificate on hold (kReasonCertificateHold) is revoked for as long
    /// as the hold lasts. Valid until the object changes.
    const ASN1::CrlReason* get_revocationReason() const { return reason_ ? &*reason_ : nullptr; }

private:
    Type type_ = kUnknown;
    std::optional<CDateTime> revocationTime_;
    std::optional<ASN1::CrlReason> reason_;
};

}  // namespace Orvane::PKI::OCSP
