// The certificates with which an archived signature was verified (RFC 5126, section 6.3.3).
#pragma once

#include <list>

#include "export.h"
#include "foundation/blob.h"

namespace Orvane::ASN1 {

/// The DER of one certificate (RFC 5280, section 4.1). Copies are deep.
class TALLOW_EXPORT CCertificateValue {
public:
    /// Holds nothing, and cannot be encoded.
    CCertificateValue();
    /// Copies the bytes unchanged; encode() finds out whether they are a certificate.
    explicit CCertificateValue(const CBlob& certificate);

    /// The bytes; empty in a new object. Valid until the object changes.
    const CBlob& get_certificate() const { return certificate_; }

    /// The DER of the certificate, encoded again. Throws kAsn1Error when the bytes are not a certificate.
    CBlob encode() const;

    /// Replaces the content. Throws kAsn1Error, with the object unchanged, when `data` is not a certificate. A
    /// certificate that is not DER is held in DER afterwards, and its signature may not verify any more.
    void decode(const CBlob& data);

    /// Equal octets.
    bool operator==(const CCertificateValue& other) const { return certificate_ == other.certificate_; }

private:
    CBlob certificate_;
};

/// Certificates in wire order:
///
///   CertificateValues ::= SEQUENCE OF Certificate
class TALLOW_EXPORT CCertificateValues : public std::list<CCertificateValue> {
public:
    using std::list<CCertificateValue>::list;

    /// The DER of the list; an empty SEQUENCE when there are none. Failures as for CCertificateValue::encode.
    CBlob encode() const;

    /// Replaces the whole content. Throws kAsn1Error, with the list unchanged, when `data` is not a list of
    /// certificates.
    void decode(const CBlob& data);
};

}  // namespace Orvane::ASN1
