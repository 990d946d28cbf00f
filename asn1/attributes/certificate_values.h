// The certificates that an archived signature was verified with (RFC 5126, section 6.3.3):
//
//   CertificateValues ::= SEQUENCE OF Certificate
#pragma once

#include <list>

#include "export.h"
#include "foundation/blob.h"

namespace Orvane::ASN1 {

/// The DER of one certificate.
class TALLOW_EXPORT CCertificateValue {
public:
    /// Holds nothing, and cannot be encoded.
    CCertificateValue();
    /// Copies the bytes as they are: whether they are a certificate shows when they are encoded.
    explicit CCertificateValue(const CBlob& certificate);

    const CBlob& get_certificate() const { return certificate_; }

    /// The DER of the certificate, encoded again. Throws Asn1Error when it is none.
    CBlob encode() const;

    /// Replaces the content. Throws Asn1Error, with the object unchanged, when `data` is no certificate. A certificate
    /// that is not DER is held in DER afterwards, and its signature need not verify any more.
    void decode(const CBlob& data);

    bool operator==(const CCertificateValue& other) const { return certificate_ == other.certificate_; }

private:
    CBlob certificate_;
};

/// Certificates in wire order.
class TALLOW_EXPORT CCertificateValues : public std::list<CCertificateValue> {
public:
    using std::list<CCertificateValue>::list;

    /// The DER of the list, also of an empty one; failures as for CCertificateValue::encode.
    CBlob encode() const;

    /// Replaces the whole content. Throws Asn1Error, with the list unchanged, when `data` is no list of certificates.
    void decode(const CBlob& data);
};

}  // namespace Orvane::ASN1
