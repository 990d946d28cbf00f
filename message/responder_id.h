// Who signed the response (RFC 6960, 4.2.1).
//
//   ResponderID ::= CHOICE { byName [1] EXPLICIT Name, byKey [2] EXPLICIT OCTET STRING }
#pragma once

#include "export.h"
#include "foundation/blob.h"

namespace Orvane::PKI::OCSP {

class TALLOW_EXPORT CResponderID {
public:
    /// The context tags of the alternatives on the wire.
    enum Type : unsigned int { kByName = 1, kByKey = 2 };

    CResponderID() = default;
    CResponderID(Type type, const CBlob& value) : type_(type), value_(value) {}

    Type get_type() const { return type_; }
    /// The DER Name for kByName, the key hash (SHA-1 of the subjectPublicKey bits) for kByKey.
    const CBlob& get_value() const { return value_; }

    /// The identifier that the DER `certificate` would have as `type`. Throws the converted last error for bytes that
    /// are no certificate, kInvalidArgument for a type that is neither.
    static CResponderID fromCert(Type type, const CBlob& certificate);

private:
    Type type_ = kByName;
    CBlob value_;
};

/// Same alternative and equal value.
TALLOW_EXPORT bool operator==(const CResponderID& left, const CResponderID& right);

}  // namespace Orvane::PKI::OCSP
