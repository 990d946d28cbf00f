// The verdict of a responder on one certificate (RFC 6960, 4.2.1).
//
//   CertStatus  ::= CHOICE { good [0] IMPLICIT NULL, revoked [1] IMPLICIT RevokedInfo, unknown [2] IMPLICIT NULL }
//   RevokedInfo ::= SEQUENCE { revocationTime GeneralizedTime, revocationReason [0] EXPLICIT CRLReason OPTIONAL }
#pragma once

#include <optional>

#include "asn1/extensions/crl_reason.h"
#include "export.h"
#include "foundation/date_time.h"

namespace Orvane::PKI::OCSP {

class TALLOW_EXPORT CCertStatus {
public:
    /// The context tags of the alternatives on the wire.
    enum Type : unsigned int { kGood = 0, kRevoked = 1, kUnknown = 2 };

    /// Unknown, so that an unfilled object never counts as good.
    CCertStatus() = default;
    /// Good or unknown.
    explicit CCertStatus(Type type) : type_(type) {}
    /// Revoked; `reason` null when it is not stated.
    CCertStatus(const CDateTime& revocationTime, const ASN1::CrlReason* reason);

    Type get_type() const { return type_; }
    /// Null unless revoked.
    const CDateTime* get_revocationTime() const { return revocationTime_ ? &*revocationTime_ : nullptr; }
    /// Null unless revoked with a reason.
    const ASN1::CrlReason* get_revocationReason() const { return reason_ ? &*reason_ : nullptr; }

private:
    Type type_ = kUnknown;
    std::optional<CDateTime> revocationTime_;
    std::optional<ASN1::CrlReason> reason_;
};

}  // namespace Orvane::PKI::OCSP
