// How a responder identifies itself in the response (RFC 6960, section 4.2.1), and how to find its certificate:
//
//   for (const CBlob& candidate : candidates) {
//       if (CResponderID::fromCert(id.get_type(), candidate) == id) ...    // then verify the signature with it
//   }
#pragma once

#include "export.h"
#include "foundation/blob.h"

namespace Orvane::PKI::OCSP {

/// The name or key hash of the signer:
///
///   ResponderID ::= CHOICE {
///       byName [1] Name,
///       byKey  [2] KeyHash }
///
///   KeyHash ::= OCTET STRING    -- SHA-1 of the responder's public key, without tag, length and unused bits
///
/// Only a hint where to look for the certificate: several certificates may match, and anyone can write any name. Copies
/// are deep.
class TALLOW_EXPORT CResponderID {
public:
    /// The context tags of the alternatives on the wire.
    enum Type : unsigned int { kByName = 1, kByKey = 2 };

    /// By name with an empty value, which matches no certificate.
    CResponderID() = default;
    /// Copies `value`, which is not checked: a DER Name or the 20 octets of a SHA-1 hash.
    CResponderID(Type type, const CBlob& value) : type_(type), value_(value) {}

    Type get_type() const { return type_; }  ///< by name or by key
    /// The DER Name as received for kByName, the octets of the key hash for kByKey. Valid until the object changes.
    const CBlob& get_value() const { return value_; }

    /// The identifier that the owner of `certificate` (whole DER) would use as `type`. The key hash covers the
    /// subjectPublicKey bits and is always SHA-1, whatever signed the response. Throws the converted last error for
    /// bytes that are not a certificate, and kInvalidArgument for a type that is neither alternative.
    static CResponderID fromCert(Type type, const CBlob& certificate);

private:
    Type type_ = kByName;
    CBlob value_;
};

/// Same alternative and equal octets. Names are compared byte for byte, not by the rules of RFC 5280, section 7.1: a
/// responder copies the name from its certificate.
TALLOW_EXPORT bool operator==(const CResponderID& left, const CResponderID& right);

}  // namespace Orvane::PKI::OCSP
